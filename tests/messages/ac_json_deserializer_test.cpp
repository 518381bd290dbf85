// The strict deserializer rules, seen through the message classes: each rejected payload with its
// exact error text, and what the accepted odd payloads store.
#include "messages/msg_event_alarm_armed.h"
#include "messages/msg_event_base.h"
#include "messages/msg_event_hwid.h"
#include "messages/msg_event_hwid_tagid.h"
#include "messages/msg_event_name.h"
#include "messages/msg_event_reaction_email.h"
#include "utils/ac_result.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

using make_msg_t = std::unique_ptr<msg_event_base_c> (*)();

template <class msg_t>
std::unique_ptr<msg_event_base_c> make() {
    return std::make_unique<msg_t>();
}
const make_msg_t base = make<msg_event_base_c>, hwid = make<msg_event_hwid_c>,
                 tag = make<msg_event_hwid_tagid_c>, armed = make<msg_event_alarm_armed_c>,
                 name = make<msg_event_name_c>, email = make<msg_event_reaction_email_c>;

struct failure_case_t {
    make_msg_t make_msg;
    std::string payload;
    const char* error;
};

// Each payload fails with its text; the message object stays usable for the next payload.
void expect_failures(std::initializer_list<failure_case_t> cases) {
    for (const failure_case_t& c : cases) {
        SCOPED_TRACE(c.payload);
        std::unique_ptr<msg_event_base_c> msg = c.make_msg();
        EXPECT_EQ(msg->deserialize(c.payload.c_str()), AC_RESULT_FAIL);
        EXPECT_EQ(msg->last_error(), c.error);
        EXPECT_EQ(msg->deserialize("{}"), AC_RESULT_SUCCESS);
        EXPECT_EQ(msg->last_error(), "");
    }
}

TEST(ac_json_deserializer_test, malformed_json_gives_the_parser_text_and_ten_characters_from_the_fault) {
    expect_failures({
        {hwid, "", "The document is empty.: "},
        {hwid, " \t\r\n ", "The document is empty.: "},
        {hwid, R"({"hardware_id": 5} x)", "The document root must not be followed by other values.: x"},
        {hwid, R"({"hardware_id":5 "hardware_id":6})",
         "Missing a comma or '}' after an object member.: \"hardware_"},
        {hwid, R"({"hardware_id":5)", "Missing a comma or '}' after an object member.: "},
        {hwid, R"({"hardware_id" 5})", "Missing a colon after a name of object member.: 5}"},
        {hwid, R"({"hardware_id":5,})", "Missing a name for object member.: }"},
        {hwid, R"({"hardware_id":x})", "Invalid value.: x}"},
        {tag, R"({"tag_id":"a\q"})", "Invalid escape character in string.: \\q\"}"},
    });
}

TEST(ac_json_deserializer_test, structure_other_than_one_flat_object_is_rejected) {
    expect_failures({
        {hwid, "[1]", "expected start of a json array"},
        {hwid, "5", "expected value of a json object pair"},
        {hwid, R"({"hardware_id": {}})", "expected start of a json object"},
        {hwid, R"({"hardware_id": [1]})", "expected start of a json array"},
        {hwid, R"({"": 1})", "key name is null or empty"},
        {base, "[]", "expected start of a json array"},
    });
}

TEST(ac_json_deserializer_test, integers_are_unsigned_and_only_for_integer_members) {
    expect_failures({
        {hwid, R"({"hardware_id": -1})", "invalid negative value for attribute: hardware_id"},
        {hwid, R"({"hardware_id": -5000000000})", "invalid negative value for attribute: hardware_id"},
        {hwid, R"({"foo": 1})", "integer is wrong data type for attribute: foo"},
        {hwid, R"({"Hardware_id": 1})", "integer is wrong data type for attribute: Hardware_id"},
        {tag, R"({"tag_id": 5})", "integer is wrong data type for attribute: tag_id"},
        {tag, R"({"hardware_id": "5"})", "string is wrong data type for attribute: hardware_id"},
        {armed, R"({"alarmsystem_id": 1, "zone": "a"})", "string is wrong data type for attribute: zone"},
    });
}

