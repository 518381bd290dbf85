#include "messages/msg_event_hwid_tagid.h"

int msg_event_hwid_tagid_c::deserialize(const char* payload) {
    msg_event_hwid_tagid_deserializer_c handler(*this);
    return run_deserializer(handler, payload, "event_hwid_tagid");
}

void msg_event_hwid_tagid_c::write_json(msg_json_writer_t& writer) const {
    writer.StartObject();
    write_member(writer, "hardware_id", hardware_id);
    write_member(writer, "tag_id", tag_id);
    writer.EndObject();
}

bool msg_event_hwid_tagid_deserializer_c::Uint64(uint64_t value) {
    if (!expect_value()) return false;
    if (key_ == "hardware_id") return store(msg_.hardware_id, value);
    return wrong_integer();
}

bool msg_event_hwid_tagid_deserializer_c::String(const char* str, size_type length, bool) {
    if (!expect_value()) return false;
    if (key_ == "tag_id") return store(msg_.tag_id, str, length);
    return wrong_string();
}
