// What each message does in the demo installation: the commands it publishes, the event-log row
// it writes (message id, group, door component, camera) and its log lines. Each topic looks up its
// own event source, and a configured event reacts only to the device, alarm system, input or
// hotkey that its source names; an event is logged whether or not anything is configured for it.
#include "tests/eventhandling/handler_test_fixture.h"

namespace {

const std::string anna = R"("anna.berger@example.com")";
const std::string security = R"("security@example.com")";

std::string email(const std::string& topic, const std::string& event, const std::string& recipients) {
    return R"(event_reactions/email {"event_source_topic":")" + topic + R"(","event_source_msg":)" + event +
           R"(,"recipients":[)" + recipients + "]}";
}
std::string output(const std::string& connector, const std::string& signal, int delay, int duration) {
    return R"(event_reactions/external_io/output {"connector":")" + connector + R"(","signal":")" + signal +
           R"(","delay_start":)" + std::to_string(delay) + R"(,"duration":)" + std::to_string(duration) + "}";
}
std::string hwid(uint64_t hardware_id) {
    return R"({"hardware_id":)" + std::to_string(hardware_id) + "}";
}
std::string tag(uint64_t hardware_id) {
    return R"({"hardware_id":)" + std::to_string(hardware_id) + R"(,"tag_id":"04A1"})";
}
std::string armed(int alarmsystem) {
    return R"({"alarmsystem_id":)" + std::to_string(alarmsystem) +
           R"(,"hardware_id":0,"app_user_id":0,"tag_id":""})";
}
std::string alarm(int alarmsystem) {
    return R"({"alarmsystem_id":)" + std::to_string(alarmsystem) + "}";
}
// The event-log row: message id, group (4 the system's, 3 the cameras'), door component, camera.
std::string row(int message, int camera = 0) {
    return std::to_string(message) + (camera ? "|3|0|" : "|4|0|") + std::to_string(camera) + "\n";
}

class ehs_reaction_routing_test : public ehs_handler_test_c {};

