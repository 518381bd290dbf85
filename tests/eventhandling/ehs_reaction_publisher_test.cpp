#include "eventhandling/ehs_reaction_publisher.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// Where the commands go instead of a broker: the publisher needs nothing but publish(). The
// payloads of every reaction kind as the demo installation configures them are checked through
// the broker (ehs_reaction_routing_test); here the values no installation should have.
class recording_client_c : public ac_mqtt_client_interface {
public:
    int init(const char*, int, int, int) override { return 0; }
    void publish(const std::string& topic, const std::string& payload, bool retain) override {
        published.push_back(topic + " " + payload + (retain ? " (retained)" : ""));
    }
    std::vector<std::string> published;
};

// The signal names themselves are output_action_name's (tested with the DAO).
TEST(ehs_reaction_publisher_test, output_is_named_by_its_connector_number_or_unused_without_connector) {
    recording_client_c client;
    output_event_reaction_t reaction;
    reaction.connector_number = 12;
    reaction.action = 4;
    reaction.delay = 2;
    reaction.duration = 30;
    for (uint64_t connector_id : {22, 0}) {
        reaction.connector_id = connector_id;
        ehs_publish_output_reaction(client, reaction);
    }
    const std::string topic = "event_reactions/external_io/output ";
    EXPECT_EQ(
        client.published,
        (std::vector<std::string>{
            topic + R"({"connector":"output12","signal":"Closed Timed","delay_start":2,"duration":30})",
            topic + R"({"connector":"unused","signal":"Closed Timed","delay_start":2,"duration":30})"}));
}

TEST(ehs_reaction_publisher_test, camera_snapshot_and_video_only) {
    recording_client_c client;
    camera_event_reaction_t reaction;
    reaction.camera.id = 4;
    for (const char* recording : {"snapshot", "video", "Snapshot", "", "audio"}) {
        reaction.recording = recording;
        ehs_publish_camera_reaction(client, reaction);
    }
    EXPECT_EQ(client.published,
              (std::vector<std::string>{R"(event_reactions/camera/snapshot {"camera_id":4})",
                                        R"(event_reactions/camera/video {"camera_id":4})"}));
}

} // namespace
