// The event-log rows the handlers write per topic (message id, group, door component, camera),
// whether or not anything is configured, and what a payload that does not deserialize leaves.
#include "tests/eventhandling/handler_test_fixture.h"

namespace {

class ehs_event_log_rows_test : public ehs_handler_test_c {
protected:
    ehs_event_log_rows_test() : ehs_handler_test_c(test_database_c::SCHEMA_ONLY) {}
};

TEST_F(ehs_event_log_rows_test, each_topic_writes_its_row_even_without_configured_events) {
    start();
    const std::string tag = R"({"hardware_id":1001001,"tag_id":"04A1"})", hw = R"({"hardware_id":1001001})";
    struct case_t {
        std::string topic, payload, rows;
    } cases[] = {
        {"events/end_device/access_granted", tag, ""},
        {"events/end_device/access_denied", tag, ""},
        {"events/end_device/tag_unknown", tag, ""},
        {"events/end_device/battery_warning", hw, ""},
        {"events/end_device/battery_count_warning", hw, ""},
        {"events/end_device/signal_loss", hw, ""},
        {"events/repeater/signal_loss", hw, ""},
        {"events/repeater/tamper", hw, ""},
        {"events/repeater/tamper_resolved", hw, ""},
        {"events/repeater/power_loss", hw, ""},
        {"events/repeater/power_back", hw, ""},
        {"events/rest_api/hotkey", R"({"hotkey_id":1})", ""},
        {"events/alarmsystem/armed", R"({"alarmsystem_id":1})", "25|4|0|0\n"},
        {"events/alarmsystem/disarmed", R"({"alarmsystem_id":1})", "26|4|0|0\n"},
        {"events/alarmsystem/alarm", R"({"alarmsystem_id":1})", "40|4|0|0\n"},
        {"events/alarmsystem/alarm_resolved", R"({"alarmsystem_id":1})", "59|4|0|0\n"},
        {"events/external_io/input", R"({"connector":"input1","signal":"High","source":0})", "22|4|0|0\n"},
        {"events/control/tamper", "{}", "29|4|0|0\n"},
        {"events/control/tamper_resolved", "{}", "57|4|0|0\n"},
        {"events/control/internet_lost", "{}", "27|4|0|0\n"},
        {"events/camera/video", R"({"camera_id":3})", "37|3|0|3\n"},
        {"events/camera/snapshot", R"({"camera_id":3})", "38|3|0|3\n"},
        {"events/camera/video", "", ""},
        {"events/camera/snapshot", "", ""},
        // Logged whatever the payload: the handler never reads it.
        {"alarmsystem/error_disarming_no_ack", "", "36|4|0|0\n"},
        {"alarmsystem/error_arming_no_ack", R"({"unknown":true})", "35|4|0|0\n"},
        {"alarmsystem/error_arming_not_ready", "{not json", "34|4|0|0\n"},
        {"events/ntp/time_diff", R"({"rtc_time":1700000000,"ntp_time":1700000042})", "56|4|0|0\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.topic + " " + c.payload);
        EXPECT_EQ(reactions_to(c.topic, c.payload), std::vector<std::string>{});
        EXPECT_EQ(event_log(), c.rows);
        db_.exec("DELETE FROM event_log");
    }
    EXPECT_EQ(log_lines(), std::vector<std::string>{});
}

class ehs_undeserializable_payload_test : public ehs_handler_test_c {};

TEST_F(ehs_undeserializable_payload_test, is_dropped_after_its_log_line_and_the_next_message_is_handled) {
    start();
    struct case_t {
        const char *topic, *payload, *message;
    } cases[] = {
        {"events/end_device/access_denied", R"({"hardware_id":-1})", "event_hwid_tagid"},
        {"events/end_device/battery_warning", R"({"hardware_id":"1001001"})", "event_hwid"},
        {"events/repeater/tamper", "", "event_hwid"},
        {"events/alarmsystem/armed", "[]", "event_alarm_armed"},
        {"events/alarmsystem/alarm", R"({"alarmsystem_id":1)", "event_alarmid"},
        {"events/external_io/input", R"({"connector":1})", "event_io_input"},
        {"events/control/tamper", R"({"tampered":1})", "event_base"},
        {"events/rest_api/hotkey", R"({"hotkey_id":"1"})", "event_hotkey"},
        {"events/camera/snapshot", R"({"camera_id":-3})", "event_cameraid"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.topic) + " " + c.payload);
        EXPECT_EQ(reactions_to(c.topic, c.payload), std::vector<std::string>{});
        EXPECT_EQ(event_log(), "");
        auto lines = log_lines();
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_EQ(lines[0].rfind(std::string("deserialize(): deserialize msg ") + c.message + " failed: ", 0),
                  0u)
            << lines[0];
        write_file(log_path_, "");
    }
    EXPECT_EQ(
        reactions_to("events/control/tamper", "{}"),
        (std::vector<std::string>{
            R"(event_reactions/external_io/output {"connector":"output1","signal":"Open Timed","delay_start":0,"duration":60})",
            R"(event_reactions/email {"event_source_topic":"events/control/tamper","event_source_msg":{},"recipients":["security@example.com"]})"}));
    EXPECT_EQ(event_log(), "29|4|0|0\n");
}

} // namespace
