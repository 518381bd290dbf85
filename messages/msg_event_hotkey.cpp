#include "messages/msg_event_hotkey.h"

int msg_event_hotkey_c::deserialize(const char* payload) {
    msg_event_hotkey_deserializer_c handler(*this);
    return run_deserializer(handler, payload, "event_hotkey");
}

void msg_event_hotkey_c::write_json(msg_json_writer_t& writer) const {
    writer.StartObject();
    write_member(writer, "hotkey_id", hotkey_id);
    write_member(writer, "hotkey_name", hotkey_name);
    writer.EndObject();
}

bool msg_event_hotkey_deserializer_c::Uint64(uint64_t value) {
    if (!expect_value()) return false;
    if (key_ == "hotkey_id") return store(msg_.hotkey_id, value);
    return wrong_integer();
}

bool msg_event_hotkey_deserializer_c::String(const char* str, size_type length, bool) {
    if (!expect_value()) return false;
    if (key_ == "hotkey_name") return store(msg_.hotkey_name, str, length);
    return wrong_string();
}