// Values that no member takes are accepted by the base and fail at the following token.
TEST(ac_json_deserializer_test, values_without_a_member_fail_at_the_next_token) {
    const char* const next = "expected end or key of a json object";
    expect_failures({
        {hwid, R"({"hardware_id": 1.5})", next},
        {hwid, R"({"hardware_id": 18446744073709551616})", next},
        {hwid, R"({"hardware_id": null, "tag_id": 1})", "expected key name of a json object pair"},
        {hwid, R"({"hardware_id": true})", next},
        {hwid, R"({"hardware_id": "5"})", next},
        {name, R"({"name": 5})", next},
        {name, R"({"name": -1})", next},
        {name, R"({"hotkey_id": 1, "name": "x"})", "expected key name of a json object pair"},
        {base, R"({"foo": 1})", next},
        {base, R"({"foo": "x"})", next},
    });
}

// The e-mail request's own members follow the base rules; inside the embedded event message the
// rules of that message's class apply and its error text is reported.
TEST(ac_json_deserializer_test, email_request_members_and_its_event_message) {
    const std::string denied =
        R"({"event_source_topic":"events/end_device/access_denied","event_source_msg":)";
    expect_failures({
        {email, R"({"recipients":"a@example.org"})", "expected value of a json object pair"},
        {email, R"({"recipients":[1]})", "expected value of a json object pair"},
        {email, R"({"recipients":[null]})", "expected value of a json object pair"},
        {email, R"({"recipients":[["a"]]})", "expected start of a json array"},
        {email, R"({"recipients":[{}]})", "expected start of a json object"},
        {email, R"({"event_source_topic":["a"]})", "expected start of a json array"},
        {email, R"({"event_source_topic":{}})", "expected start of a json object"},
        {email, R"({"event_source_topic":5})", "expected end or key of a json object"},
        {email, R"({"event_source_msg":5,"recipients":[]})", "expected key name of a json object pair"},
        {email, R"({"sender":"a@example.org"})", "string is wrong data type for attribute: sender"},
        {email, denied + R"({"hardware_id":-3}})", "invalid negative value for attribute: hardware_id"},
        {email, denied + R"({"hardware_id":1,"zone":2}})", "integer is wrong data type for attribute: zone"},
        {email, denied + R"({"tag_id":7}})", "integer is wrong data type for attribute: tag_id"},
        {email, denied + R"({"tag_id":["x"]}})", "expected start of a json array"},
        {email, denied + R"({"hardware_id":{}}})", "expected start of a json object"},
        {email, denied + R"({"":1}})", "key name is null or empty"},
        {email, R"({"event_source_topic":"events/rest_api/hotkey","event_source_msg":{"hotkey_id":1}})",
         "expected end or key of a json object"},
    });
}

TEST(ac_json_deserializer_test, absent_members_keep_defaults_and_the_last_duplicate_wins) {
    msg_event_alarm_armed_c armed;
    EXPECT_EQ(armed.deserialize(" {} "), AC_RESULT_SUCCESS);
    EXPECT_EQ(armed.alarmsystem_id + armed.hardware_id + armed.app_user_id, 0u);
    EXPECT_EQ(armed.tag_id, "");

    msg_event_hwid_c hwid;
    EXPECT_EQ(hwid.deserialize(R"({"hardware_id": -1})"), AC_RESULT_FAIL); // a failed read leaves it usable
    EXPECT_EQ(hwid.deserialize(R"({"hardware_id": 4294967296, "hardware_id": 18446744073709551615})"),
              AC_RESULT_SUCCESS);
    EXPECT_EQ(hwid.hardware_id, 18446744073709551615u);

    // A key or text with an embedded NUL is taken by its length, not cut at the NUL.
    msg_event_hwid_tagid_c tag;
    EXPECT_EQ(tag.deserialize(R"({"tag_id": "0A\u00001B"})"), AC_RESULT_SUCCESS);
    EXPECT_EQ(tag.tag_id, std::string("0A\0001B", 5)); // \000: NUL, then "1B"
    EXPECT_EQ(tag.deserialize(R"({"tag_id\u0000": "x"})"), AC_RESULT_FAIL);
    EXPECT_EQ(tag.last_error(), std::string("string is wrong data type for attribute: tag_id\0", 48));
}

} // namespace