TEST_F(ehs_reaction_routing_test, each_message_reacts_for_its_source_and_the_named_thing_only_and_is_logged) {
    db_.exec("UPDATE camera SET is_trashed=0 WHERE id=2"); // gives "access granted" (event 9) a reaction
    start();
    const std::string granted = "events/end_device/access_granted",
                      denied = "events/end_device/access_denied", unknown = "events/end_device/tag_unknown",
                      battery = "events/end_device/battery_warning",
                      count = "events/end_device/battery_count_warning",
                      loss = "events/end_device/signal_loss", r_loss = "events/repeater/signal_loss",
                      r_tamper = "events/repeater/tamper", tamper = "events/control/tamper",
                      internet = "events/control/internet_lost", hotkey = "events/rest_api/hotkey",
                      input = "events/external_io/input", snapshot = "events/camera/snapshot",
                      arm = "events/alarmsystem/armed", alarm_topic = "events/alarmsystem/alarm";
    const std::string tamper_output = output("output1", "Open Timed", 0, 60);
    struct case_t {
        std::string topic, payload;
        lines_t reactions;
        std::string rows = "";
    } cases[] = {
        // Door components are named by hardware id; 1 is a component's id, not its hardware id.
        {granted, tag(1001002), {R"(event_reactions/camera/snapshot {"camera_id":2})"}},
        {granted, tag(1001001), {}},
        {denied,
         tag(1001001),
         {R"(event_reactions/camera/snapshot {"camera_id":1})",
          email(denied, tag(1001001), anna + "," + security)}},
        {denied, tag(1001002), {}},
        {denied, tag(1), {}},
        {unknown, tag(1001002), {email(unknown, tag(1001002), security)}}, // source 5, for every component
        {unknown, tag(1001001), {email(unknown, tag(1001001), security)}},
        {battery, hwid(4711), {email(battery, hwid(4711), anna)}}, // even an unknown component
        {count, hwid(1001002), {email(count, hwid(1001002), anna)}},
        {count, hwid(1001001), {}},
        {loss, hwid(1001001), {email(loss, hwid(1001001), security)}},
        // Repeaters are named by serial number.
        {r_loss, hwid(2002001), {email(r_loss, hwid(2002001), security)}},
        {r_loss, hwid(1), {}},
        {r_tamper, hwid(2002001), {output("output1", "Open Latched (NO)", 0, 0)}},
        {r_tamper, hwid(2002002), {}},
        {"events/repeater/tamper_resolved", hwid(2002001), {}},
        {"events/repeater/power_loss", hwid(2002001), {}},
        {"events/repeater/power_back", hwid(2002001), {}},
        // Arming is configured for every alarm system, the alarm for alarm system 1 only.
        {arm, alarm(1), {email(arm, armed(1), security)}, row(25)},
        {arm, alarm(2), {email(arm, armed(2), security)}, row(25)},
        {"events/alarmsystem/disarmed", alarm(1), {}, row(26)},
        {alarm_topic,
         alarm(1),
         {R"(event_reactions/camera/video {"camera_id":1})", output("output1", "Open Timed", 0, 180)},
         row(40)},
        {alarm_topic, alarm(2), {}, row(40)},
        {"events/alarmsystem/alarm_resolved", alarm(1), {}, row(59)},
        {tamper, "{}", {tamper_output, email(tamper, "{}", security)}, row(29)},
        {"events/control/tamper_resolved", "{}", {}, row(57)},
        {internet, "{}", {email(internet, hwid(0), security + "," + anna)}, row(27)},
        {internet, hwid(77), {email(internet, hwid(77), security + "," + anna)}, row(27)},
        {hotkey, R"({"hotkey_id":1,"hotkey_name":"Open gate"})", {output("output2", "Open Timed", 2, 5)}},
        // Office mode without passage limit (counts NULL, read as -1).
        {hotkey,
         R"({"hotkey_id":2})",
         {R"(event_reactions/end_device/lorivant {"lorivant_event_reaction_id":403,"lorivant_id":0,)"
          R"("accessgroup_id":7,"duration":7200,"counts":18446744073709551615})"}},
        {hotkey, R"({"hotkey_id":3})", {}},
        {input, R"({"connector":"input1","signal":"Low","source":0})", {}, row(22)},
        {input, R"({"connector":"input2","signal":"High","source":0})", {}, row(22)},
        {input, R"({"connector":"input3","signal":"High","source":0})", {}, row(22)},
        {"events/camera/video", R"({"camera_id":3})", {}, row(37, 3)},
        {snapshot, R"({"camera_id":3})", {}, row(38, 3)},
        {"events/camera/video", "", {}},
        {snapshot, "", {}},
        {"events/ntp/time_diff", R"({"rtc_time":1700000000,"ntp_time":1700000042})", {}, row(56)},
        // Logged whatever the payload: the handler never reads it.
        {"alarmsystem/error_disarming_no_ack", "", {}, row(36)},
        {"alarmsystem/error_arming_no_ack", R"({"unknown":true})", {}, row(35)},
        {"alarmsystem/error_arming_not_ready", "{not json", {}, row(34)},
    };
    auto expect = [&](const std::string& topic, const std::string& payload, const lines_t& reactions,
                      const std::string& rows, const lines_t& log) {
        SCOPED_TRACE(topic + " " + payload);
        EXPECT_EQ(reactions_to(topic, payload), reactions);
        EXPECT_EQ(event_log(), rows);
        EXPECT_EQ(log_lines(), log);
        db_.exec("DELETE FROM event_log");
        write_file(log_path_, "");
    };
    for (const auto& c : cases)
        expect(c.topic, c.payload, c.reactions, c.rows, {});

    // A payload that does not deserialize is dropped after its log line; the next one is handled.
    const struct {
        std::string topic, payload, error;
    } undeserializable[] = {
        {denied, R"({"hardware_id":-1})",
         "event_hwid_tagid failed: invalid negative value for attribute: hardware_id"},
        {battery, R"({"hardware_id":"1001001"})", "event_hwid failed: expected end or key of a json object"},
        {r_tamper, "", "event_hwid failed: The document is empty.: "},
        {arm, "[]", "event_alarm_armed failed: expected start of a json array"},
        {alarm_topic, R"({"alarmsystem_id":1)",
         "event_alarmid failed: Missing a comma or '}' after an object member.: "},
        {input, R"({"connector":1})",
         "event_io_input failed: integer is wrong data type for attribute: connector"},
        {tamper, R"({"tampered":1})", "event_base failed: expected end or key of a json object"},
        {hotkey, R"({"hotkey_id":"1"})",
         "event_hotkey failed: string is wrong data type for attribute: hotkey_id"},
        {snapshot, R"({"camera_id":-3})",
         "event_cameraid failed: invalid negative value for attribute: camera_id"},
    };
    for (const auto& u : undeserializable)
        expect(u.topic, u.payload, {}, "", {"ERROR [REST] in deserialize(): deserialize msg " + u.error});
    expect(tamper, "{}", {tamper_output, email(tamper, "{}", security)}, row(29), {});
}

TEST_F(ehs_reaction_routing_test, handlers_skip_events_of_other_source_types) {
    // The same configured events, now hanging off a source of type "general", which on its own
    // would react to anything.
    db_.exec("UPDATE event_source SET type='general' WHERE id % 1000 IN (2, 5, 10, 11, 12, 13)");
    start();
    const std::pair<std::string, std::string> silent[] = {
        {"events/end_device/access_denied", tag(1001001)},
        {"events/end_device/tag_unknown", tag(1001001)},
        {"events/end_device/battery_warning", hwid(1001001)},
        {"events/end_device/battery_count_warning", hwid(1001002)},
        {"events/alarmsystem/alarm", alarm(1)},
        {"events/external_io/input", R"({"connector":"input1","signal":"High"})"},
    };
    for (const auto& [topic, payload] : silent)
        EXPECT_EQ(reactions_to(topic, payload), lines_t{}) << topic;
    EXPECT_EQ(db_.rows("SELECT count(*) FROM lorivant_event_reaction_office_mode_assoc"), "0\n");
    // The sources that kept their type still react.
    const std::string arm = "events/alarmsystem/armed";
    EXPECT_EQ(reactions_to(arm, alarm(1)), lines_t{email(arm, armed(1), security)});
}

} // namespace
