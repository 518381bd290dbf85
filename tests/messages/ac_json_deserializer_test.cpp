#include "messages/msg_event_alarm_armed.h"
#include "messages/msg_event_alarmid.h"
#include "messages/msg_event_base.h"
#include "messages/msg_event_hotkey.h"
#include "messages/msg_event_hwid.h"
#include "messages/msg_event_hwid_tagid.h"
#include "messages/msg_event_io_input.h"
#include "messages/msg_event_name.h"
#include "messages/msg_event_ntp_time_diff.h"
#include "messages/msg_event_reaction_cameraid.h"
#include "messages/msg_event_reaction_email.h"
#include "messages/msg_event_reaction_io_output.h"
#include "messages/msg_lorivant_event_reaction_office_mode.h"
#include "utils/ac_log.h"
#include "utils/ac_result.h"

#include "tests/support/test_files.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

using make_msg_t = std::unique_ptr<msg_event_base_c> (*)();

template <class msg_t>
std::unique_ptr<msg_event_base_c> make() {
    return std::make_unique<msg_t>();
}

struct failure_case_t {
    make_msg_t make_msg;
    const char* payload;
    const char* error;
};

void expect_failures(std::initializer_list<failure_case_t> cases) {
    for (const failure_case_t& c : cases) {
        SCOPED_TRACE(c.payload);
        std::unique_ptr<msg_event_base_c> msg = c.make_msg();
        EXPECT_EQ(msg->deserialize(c.payload), AC_RESULT_FAIL);
        EXPECT_EQ(msg->last_error(), c.error);
    }
}

TEST(ac_json_deserializer_test, malformed_json_gives_the_parser_text_and_ten_characters_from_the_fault) {
    expect_failures({
        {make<msg_event_hwid_c>, "", "The document is empty.: "},
        {make<msg_event_hwid_c>, " \t\r\n ", "The document is empty.: "},
        {make<msg_event_hwid_c>, R"({"hardware_id": 5} x)",
         "The document root must not be followed by other values.: x"},
        {make<msg_event_hwid_c>, R"({"hardware_id":5 "hardware_id":6})",
         "Missing a comma or '}' after an object member.: \"hardware_"},
        {make<msg_event_hwid_c>, R"({"hardware_id":5)", "Missing a comma or '}' after an object member.: "},
        {make<msg_event_hwid_c>, R"({"hardware_id" 5})",
         "Missing a colon after a name of object member.: 5}"},
        {make<msg_event_hwid_c>, R"({"hardware_id":5,})", "Missing a name for object member.: }"},
        {make<msg_event_hwid_c>, R"({"hardware_id":x})", "Invalid value.: x}"},
        {make<msg_event_hwid_tagid_c>, R"({"tag_id":"a\q"})", "Invalid escape character in string.: \\q\"}"},
    });
}

TEST(ac_json_deserializer_test, structure_other_than_one_flat_object_is_rejected) {
    expect_failures({
        {make<msg_event_hwid_c>, "[1]", "expected start of a json array"},
        {make<msg_event_hwid_c>, "5", "expected value of a json object pair"},
        {make<msg_event_hwid_c>, R"({"hardware_id": {}})", "expected start of a json object"},
        {make<msg_event_hwid_c>, R"({"hardware_id": [1]})", "expected start of a json array"},
        {make<msg_event_hwid_c>, R"({"": 1})", "key name is null or empty"},
        {make<msg_event_base_c>, "[]", "expected start of a json array"},
    });
}

TEST(ac_json_deserializer_test, integers_are_unsigned_and_only_for_integer_members) {
    expect_failures({
        {make<msg_event_hwid_c>, R"({"hardware_id": -1})",
         "invalid negative value for attribute: hardware_id"},
        {make<msg_event_hwid_c>, R"({"hardware_id": -5000000000})",
         "invalid negative value for attribute: hardware_id"},
        {make<msg_event_hwid_c>, R"({"foo": 1})", "integer is wrong data type for attribute: foo"},
        {make<msg_event_hwid_c>, R"({"Hardware_id": 1})",
         "integer is wrong data type for attribute: Hardware_id"},
        {make<msg_event_hwid_tagid_c>, R"({"tag_id": 5})",
         "integer is wrong data type for attribute: tag_id"},
        {make<msg_event_hwid_tagid_c>, R"({"hardware_id": "5"})",
         "string is wrong data type for attribute: hardware_id"},
        {make<msg_event_alarm_armed_c>, R"({"alarmsystem_id": 1, "zone": "a"})",
         "string is wrong data type for attribute: zone"},
    });
}

// Values that no member takes are accepted by the base and fail at the following token.
TEST(ac_json_deserializer_test, values_without_a_member_fail_at_the_next_token) {
    expect_failures({
        {make<msg_event_hwid_c>, R"({"hardware_id": 1.5})", "expected end or key of a json object"},
        {make<msg_event_hwid_c>, R"({"hardware_id": 18446744073709551616})",
         "expected end or key of a json object"},
        {make<msg_event_hwid_c>, R"({"hardware_id": null, "tag_id": 1})",
         "expected key name of a json object pair"},
        {make<msg_event_hwid_c>, R"({"hardware_id": true})", "expected end or key of a json object"},
        {make<msg_event_hwid_c>, R"({"hardware_id": "5"})", "expected end or key of a json object"},
        {make<msg_event_name_c>, R"({"name": 5})", "expected end or key of a json object"},
        {make<msg_event_name_c>, R"({"name": -1})", "expected end or key of a json object"},
        {make<msg_event_name_c>, R"({"hotkey_id": 1, "name": "x"})",
         "expected key name of a json object pair"},
        {make<msg_event_base_c>, R"({"foo": 1})", "expected end or key of a json object"},
        {make<msg_event_base_c>, R"({"foo": "x"})", "expected end or key of a json object"},
    });
}

