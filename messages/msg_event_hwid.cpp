#include "messages/msg_event_hwid.h"

int msg_event_hwid_c::deserialize(const char* payload) {
    msg_event_hwid_deserializer_c handler(*this);
    return run_deserializer(handler, payload, "event_hwid");
}

void msg_event_hwid_c::write_json(msg_json_writer_t& writer) const {
    writer.StartObject();
    write_member(writer, "hardware_id", hardware_id);
    writer.EndObject();
}

bool msg_event_hwid_deserializer_c::Uint64(uint64_t value) {
    if (!expect_value()) return false;
    if (key_ == "hardware_id") return store(msg_.hardware_id, value);
    return wrong_integer();
}
