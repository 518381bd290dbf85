#include "messages/msg_event_reaction_io_output.h"

int msg_event_reaction_io_output_c::deserialize(const char* payload) {
    msg_event_reaction_io_output_deserializer_c handler(*this);
    return run_deserializer(handler, payload, "event_reaction_io_output");
}

void msg_event_reaction_io_output_c::write_json(msg_json_writer_t& writer) const {
    writer.StartObject();
    write_member(writer, "connector", connector);
    write_member(writer, "signal", signal);
    write_member(writer, "delay_start", delay_start);
    write_member(writer, "duration", duration);
    writer.EndObject();
}

bool msg_event_reaction_io_output_deserializer_c::Uint64(uint64_t value) {
    if (!expect_value()) return false;
    if (key_ == "delay_start") return store(msg_.delay_start, value);
    if (key_ == "duration") return store(msg_.duration, value);
    return wrong_integer();
}

bool msg_event_reaction_io_output_deserializer_c::String(const char* str, size_type length, bool) {
    if (!expect_value()) return false;
    if (key_ == "connector") return store(msg_.connector, str, length);
    if (key_ == "signal") return store(msg_.signal, str, length);
    return wrong_string();
}
