// The e-mail reaction request embeds the triggering event: its message class follows from the topic
// read before it. What was read shows in the text the request writes again.
#include "messages/msg_event_reaction_email.h"

#include "utils/ac_result.h"

#include <gtest/gtest.h>

namespace {

TEST(msg_event_reaction_email_test, event_message_is_read_by_the_topic_before_it_or_dropped) {
    const std::string recipients = R"("recipients":["a@example.org","b@example.org"]})";
    const struct {
        std::string payload, written;
    } cases[] = {
        // The topic also becomes the event message's own.
        {R"({"event_source_topic":"events/end_device/access_granted","event_source_msg":{"tag_id":"0A"}})",
         R"({"event_source_topic":"events/end_device/access_granted","event_source_msg":)"
         R"({"hardware_id":0,"tag_id":"0A"},"recipients":[]})"},
        // Hotkey events are read as name messages.
        {R"({"event_source_topic":"events/rest_api/hotkey","event_source_msg":{"name":"x"}})",
         R"({"event_source_topic":"events/rest_api/hotkey","event_source_msg":{"name":"x"},"recipients":[]})"},
        // An event message before its topic, or of a topic without a class, is skipped whole.
        {R"({"event_source_msg":{"hardware_id":17},"event_source_topic":"events/end_device/signal_loss",)" +
             recipients,
         R"({"event_source_topic":"events/end_device/signal_loss",)" + recipients},
        {R"({"event_source_topic":"events/control/tamper","event_source_msg":{"a":{"b":[1,-2,null,{"c":"d"}]},"":1.5},)" +
             recipients,
         R"({"event_source_topic":"events/control/tamper",)" + recipients},
        // The object goes on after the array, and a repeated array replaces the list.
        {R"({"recipients":["x"],"recipients":["a@example.org","b@example.org"],)"
         R"("event_source_topic":"events/ntp/time_diff"})",
         R"({"event_source_topic":"events/ntp/time_diff",)" + recipients},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.payload);
        msg_event_reaction_email_c email;
        ASSERT_EQ(email.deserialize(c.payload.c_str()), AC_RESULT_SUCCESS) << email.last_error();
        EXPECT_EQ(email.serialize(), c.written);
        if (email.event_source_msg) {
            EXPECT_EQ(email.event_source_msg->topic(), email.event_source_topic);
        }
    }
}

} // namespace
