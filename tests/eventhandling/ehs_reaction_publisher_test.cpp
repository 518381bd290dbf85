#include "eventhandling/ehs_reaction_publisher.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// Stands in for the broker: the publisher needs nothing but publish(). The demo installation's
// payloads go through a real broker in ehs_reaction_routing_test; here the values no installation
// should have (the signal names are output_action_name's, tested with the DAO).
class recording_client_c : public ac_mqtt_client_interface {
public:
    int init(const char*, int, int, int) override { return 0; }
    void publish(const std::string& topic, const std::string& payload, bool retain) override {
        published.push_back(topic + " " + payload + (retain ? " (retained)" : ""));
    }
    std::vector<std::string> published;
};

TEST(ehs_reaction_publisher_test, output_without_connector_is_unused_and_camera_records_two_kinds_only) {
    recording_client_c client;
    output_event_reaction_t output;
    output.connector_number = 12;
    output.action = 4;
    output.delay = 2;
    output.duration = 30;
    for (uint64_t connector_id : {22, 0}) {
        output.connector_id = connector_id;
        ehs_publish_output_reaction(client, output);
    }
    camera_event_reaction_t camera;
    camera.camera.id = 4;
    for (const char* recording : {"snapshot", "video", "Snapshot", "", "audio"}) {
        camera.recording = recording;
        ehs_publish_camera_reaction(client, camera);
    }
    const std::string topic = "event_reactions/external_io/output ";
    EXPECT_EQ(client.published,
              (std::vector<std::string>{
                  topic + R"({"connector":"output12","signal":"Closed Timed","delay_start":2,"duration":30})",
                  topic + R"({"connector":"unused","signal":"Closed Timed","delay_start":2,"duration":30})",
                  R"(event_reactions/camera/snapshot {"camera_id":4})",
                  R"(event_reactions/camera/video {"camera_id":4})"}));
}

} // namespace
