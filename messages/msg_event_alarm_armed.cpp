#include "messages/msg_event_alarm_armed.h"

int msg_event_alarm_armed_c::deserialize(const char* payload) {
    msg_event_alarm_armed_deserializer_c handler(*this);
    return run_deserializer(handler, payload, "event_alarm_armed");
}

void msg_event_alarm_armed_c::write_json(msg_json_writer_t& writer) const {
    writer.StartObject();
    write_member(writer, "alarmsystem_id", alarmsystem_id);
    write_member(writer, "hardware_id", hardware_id);
    write_member(writer, "app_user_id", app_user_id);
    write_member(writer, "tag_id", tag_id);
    writer.EndObject();
}

bool msg_event_alarm_armed_deserializer_c::Uint64(uint64_t value) {
    if (!expect_value()) return false;
    if (key_ == "alarmsystem_id") return store(msg_.alarmsystem_id, value);
    if (key_ == "hardware_id") return store(msg_.hardware_id, value);
    if (key_ == "app_user_id") return store(msg_.app_user_id, value);
    return wrong_integer();
}

bool msg_event_alarm_armed_deserializer_c::String(const char* str, size_type length, bool) {
    if (!expect_value()) return false;
    if (key_ == "tag_id") return store(msg_.tag_id, str, length);
    return wrong_string();
}
