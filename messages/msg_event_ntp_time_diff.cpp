#include "messages/msg_event_ntp_time_diff.h"

int msg_event_ntp_time_diff_c::deserialize(const char* payload) {
    msg_event_ntp_time_diff_deserializer_c handler(*this);
    return run_deserializer(handler, payload, "event_ntp_time_diff");
}

void msg_event_ntp_time_diff_c::write_json(msg_json_writer_t& writer) const {
    writer.StartObject();
    write_member(writer, "rtc_time", rtc_time);
    write_member(writer, "ntp_time", ntp_time);
    writer.EndObject();
}

bool msg_event_ntp_time_diff_deserializer_c::Uint64(uint64_t value) {
    if (!expect_value()) return false;
    if (key_ == "rtc_time") return store(msg_.rtc_time, value);
    if (key_ == "ntp_time") return store(msg_.ntp_time, value);
    return wrong_integer();
}
