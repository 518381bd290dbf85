// Feeds arbitrary bytes to the deserializer of every message class. Whatever a class accepts must
// serialize to a text that the same class reads back to exactly that text again; anything else,
// or a crash, leak or undefined behaviour, is a finding. Logging is never initialised here, so
// the failure lines are dropped.
#include "messages/msg_event_alarm_armed.h"
#include "messages/msg_event_alarmid.h"
#include "messages/msg_event_base.h"
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
#include "messages/msg_event_reaction_email.h"
#include "messages/msg_event_reaction_io_output.h"
#include "messages/msg_event_repeater_tamper.h"
#include "messages/msg_lorivant_event_reaction_office_mode.h"
#include "utils/ac_result.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

void require_round_trip(const msg_event_base_c& msg, msg_event_base_c& fresh) {
    const std::string text = msg.serialize();
    if (fresh.deserialize(text.c_str()) != AC_RESULT_SUCCESS || fresh.serialize() != text) {
        fprintf(stderr, "serialized text does not read back: %s\n%s\n", text.c_str(),
                fresh.last_error().c_str());
        abort();
    }
}

template <class msg_t>
void fuzz_one(const char* payload) {
    msg_t msg;
    if (msg.deserialize(payload) != AC_RESULT_SUCCESS) return;
    msg_t fresh;
    require_round_trip(msg, fresh);
}

// The embedded event is read with the class of the topic seen before it; a later, different
// topic leaves the two apart and the text cannot read back the same, so only check the
// consistent case.
void fuzz_email(const char* payload) {
    msg_event_reaction_email_c msg;
    if (msg.deserialize(payload) != AC_RESULT_SUCCESS) return;
    if (msg.event_source_msg && msg.event_source_msg->topic() != msg.event_source_topic) {
        msg.serialize(); // must still write something sane
        return;
    }
    msg_event_reaction_email_c fresh;
    require_round_trip(msg, fresh);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    const char* payload = input.c_str();
    fuzz_one<msg_event_base_c>(payload);
    fuzz_one<msg_event_hwid_c>(payload);
    fuzz_one<msg_event_internet_lost_c>(payload);
    fuzz_one<msg_event_repeater_tamper_c>(payload);
    fuzz_one<msg_event_end_device_battery_warning_c>(payload);
    fuzz_one<msg_event_end_device_battery_count_warning_c>(payload);
    fuzz_one<msg_event_hwid_tagid_c>(payload);
    fuzz_one<msg_event_alarmid_c>(payload);
    fuzz_one<msg_event_alarm_armed_c>(payload);
    fuzz_one<msg_event_hotkey_c>(payload);
    fuzz_one<msg_event_name_c>(payload);
    fuzz_one<msg_event_io_input_c>(payload);
    fuzz_one<msg_event_ntp_time_diff_c>(payload);
    fuzz_one<msg_event_reaction_cameraid_c>(payload);
    fuzz_one<msg_event_reaction_io_output_c>(payload);
    fuzz_one<msg_lorivant_event_reaction_office_mode_c>(payload);
    fuzz_email(payload);
    return 0;
}
