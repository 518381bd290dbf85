#include "messages/msg_event_reaction_email.h"

#include "messages/msg_event_hwid.h"
#include "messages/msg_event_hwid_tagid.h"
#include "messages/msg_event_name.h"
#include "utils/ac_result.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

const std::vector<std::string> two_recipients = {"a@example.org", "b@example.org"};

TEST(msg_event_reaction_email_test, serializes_topic_before_the_event_and_reads_it_back) {
    auto granted = std::make_shared<msg_event_hwid_tagid_c>();
    granted->hardware_id = 17;
    granted->tag_id = "0A1B";
    msg_event_reaction_email_c email;
    email.event_source_topic = "events/end_device/access_granted";
    email.event_source_msg = granted;
    email.recipients = two_recipients;
    const std::string text = email.serialize();
    EXPECT_EQ(text, R"({"event_source_topic":"events/end_device/access_granted",)"
                    R"("event_source_msg":{"hardware_id":17,"tag_id":"0A1B"},)"
                    R"("recipients":["a@example.org","b@example.org"]})");

    msg_event_reaction_email_c back;
    ASSERT_EQ(back.deserialize(text.c_str()), AC_RESULT_SUCCESS) << back.last_error();
    EXPECT_EQ(back.event_source_topic, "events/end_device/access_granted");
    EXPECT_EQ(back.recipients, two_recipients);
    auto* event = dynamic_cast<msg_event_hwid_tagid_c*>(back.event_source_msg.get());
    ASSERT_NE(event, nullptr);
    EXPECT_EQ(event->hardware_id, 17u);
    EXPECT_EQ(event->tag_id, "0A1B");
    EXPECT_EQ(event->topic(), "events/end_device/access_granted");

    // Without an event message only the topic and the recipients go out.
    email.event_source_msg.reset();
    email.recipients.clear();
    EXPECT_EQ(email.serialize(),
              R"({"event_source_topic":"events/end_device/access_granted","recipients":[]})");
}

TEST(msg_event_reaction_email_test, event_message_before_its_topic_or_of_an_unknown_topic_is_dropped) {
    const char* payloads[] = {
        R"({"event_source_msg":{"hardware_id":17},"event_source_topic":"events/end_device/signal_loss",)"
        R"("recipients":["a@example.org","b@example.org"]})",
        R"({"event_source_topic":"events/control/tamper","event_source_msg":{"a":{"b":[1,-2,null,{"c":"d"}]},)"
        R"("":1.5},"recipients":["a@example.org","b@example.org"]})",
    };
    for (const char* payload : payloads) {
        SCOPED_TRACE(payload);
        msg_event_reaction_email_c email;
        ASSERT_EQ(email.deserialize(payload), AC_RESULT_SUCCESS) << email.last_error();
        EXPECT_EQ(email.event_source_msg, nullptr);
        EXPECT_EQ(email.recipients, two_recipients);
    }
}

TEST(msg_event_reaction_email_test, hotkey_events_are_read_as_name_messages) {
    msg_event_reaction_email_c email;
    ASSERT_EQ(email.deserialize(
                  R"({"event_source_topic":"events/rest_api/hotkey","event_source_msg":{"name":"x"}})"),
              AC_RESULT_SUCCESS);
    auto* event = dynamic_cast<msg_event_name_c*>(email.event_source_msg.get());
    ASSERT_NE(event, nullptr);
    EXPECT_EQ(event->name, "x");

    EXPECT_EQ(email.deserialize(
                  R"({"event_source_topic":"events/rest_api/hotkey","event_source_msg":{"hotkey_id":1}})"),
              AC_RESULT_FAIL);
    EXPECT_EQ(email.last_error(), "expected end or key of a json object");
}

TEST(msg_event_reaction_email_test, failures_inside_the_event_message_report_its_text) {
    struct case_t {
        const char* event;
        const char* error;
    };
    const case_t cases[] = {
        {R"({"hardware_id":-3})", "invalid negative value for attribute: hardware_id"},
        {R"({"hardware_id":1,"zone":2})", "integer is wrong data type for attribute: zone"},
        {R"({"tag_id":7})", "integer is wrong data type for attribute: tag_id"},
        {R"({"tag_id":["x"]})", "expected start of a json array"},
        {R"({"hardware_id":{}})", "expected start of a json object"},
        {R"({"":1})", "key name is null or empty"},
    };
    for (const case_t& c : cases) {
        SCOPED_TRACE(c.event);
        std::string payload =
            std::string(R"({"event_source_topic":"events/end_device/access_denied","event_source_msg":)") +
            c.event + "}";
        msg_event_reaction_email_c email;
        EXPECT_EQ(email.deserialize(payload.c_str()), AC_RESULT_FAIL);
        EXPECT_EQ(email.last_error(), c.error);
    }
}

TEST(msg_event_reaction_email_test, own_members_follow_the_base_rules) {
    struct case_t {
        const char* payload;
        const char* error;
    };
    const case_t cases[] = {
        {R"({"recipients":"a@example.org"})", "expected value of a json object pair"},
        {R"({"recipients":[1]})", "expected value of a json object pair"},
        {R"({"recipients":[null]})", "expected value of a json object pair"},
        {R"({"recipients":[["a"]]})", "expected start of a json array"},
        {R"({"recipients":[{}]})", "expected start of a json object"},
        {R"({"event_source_topic":["a"]})", "expected start of a json array"},
        {R"({"event_source_topic":{}})", "expected start of a json object"},
        {R"({"event_source_topic":5})", "expected end or key of a json object"},
        {R"({"event_source_msg":5,"recipients":[]})", "expected key name of a json object pair"},
        {R"({"sender":"a@example.org"})", "string is wrong data type for attribute: sender"},
    };
    for (const case_t& c : cases) {
        SCOPED_TRACE(c.payload);
        msg_event_reaction_email_c email;
        EXPECT_EQ(email.deserialize(c.payload), AC_RESULT_FAIL);
        EXPECT_EQ(email.last_error(), c.error);
    }

    // The object goes on after the array, and a repeated array replaces the list.
    msg_event_reaction_email_c email;
    ASSERT_EQ(email.deserialize(R"({"recipients":["x"],"recipients":["a@example.org","b@example.org"],)"
                                R"("event_source_topic":"events/ntp/time_diff"})"),
              AC_RESULT_SUCCESS)
        << email.last_error();
    EXPECT_EQ(email.recipients, two_recipients);
    EXPECT_EQ(email.event_source_topic, "events/ntp/time_diff");
}

} // namespace
