// Which configured events of the demo installation react to which message: each topic looks up
// its own event source, and a configured event reacts only to the device, alarm system, input or
// hotkey that its source names.
#include "tests/eventhandling/handler_test_fixture.h"

namespace {

using reactions_t = std::vector<std::string>;

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

const std::string video1 = R"(event_reactions/camera/video {"camera_id":1})";

class ehs_reaction_routing_test : public ehs_handler_test_c {};

TEST_F(ehs_reaction_routing_test, each_topic_reacts_for_its_source_and_the_named_thing_only) {
    db_.exec("UPDATE camera SET is_trashed=0 WHERE id=2"); // gives "access granted" (event 9) a reaction
    start();
    const std::string granted = "events/end_device/access_granted",
                      denied = "events/end_device/access_denied", unknown = "events/end_device/tag_unknown",
                      battery = "events/end_device/battery_warning",
                      count = "events/end_device/battery_count_warning",
                      loss = "events/end_device/signal_loss", r_loss = "events/repeater/signal_loss",
                      r_tamper = "events/repeater/tamper", tamper = "events/control/tamper",
                      internet = "events/control/internet_lost", hotkey = "events/rest_api/hotkey",
                      input = "events/external_io/input";
    struct case_t {
        std::string topic, payload;
        reactions_t expected;
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
        {"events/alarmsystem/armed", alarm(1), {email("events/alarmsystem/armed", armed(1), security)}},
        {"events/alarmsystem/armed", alarm(2), {email("events/alarmsystem/armed", armed(2), security)}},
        {"events/alarmsystem/disarmed", alarm(1), {}},
        {"events/alarmsystem/alarm", alarm(1), {video1, output("output1", "Open Timed", 0, 180)}},
        {"events/alarmsystem/alarm", alarm(2), {}},
        {"events/alarmsystem/alarm_resolved", alarm(1), {}},
        {tamper, "{}", {output("output1", "Open Timed", 0, 60), email(tamper, "{}", security)}},
        {"events/control/tamper_resolved", "{}", {}},
        {internet, "{}", {email(internet, R"({"hardware_id":0})", security + "," + anna)}},
        {internet,
         R"({"hardware_id":77})",
         {email(internet, R"({"hardware_id":77})", security + "," + anna)}},
        {hotkey, R"({"hotkey_id":1,"hotkey_name":"Open gate"})", {output("output2", "Open Timed", 2, 5)}},
        // Office mode without passage limit (counts NULL, read as -1).
        {hotkey,
         R"({"hotkey_id":2})",
         {R"(event_reactions/end_device/lorivant {"lorivant_event_reaction_id":403,"lorivant_id":0,)"
          R"("accessgroup_id":7,"duration":7200,"counts":18446744073709551615})"}},
        {hotkey, R"({"hotkey_id":3})", {}},
        {input, R"({"connector":"input1","signal":"Low","source":0})", {}},
        {input, R"({"connector":"input2","signal":"High","source":0})", {}},
        {input, R"({"connector":"input3","signal":"High","source":0})", {}},
        {"events/camera/video", R"({"camera_id":1})", {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.topic + " " + c.payload);
        EXPECT_EQ(reactions_to(c.topic, c.payload), c.expected);
    }
    EXPECT_EQ(log_lines(), reactions_t{});
}

TEST_F(ehs_reaction_routing_test, handlers_skip_events_of_other_source_types) {
    // The same configured events, now hanging off a source of type "general", which on its own
    // would react to anything.
    db_.exec("UPDATE event_source SET type='general' WHERE id % 1000 IN (2, 5, 10, 11, 12, 13)");
    start();
    EXPECT_EQ(reactions_to("events/end_device/access_denied", tag(1001001)), reactions_t{});
    EXPECT_EQ(reactions_to("events/end_device/tag_unknown", tag(1001001)), reactions_t{});
    EXPECT_EQ(reactions_to("events/end_device/battery_warning", hwid(1001001)), reactions_t{});
    EXPECT_EQ(reactions_to("events/end_device/battery_count_warning", hwid(1001002)), reactions_t{});
    EXPECT_EQ(reactions_to("events/alarmsystem/alarm", alarm(1)), reactions_t{});
    EXPECT_EQ(reactions_to("events/external_io/input", R"({"connector":"input1","signal":"High"})"),
              reactions_t{});
    EXPECT_EQ(db_.rows("SELECT count(*) FROM lorivant_event_reaction_office_mode_assoc"), "0\n");
    // The sources that kept their type still react.
    EXPECT_EQ(reactions_to("events/alarmsystem/armed", alarm(1)),
              reactions_t{email("events/alarmsystem/armed", armed(1), security)});
}

} // namespace
