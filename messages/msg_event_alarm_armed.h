#pragma once
// An alarm system armed or disarmed, with who did it: the door component and tag, or the app user.
#include "messages/ac_json_unsigned_deserializer.h"
#include "messages/msg_event_base.h"

#include <cstdint>
#include <string>

class msg_event_alarm_armed_c : public msg_event_base_c {
public:
    int deserialize(const char* payload) override;
    void write_json(msg_json_writer_t& writer) const override;

    uint64_t alarmsystem_id = 0;
    uint64_t hardware_id = 0;
    uint64_t app_user_id = 0;
    std::string tag_id;
};

class msg_event_alarm_armed_deserializer_c : public ac_json_unsigned_deserializer_c {
public:
    explicit msg_event_alarm_armed_deserializer_c(msg_event_alarm_armed_c& msg) : msg_(msg) {}
    bool Uint64(uint64_t value) override;
    bool String(const char* str, size_type length, bool copy) override;

private:
    msg_event_alarm_armed_c& msg_;
};
