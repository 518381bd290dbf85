// Every message class writes its members in a fixed order and reads that text back into the same
// members (distinct values, so a mix-up shows when it is written again), and names itself in the
// log line of a failed read. The factory gives the class of each of its 17 topics.
#include "messages/msg_event_alarm_armed.h"
#include "messages/msg_event_alarmid.h"
#include "messages/msg_event_end_device_battery_count_warning.h"
#include "messages/msg_event_end_device_battery_warning.h"
#include "messages/msg_event_factory.h"
#include "messages/msg_event_hotkey.h"
#include "messages/msg_event_hwid_tagid.h"
#include "messages/msg_event_internet_lost.h"
#include "messages/msg_event_io_input.h"
#include "messages/msg_event_name.h"
#include "messages/msg_event_ntp_time_diff.h"
#include "messages/msg_event_reaction_cameraid.h"
#include "messages/msg_event_reaction_email.h"
#include "messages/msg_event_reaction_io_output.h"
#include "messages/msg_event_repeater_tamper.h"
#include "messages/msg_lorivant_event_reaction_office_mode.h"
#include "tests/support/test_expect.h"
#include "tests/support/test_files.h"
#include "utils/ac_log.h"
#include "utils/ac_result.h"

#include <gtest/gtest.h>

#include <memory>
#include <typeinfo>

