#pragma once
// Request to put a door component into office mode for an access group, for a duration and a
// number of passages.
#include "messages/ac_json_unsigned_deserializer.h"
#include "messages/msg_event_base.h"

#include <cstdint>

class msg_lorivant_event_reaction_office_mode_c : public msg_event_base_c {
public:
    int deserialize(const char* payload) override;
    void write_json(msg_json_writer_t& writer) const override;

    uint64_t lorivant_event_reaction_id = 0;
    uint64_t lorivant_id = 0;
    uint64_t accessgroup_id = 0;
    uint64_t duration = 0;
    uint64_t counts = 0;
};

class msg_lorivant_event_reaction_office_mode_deserializer_c : public ac_json_unsigned_deserializer_c {
public:
    explicit msg_lorivant_event_reaction_office_mode_deserializer_c(
        msg_lorivant_event_reaction_office_mode_c& msg)
        : msg_(msg) {}
    bool Uint64(uint64_t value) override;

private:
    msg_lorivant_event_reaction_office_mode_c& msg_;
};
