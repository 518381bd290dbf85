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

TEST(ehs_reaction_publisher_test, output_names_connector_and_signal_mode) {
    struct case_t {
        uint64_t connector_id, number, action;
        const char* payload;
    } cases[] = {
        {21, 1, 0, R"({"connector":"output1","signal":"undefined","delay_start":2,"duration":30})"},
        {22, 2, 2,
         R"j({"connector":"output2","signal":"Closed Latched (NC)","delay_start":2,"duration":30})j"},
        {22, 12, 4, R"({"connector":"output12","signal":"Closed Timed","delay_start":2,"duration":30})"},
        {22, 2, 7, R"({"connector":"output2","signal":"undefined","delay_start":2,"duration":30})"},
        // Without a connector the number means nothing.
        {0, 3, 3, R"({"connector":"unused","signal":"Open Timed","delay_start":2,"duration":30})"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.payload);
        recording_client_c client;
        output_event_reaction_t reaction;
        reaction.connector_id = c.connector_id;
        reaction.connector_number = c.number;
        reaction.action = c.action;
        reaction.delay = 2;
        reaction.duration = 30;
        ehs_publish_output_reaction(client, reaction);
        EXPECT_EQ(client.published,
                  std::vector<std::string>{std::string("event_reactions/external_io/output ") + c.payload});
    }
    EXPECT_EQ(output_action_name(UINT64_MAX), "undefined");
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
