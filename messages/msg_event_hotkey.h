#pragma once
// A hotkey pressed in the REST interface.
#include "messages/ac_json_unsigned_deserializer.h"
#include "messages/msg_event_base.h"

#include <cstdint>
#include <string>

class msg_event_hotkey_c : public msg_event_base_c {
public:
    int deserialize(const char* payload) override;
    void write_json(msg_json_writer_t& writer) const override;

    uint64_t hotkey_id = 0;
    std::string hotkey_name;
};

class msg_event_hotkey_deserializer_c : public ac_json_unsigned_deserializer_c {
public:
    explicit msg_event_hotkey_deserializer_c(msg_event_hotkey_c& msg) : msg_(msg) {}
    bool Uint64(uint64_t value) override;
    bool String(const char* str, size_type length, bool copy) override;

private:
    msg_event_hotkey_c& msg_;
};
