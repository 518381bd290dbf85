#pragma once
// A camera, by id: the snapshot or video request of a camera reaction, and the camera events
// that report one was taken.
#include "messages/ac_json_unsigned_deserializer.h"
#include "messages/msg_event_base.h"

#include <cstdint>

class msg_event_reaction_cameraid_c : public msg_event_base_c {
public:
    int deserialize(const char* payload) override;
    void write_json(msg_json_writer_t& writer) const override;

    uint64_t camera_id = 0;
};

class msg_event_reaction_cameraid_deserializer_c : public ac_json_unsigned_deserializer_c {
public:
    explicit msg_event_reaction_cameraid_deserializer_c(msg_event_reaction_cameraid_c& msg) : msg_(msg) {}
    bool Uint64(uint64_t value) override;

private:
    msg_event_reaction_cameraid_c& msg_;
};
