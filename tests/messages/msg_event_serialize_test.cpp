// Every message class writes its members byte for byte in a fixed order and reads that text back
// into the same members (distinct values, so that a mix-up of members shows when the message is
// written again), and names itself in the log line of a failed read.
#include "messages/msg_event_alarm_armed.h"
#include "messages/msg_event_alarmid.h"
#include "messages/msg_event_end_device_battery_count_warning.h"
#include "messages/msg_event_end_device_battery_warning.h"
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
#include "tests/support/test_files.h"
#include "utils/ac_log.h"
#include "utils/ac_result.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>

namespace {

template <class msg_t>
std::unique_ptr<msg_event_base_c> make() {
    return std::make_unique<msg_t>();
}

class msg_event_serialize_test : public testing::Test {
protected:
    void SetUp() override {
        ac_log_init(AC_LOG_ERROR);
        ASSERT_EQ(ac_log_add_file_sink(path_.c_str(), 10000), 0);
    }
    void TearDown() override { ac_log_deinit(); }

    // The log lines without their time stamp ("11/04/2026 9:05:03 ").
    std::string log_lines() {
        std::istringstream text(read_file(path_));
        std::string out;
        for (std::string line; std::getline(text, line);)
            out += line.substr(line.find(' ', line.find(' ') + 1) + 1) + "\n";
        return out;
    }

    temp_dir_c dir_;
    std::string path_ = dir_.file("ehs.log");
};

TEST_F(msg_event_serialize_test, every_class_round_trips_its_text_and_names_itself_when_reading_fails) {
    const std::string max_hwid = R"({"hardware_id":18446744073709551615})";
    const struct {
        std::unique_ptr<msg_event_base_c> (*make)();
        const char* name;
        std::string text;
    } cases[] = {
        {make<msg_event_base_c>, "event_base", "{}"},
        {make<msg_event_hwid_c>, "event_hwid", max_hwid},
        {make<msg_event_internet_lost_c>, "event_hwid", max_hwid},
        {make<msg_event_repeater_tamper_c>, "event_hwid", max_hwid},
        {make<msg_event_end_device_battery_warning_c>, "event_hwid", max_hwid},
        {make<msg_event_end_device_battery_count_warning_c>, "event_hwid", max_hwid},
        {make<msg_event_hwid_tagid_c>, "event_hwid_tagid", R"({"hardware_id":17,"tag_id":"0A\"1B\\"})"},
        {make<msg_event_alarmid_c>, "event_alarmid", R"({"alarmsystem_id":4})"},
        {make<msg_event_alarm_armed_c>, "event_alarm_armed",
         R"({"alarmsystem_id":1,"hardware_id":2,"app_user_id":3,"tag_id":"04A1"})"},
        {make<msg_event_hotkey_c>, "event_hotkey", R"({"hotkey_id":9,"hotkey_name":"Panic"})"},
        {make<msg_event_name_c>, "event_name", R"({"name":"line\nbreak"})"},
        {make<msg_event_io_input_c>, "event_io_input",
         R"({"connector":"input1","signal":"high","source":2})"},
        {make<msg_event_ntp_time_diff_c>, "event_ntp_time_diff",
         R"({"rtc_time":1700000000,"ntp_time":1700000042})"},
        {make<msg_event_reaction_cameraid_c>, "event_cameraid", R"({"camera_id":3})"},
        {make<msg_event_reaction_io_output_c>, "event_reaction_io_output",
         R"({"connector":"output2","signal":"Open Timed","delay_start":5,"duration":10})"},
        {make<msg_lorivant_event_reaction_office_mode_c>, "event_reaction_office_mode",
         R"({"lorivant_event_reaction_id":1,"lorivant_id":2,"accessgroup_id":3,"duration":60,"counts":5})"},
        {make<msg_event_reaction_email_c>, "event_reaction_email",
         R"({"event_source_topic":"events/end_device/access_granted","event_source_msg":)"
         R"({"hardware_id":17,"tag_id":"0A1B"},"recipients":["a@example.org","b@example.org"]})"},
    };
    // Neither a read that succeeds nor a missing payload writes a log line.
    EXPECT_EQ(make<msg_event_hwid_c>()->deserialize(nullptr), AC_RESULT_BAD_PARAMETER);
    std::string expected;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        std::unique_ptr<msg_event_base_c> msg = c.make();
        ASSERT_EQ(msg->deserialize(c.text.c_str()), AC_RESULT_SUCCESS) << msg->last_error();
        EXPECT_EQ(msg->serialize(), c.text);
        EXPECT_EQ(msg->deserialize("[]"), AC_RESULT_FAIL);
        expected += std::string("ERROR [REST] in deserialize(): deserialize msg ") + c.name +
                    " failed: expected start of a json array\n";
    }
    EXPECT_EQ(log_lines(), expected);
}

} // namespace
