#include "messages/msg_event_alarm_armed.h"
#include "messages/msg_event_alarmid.h"
#include "messages/msg_event_end_device_battery_count_warning.h"
#include "messages/msg_event_end_device_battery_warning.h"
#include "messages/msg_event_hotkey.h"
#include "messages/msg_event_hwid.h"
#include "messages/msg_event_hwid_tagid.h"
#include "messages/msg_event_internet_lost.h"
#include "messages/msg_event_io_input.h"
#include "messages/msg_event_name.h"
#include "messages/msg_event_ntp_time_diff.h"
#include "messages/msg_event_reaction_cameraid.h"
#include "messages/msg_event_reaction_io_output.h"
#include "messages/msg_event_repeater_tamper.h"
#include "messages/msg_lorivant_event_reaction_office_mode.h"
#include "utils/ac_result.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// Checks the exact text `msg` writes and reads that text back into a fresh object.
template <class msg_t>
msg_t round_trip(const msg_t& msg, const std::string& expected) {
    EXPECT_EQ(msg.serialize(), expected);
    msg_t back;
    EXPECT_EQ(back.deserialize(expected.c_str()), AC_RESULT_SUCCESS) << back.last_error();
    return back;
}

template <class msg_t>
void hwid_round_trip() {
    msg_t msg;
    msg.hardware_id = 18446744073709551615u;
    EXPECT_EQ(round_trip(msg, R"({"hardware_id":18446744073709551615})").hardware_id, 18446744073709551615u);
}

TEST(msg_event_serialize_test, reaction_requests_are_written_byte_for_byte) {
    msg_event_reaction_io_output_c output;
    output.connector = "output2";
    output.signal = "Open Timed";
    output.delay_start = 5;
    output.duration = 10;
    msg_event_reaction_io_output_c output_back =
        round_trip(output, R"({"connector":"output2","signal":"Open Timed","delay_start":5,"duration":10})");
    EXPECT_EQ(output_back.connector, "output2");
    EXPECT_EQ(output_back.signal, "Open Timed");
    EXPECT_EQ(output_back.delay_start, 5u);
    EXPECT_EQ(output_back.duration, 10u);

    msg_event_reaction_cameraid_c camera;
    camera.camera_id = 3;
    EXPECT_EQ(round_trip(camera, R"({"camera_id":3})").camera_id, 3u);

    msg_lorivant_event_reaction_office_mode_c office;
    office.lorivant_event_reaction_id = 1;
    office.lorivant_id = 2;
    office.accessgroup_id = 3;
    office.duration = 60;
    office.counts = 5;
    msg_lorivant_event_reaction_office_mode_c office_back = round_trip(
        office,
        R"({"lorivant_event_reaction_id":1,"lorivant_id":2,"accessgroup_id":3,"duration":60,"counts":5})");
    EXPECT_EQ(office_back.lorivant_event_reaction_id, 1u);
    EXPECT_EQ(office_back.lorivant_id, 2u);
    EXPECT_EQ(office_back.accessgroup_id, 3u);
    EXPECT_EQ(office_back.duration, 60u);
    EXPECT_EQ(office_back.counts, 5u);
}

TEST(msg_event_serialize_test, hardware_id_events_round_trip_unsigned) {
    hwid_round_trip<msg_event_hwid_c>();
    hwid_round_trip<msg_event_internet_lost_c>();
    hwid_round_trip<msg_event_repeater_tamper_c>();
    hwid_round_trip<msg_event_end_device_battery_warning_c>();
    hwid_round_trip<msg_event_end_device_battery_count_warning_c>();
}

TEST(msg_event_serialize_test, event_messages_round_trip_with_escaped_text) {
    msg_event_hwid_tagid_c tag;
    tag.hardware_id = 17;
    tag.tag_id = "0A\"1B\\";
    msg_event_hwid_tagid_c tag_back = round_trip(tag, R"({"hardware_id":17,"tag_id":"0A\"1B\\"})");
    EXPECT_EQ(tag_back.hardware_id, 17u);
    EXPECT_EQ(tag_back.tag_id, "0A\"1B\\");

    msg_event_alarmid_c alarm;
    alarm.alarmsystem_id = 4;
    EXPECT_EQ(round_trip(alarm, R"({"alarmsystem_id":4})").alarmsystem_id, 4u);

    msg_event_alarm_armed_c armed;
    armed.alarmsystem_id = 1;
    armed.hardware_id = 2;
    armed.app_user_id = 3;
    armed.tag_id = "04A1";
    msg_event_alarm_armed_c armed_back =
        round_trip(armed, R"({"alarmsystem_id":1,"hardware_id":2,"app_user_id":3,"tag_id":"04A1"})");
    EXPECT_EQ(armed_back.alarmsystem_id, 1u);
    EXPECT_EQ(armed_back.hardware_id, 2u);
    EXPECT_EQ(armed_back.app_user_id, 3u);
    EXPECT_EQ(armed_back.tag_id, "04A1");

    msg_event_hotkey_c hotkey;
    hotkey.hotkey_id = 9;
    hotkey.hotkey_name = "Panic";
    msg_event_hotkey_c hotkey_back = round_trip(hotkey, R"({"hotkey_id":9,"hotkey_name":"Panic"})");
    EXPECT_EQ(hotkey_back.hotkey_id, 9u);
    EXPECT_EQ(hotkey_back.hotkey_name, "Panic");

    msg_event_name_c name;
    name.name = "line\nbreak";
    EXPECT_EQ(round_trip(name, R"({"name":"line\nbreak"})").name, "line\nbreak");

    msg_event_io_input_c input;
    input.connector = "input1";
    input.signal = "high";
    input.source = 2;
    msg_event_io_input_c input_back =
        round_trip(input, R"({"connector":"input1","signal":"high","source":2})");
    EXPECT_EQ(input_back.connector, "input1");
    EXPECT_EQ(input_back.signal, "high");
    EXPECT_EQ(input_back.source, 2u);

    msg_event_ntp_time_diff_c ntp;
    ntp.rtc_time = 1700000000;
    ntp.ntp_time = 1700000042;
    msg_event_ntp_time_diff_c ntp_back = round_trip(ntp, R"({"rtc_time":1700000000,"ntp_time":1700000042})");
    EXPECT_EQ(ntp_back.rtc_time, 1700000000u);
    EXPECT_EQ(ntp_back.ntp_time, 1700000042u);

    EXPECT_EQ(msg_event_base_c().serialize(), "{}");
}

} // namespace
