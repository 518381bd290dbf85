#include "messages/msg_event_alarmid.h"

int msg_event_alarmid_c::deserialize(const char* payload) {
    msg_event_alarmid_deserializer_c handler(*this);
    return run_deserializer(handler, payload, "event_alarmid");
}

void msg_event_alarmid_c::write_json(msg_json_writer_t& writer) const {
    writer.StartObject();
    write_member(writer, "alarmsystem_id", alarmsystem_id);
    writer.EndObject();
}

bool msg_event_alarmid_deserializer_c::Uint64(uint64_t value) {
    if (!expect_value()) return false;
    if (key_ == "alarmsystem_id") return store(msg_.alarmsystem_id, value);
    return wrong_integer();
}