TEST(ac_json_deserializer_test, absent_members_keep_defaults_and_the_last_duplicate_wins) {
    msg_event_alarm_armed_c armed;
    EXPECT_EQ(armed.deserialize("{}"), AC_RESULT_SUCCESS);
    EXPECT_EQ(armed.alarmsystem_id + armed.hardware_id + armed.app_user_id, 0u);
    EXPECT_EQ(armed.tag_id, "");
    EXPECT_EQ(armed.last_error(), "");

    msg_event_base_c base;
    EXPECT_EQ(base.deserialize(" {} "), AC_RESULT_SUCCESS);

    msg_event_hwid_c hwid;
    EXPECT_EQ(hwid.deserialize(R"({"hardware_id": 4294967296, "hardware_id": 18446744073709551615})"),
              AC_RESULT_SUCCESS);
    EXPECT_EQ(hwid.hardware_id, 18446744073709551615u);

    // A key or text with an embedded NUL is taken by its length, not cut at the NUL.
    msg_event_hwid_tagid_c tag;
    EXPECT_EQ(tag.deserialize(R"({"tag_id": "0A\u00001B"})"), AC_RESULT_SUCCESS);
    EXPECT_EQ(tag.tag_id, std::string("0A\0"
                                      "1B",
                                      5));
    EXPECT_EQ(tag.deserialize(R"({"tag_id\u0000": "x"})"), AC_RESULT_FAIL);
    EXPECT_EQ(tag.last_error(), std::string("string is wrong data type for attribute: tag_id\0", 48));
}

TEST(ac_json_deserializer_test, a_failed_message_can_be_deserialized_again) {
    msg_event_hwid_c hwid;
    ASSERT_EQ(hwid.deserialize(R"({"hardware_id": -1})"), AC_RESULT_FAIL);
    EXPECT_EQ(hwid.deserialize(R"({"hardware_id": 7})"), AC_RESULT_SUCCESS);
    EXPECT_EQ(hwid.hardware_id, 7u);
    EXPECT_EQ(hwid.last_error(), "");
}

class deserialize_log_test : public testing::Test {
protected:
    void SetUp() override {
        ac_log_init(AC_LOG_ERROR);
        ASSERT_EQ(ac_log_add_file_sink(path_.c_str(), 10000), 0);
    }
    void TearDown() override { ac_log_deinit(); }

    temp_dir_c dir_;
    std::string path_ = dir_.file("ehs.log");
};

TEST_F(deserialize_log_test, failure_writes_one_error_line_in_rest_and_a_null_payload_none) {
    msg_event_hwid_c hwid;
    EXPECT_EQ(hwid.deserialize(nullptr), AC_RESULT_BAD_PARAMETER);
    EXPECT_EQ(hwid.deserialize(R"({"hardware_id": 1})"), AC_RESULT_SUCCESS);
    EXPECT_EQ(read_file(path_), "");

    EXPECT_EQ(hwid.deserialize(R"({"foo": 1})"), AC_RESULT_FAIL);
    std::string text = read_file(path_);
    const std::string tail =
        " ERROR [REST] in deserialize(): deserialize msg event_hwid failed: integer is wrong data type for "
        "attribute: foo\n";
    ASSERT_GT(text.size(), tail.size());
    EXPECT_EQ(text.substr(text.size() - tail.size()), tail);
    EXPECT_EQ(text.find('\n'), text.size() - 1);
}

TEST_F(deserialize_log_test, every_class_names_itself_in_the_failure_line) {
    const std::pair<make_msg_t, const char*> cases[] = {
        {make<msg_event_base_c>, "event_base"},
        {make<msg_event_hwid_c>, "event_hwid"},
        {make<msg_event_hwid_tagid_c>, "event_hwid_tagid"},
        {make<msg_event_alarmid_c>, "event_alarmid"},
        {make<msg_event_alarm_armed_c>, "event_alarm_armed"},
        {make<msg_event_hotkey_c>, "event_hotkey"},
        {make<msg_event_name_c>, "event_name"},
        {make<msg_event_io_input_c>, "event_io_input"},
        {make<msg_event_ntp_time_diff_c>, "event_ntp_time_diff"},
        {make<msg_event_reaction_cameraid_c>, "event_cameraid"},
        {make<msg_event_reaction_io_output_c>, "event_reaction_io_output"},
        {make<msg_lorivant_event_reaction_office_mode_c>, "event_reaction_office_mode"},
        {make<msg_event_reaction_email_c>, "event_reaction_email"},
    };
    std::string expected;
    for (const auto& c : cases) {
        EXPECT_EQ(c.first()->deserialize("[]"), AC_RESULT_FAIL);
        expected += std::string("deserialize msg ") + c.second + " failed: expected start of a json array\n";
    }
    std::string text = read_file(path_);
    std::string messages;
    for (size_t begin = 0; begin < text.size();) {
        size_t end = text.find('\n', begin);
        size_t at = text.find("(): ", begin);
        messages += text.substr(at + 4, end + 1 - (at + 4));
        begin = end + 1;
    }
    EXPECT_EQ(messages, expected);
}

} // namespace
