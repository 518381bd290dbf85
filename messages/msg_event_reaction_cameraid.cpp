#include "messages/msg_event_reaction_cameraid.h"

int msg_event_reaction_cameraid_c::deserialize(const char* payload) {
    msg_event_reaction_cameraid_deserializer_c handler(*this);
    return run_deserializer(handler, payload, "event_cameraid");
}

void msg_event_reaction_cameraid_c::write_json(msg_json_writer_t& writer) const {
    writer.StartObject();
    write_member(writer, "camera_id", camera_id);
    writer.EndObject();
}

bool msg_event_reaction_cameraid_deserializer_c::Uint64(uint64_t value) {
    if (!expect_value()) return false;
    if (key_ == "camera_id") return store(msg_.camera_id, value);
    return wrong_integer();
}
