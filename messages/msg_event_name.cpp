#include "messages/msg_event_name.h"

int msg_event_name_c::deserialize(const char* payload) {
    msg_event_name_deserializer_c handler(*this);
    return run_deserializer(handler, payload, "event_name");
}

void msg_event_name_c::write_json(msg_json_writer_t& writer) const {
    writer.StartObject();
    write_member(writer, "name", name);
    writer.EndObject();
}

bool msg_event_name_deserializer_c::String(const char* str, size_type length, bool) {
    if (!expect_value()) return false;
    if (key_ == "name") return store(msg_.name, str, length);
    return wrong_string();
}