namespace {

template <class msg_t>
std::unique_ptr<msg_event_base_c> make() {
    return std::make_unique<msg_t>();
}

TEST(msg_event_test, every_class_round_trips_and_every_event_topic_has_its_class) {
    temp_dir_c dir;
    ac_log_init(AC_LOG_ERROR);
    ac_log_add_file_sink(dir.file("ehs.log").c_str(), 0);
    const std::string hwid = R"({"hardware_id":18446744073709551615})",
                      tag = R"({"hardware_id":17,"tag_id":"0A\u0000\"1B\\"})",
                      armed = R"({"alarmsystem_id":1,"hardware_id":2,"app_user_id":3,"tag_id":"04A1"})";
    // Topics after "events/", in the factory's order of registration; "" for classes no event has.
    const struct {
        const char* topic;
        std::unique_ptr<msg_event_base_c> (*make)();
        const char* name;
        std::string text;
    } cases[] = {
        {"alarmsystem/armed", make<msg_event_alarm_armed_c>, "event_alarm_armed", armed},
        {"alarmsystem/disarmed", make<msg_event_alarm_armed_c>, "event_alarm_armed", armed},
        {"alarmsystem/alarm", make<msg_event_alarmid_c>, "event_alarmid", R"({"alarmsystem_id":4})"},
        {"end_device/battery_warning", make<msg_event_end_device_battery_warning_c>, "event_hwid", hwid},
        {"end_device/battery_count_warning", make<msg_event_end_device_battery_count_warning_c>, "event_hwid",
         hwid},
        {"end_device/signal_loss", make<msg_event_hwid_c>, "event_hwid", hwid},
        {"end_device/access_granted", make<msg_event_hwid_tagid_c>, "event_hwid_tagid", tag},
        {"end_device/access_denied", make<msg_event_hwid_tagid_c>, "event_hwid_tagid", tag},
        {"end_device/tag_unknown", make<msg_event_hwid_tagid_c>, "event_hwid_tagid", tag},
        {"repeater/signal_loss", make<msg_event_hwid_c>, "event_hwid", hwid},
        {"repeater/tamper", make<msg_event_repeater_tamper_c>, "event_hwid", hwid},
        {"repeater/power_loss", make<msg_event_hwid_c>, "event_hwid", hwid},
        {"repeater/power_back", make<msg_event_hwid_c>, "event_hwid", hwid},
        {"external_io/input", make<msg_event_io_input_c>, "event_io_input",
         R"({"connector":"input1","signal":"high","source":2})"},
        // Hotkey events read as name messages: an e-mail about a hotkey only needs its name.
        {"rest_api/hotkey", make<msg_event_name_c>, "event_name", R"({"name":"line\nbreak"})"},
        {"control/internet_lost", make<msg_event_internet_lost_c>, "event_hwid", hwid},
        {"ntp/time_diff", make<msg_event_ntp_time_diff_c>, "event_ntp_time_diff",
         R"({"rtc_time":1700000000,"ntp_time":1700000042})"},
        {"", make<msg_event_base_c>, "event_base", "{}"},
        {"", make<msg_event_hotkey_c>, "event_hotkey", R"({"hotkey_id":9,"hotkey_name":"Panic"})"},
        {"", make<msg_event_reaction_cameraid_c>, "event_cameraid", R"({"camera_id":3})"},
        {"", make<msg_event_reaction_io_output_c>, "event_reaction_io_output",
         R"({"connector":"output2","signal":"Open Timed","delay_start":5,"duration":10})"},
        {"", make<msg_lorivant_event_reaction_office_mode_c>, "event_reaction_office_mode",
         R"({"lorivant_event_reaction_id":1,"lorivant_id":2,"accessgroup_id":3,"duration":60,"counts":5})"},
        {"", make<msg_event_reaction_email_c>, "event_reaction_email",
         R"({"event_source_topic":"events/end_device/access_granted","event_source_msg":)"
         R"({"hardware_id":17,"tag_id":"0A1B"},"recipients":["a@example.org","b@example.org"]})"},
    };
    // Neither a read that succeeds nor a missing payload writes a log line.
    EXPECT_EQ(make<msg_event_hwid_c>()->deserialize(nullptr), AC_RESULT_BAD_PARAMETER);
    const msg_event_factory_c& factory = msg_event_factory_c::instance();
    std::vector<std::string> topics;
    std::string expected;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        std::unique_ptr<msg_event_base_c> msg = c.make();
        ASSERT_EQ(msg->deserialize(c.text.c_str()), AC_RESULT_SUCCESS) << msg->last_error();
        EXPECT_EQ(msg->serialize(), c.text);
        // Not an object: refused by the class's own reader, a bare number by each class's number handler.
        for (const auto& [bad, error] :
             {std::pair<const char*, const char*>{"[]", "expected start of a json array"},
              {"7", "expected value of a json object pair"}}) {
            EXPECT_EQ(msg->deserialize(bad), AC_RESULT_FAIL);
            expected += std::string("ERROR [REST] in deserialize(): deserialize msg ") + c.name +
                        " failed: " + error + "\n";
        }
        if (!*c.topic) continue;
        const std::string topic = std::string("events/") + c.topic;
        topics.push_back(topic);
        msg_event_factory_c::product_t product = factory.create(topic);
        ASSERT_TRUE(product.message && product.deserializer);
        EXPECT_EQ(typeid(*product.message), typeid(*msg));
        EXPECT_NE(factory.create(topic).message, product.message); // never shared between two requests
        // The factory's deserializer reads the event embedded in an e-mail request.
        msg_event_reaction_email_c email;
        const std::string request = R"({"event_source_topic":")" + topic + R"(","event_source_msg":)" +
                                    c.text + R"(,"recipients":[]})";
        EXPECT_EQ(email.deserialize(request.c_str()), AC_RESULT_SUCCESS);
        ASSERT_EQ(email.serialize(), request);
        EXPECT_EQ(email.event_source_msg->topic(), topic);
    }
    EXPECT_EQ(factory.topics(), topics);
    EXPECT_EQ(log_text(dir.file("ehs.log")), expected);
    ac_log_deinit();
    // Exact, case-sensitive topics only; the topics without members have no class.
    for (const char* topic :
         {"events/end_device/access_granted/", "Events/ntp/time_diff", "", "events/control/tamper"})
        EXPECT_EQ(factory.create(topic).message, nullptr) << topic;
}

