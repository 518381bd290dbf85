#include "messages/msg_lorivant_event_reaction_office_mode.h"

int msg_lorivant_event_reaction_office_mode_c::deserialize(const char* payload) {
    msg_lorivant_event_reaction_office_mode_deserializer_c handler(*this);
    return run_deserializer(handler, payload, "event_reaction_office_mode");
}

void msg_lorivant_event_reaction_office_mode_c::write_json(msg_json_writer_t& writer) const {
    writer.StartObject();
    write_member(writer, "lorivant_event_reaction_id", lorivant_event_reaction_id);
    write_member(writer, "lorivant_id", lorivant_id);
    write_member(writer, "accessgroup_id", accessgroup_id);
    write_member(writer, "duration", duration);
    write_member(writer, "counts", counts);
    writer.EndObject();
}

bool msg_lorivant_event_reaction_office_mode_deserializer_c::Uint64(uint64_t value) {
    if (!expect_value()) return false;
    if (key_ == "lorivant_event_reaction_id") return store(msg_.lorivant_event_reaction_id, value);
    if (key_ == "lorivant_id") return store(msg_.lorivant_id, value);
    if (key_ == "accessgroup_id") return store(msg_.accessgroup_id, value);
    if (key_ == "duration") return store(msg_.duration, value);
    if (key_ == "counts") return store(msg_.counts, value);
    return wrong_integer();
}
