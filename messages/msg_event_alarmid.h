#pragma once
// An alarm raised by one alarm system.
#include "messages/ac_json_unsigned_deserializer.h"
#include "messages/msg_event_base.h"

#include <cstdint>

class msg_event_alarmid_c : public msg_event_base_c {
public:
    int deserialize(const char* payload) override;
    void write_json(msg_json_writer_t& writer) const override;

    uint64_t alarmsystem_id = 0;
};

class msg_event_alarmid_deserializer_c : public ac_json_unsigned_deserializer_c {
public:
    explicit msg_event_alarmid_deserializer_c(msg_event_alarmid_c& msg) : msg_(msg) {}
    bool Uint64(uint64_t value) override;

private:
    msg_event_alarmid_c& msg_;
};