// What comes before the topic cannot be read, nor the event of a topic without a class: both are
// skipped whole, and the request reads on.
TEST(msg_event_test, email_request_skips_events_it_cannot_read) {
    const std::string recipients = R"("recipients":["a@example.org","b@example.org"]})";
    const std::pair<std::string, std::string> cases[] = {
        {R"({"recipients":["x"],"event_source_msg":{"hardware_id":17},"event_source_topic":"events/end_device/)"
         R"(signal_loss",)" +
             recipients, // a repeated array replaces the list
         R"({"event_source_topic":"events/end_device/signal_loss",)" + recipients},
        {R"({"event_source_topic":"events/control/tamper","event_source_msg":{"a":{"b":[1,-2,5000000000,null,{"c":"d"}]},"":1.5},)" +
             recipients,
         R"({"event_source_topic":"events/control/tamper",)" + recipients},
    };
    for (const auto& [payload, written] : cases) {
        msg_event_reaction_email_c email;
        EXPECT_EQ(email.deserialize(payload.c_str()), AC_RESULT_SUCCESS) << email.last_error();
        EXPECT_EQ(email.serialize(), written);
    }
}

// Each payload fails with its text; the message stays usable, and the next success clears the text.
TEST(msg_event_test, strict_reads_reject_with_exact_texts) {
    using make_t = std::unique_ptr<msg_event_base_c> (*)();
    const make_t base = make<msg_event_base_c>, hwid = make<msg_event_hwid_c>,
                 tag = make<msg_event_hwid_tagid_c>, name = make<msg_event_name_c>,
                 email = make<msg_event_reaction_email_c>;
    const std::string denied =
        R"({"event_source_topic":"events/end_device/access_denied","event_source_msg":)";
    const struct {
        make_t make;
        std::string payload;
        const char* error;
    } cases[] = {
        // The parser's text and ten characters from the fault on.
        {hwid, "", "The document is empty.: "},
        {hwid, R"({"hardware_id":5 "hardware_id":6})",
         "Missing a comma or '}' after an object member.: \"hardware_"},
        // One flat object of the class's members; integers unsigned.
        {hwid, "[1]", "expected start of a json array"},
        {hwid, R"({"hardware_id":{}})", "expected start of a json object"},
        {hwid, R"({"":1})", "key name is null or empty"},
        {hwid, R"({"hardware_id":-1})", "invalid negative value for attribute: hardware_id"},
        {hwid, R"({"hardware_id":-5000000000})", "invalid negative value for attribute: hardware_id"},
        {hwid, R"({"foo":1})", "integer is wrong data type for attribute: foo"},
        {tag, R"({"hardware_id":"5"})", "string is wrong data type for attribute: hardware_id"},
        // A value no member takes is accepted and fails at the next token.
        {hwid, R"({"hardware_id":1.5})", "expected end or key of a json object"},
        {hwid, R"({"hardware_id":null,"tag_id":1})", "expected key name of a json object pair"},
        {name, R"({"name":5})", "expected end or key of a json object"},
        {base, R"({"foo":"x"})", "expected end or key of a json object"},
        // The e-mail request's own members follow these rules; inside its event, those of the event's class.
        {email, R"({"recipients":[["a"]]})", "expected start of a json array"},
        {email, R"({"recipients":[1]})", "expected value of a json object pair"},
        {email, R"({"event_source_msg":5,"recipients":[]})", "expected key name of a json object pair"},
        {email, R"({"sender":"a"})", "string is wrong data type for attribute: sender"},
        {email, denied + R"({"hardware_id":-3}})", "invalid negative value for attribute: hardware_id"},
        {email, denied + R"({"tag_id":7}})", "integer is wrong data type for attribute: tag_id"},
        {email, denied + R"({"hardware_id":{}}})", "expected start of a json object"},
        {email, denied + R"({"tag_id":["x"]}})", "expected start of a json array"},
        {email, denied + R"({"":1}})", "key name is null or empty"},
        {email, R"({"event_source_topic":"events/rest_api/hotkey","event_source_msg":{"hotkey_id":1}})",
         "expected end or key of a json object"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.payload);
        std::unique_ptr<msg_event_base_c> msg = c.make();
        EXPECT_EQ(msg->deserialize(c.payload.c_str()), AC_RESULT_FAIL);
        EXPECT_EQ(msg->last_error(), c.error);
        EXPECT_EQ(msg->deserialize("{}"), AC_RESULT_SUCCESS);
        EXPECT_EQ(msg->last_error(), "");
    }
}

} // namespace
