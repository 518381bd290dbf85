#include "messages/msg_event_io_input.h"

int msg_event_io_input_c::deserialize(const char* payload) {
    msg_event_io_input_deserializer_c handler(*this);
    return run_deserializer(handler, payload, "event_io_input");
}

void msg_event_io_input_c::write_json(msg_json_writer_t& writer) const {
    writer.StartObject();
    write_member(writer, "connector", connector);
    write_member(writer, "signal", signal);
    write_member(writer, "source", source);
    writer.EndObject();
}

bool msg_event_io_input_deserializer_c::Uint64(uint64_t value) {
    if (!expect_value()) return false;
    if (key_ == "source") return store(msg_.source, value);
    return wrong_integer();
}

bool msg_event_io_input_deserializer_c::String(const char* str, size_type length, bool) {
    if (!expect_value()) return false;
    if (key_ == "connector") return store(msg_.connector, str, length);
    if (key_ == "signal") return store(msg_.signal, str, length);
    return wrong_string();
}
