#pragma once
// An external input changed level: which connector, the new signal and the input's source.
#include "messages/ac_json_unsigned_deserializer.h"
#include "messages/msg_event_base.h"

#include <cstdint>
#include <string>

class msg_event_io_input_c : public msg_event_base_c {
public:
    int deserialize(const char* payload) override;
    void write_json(msg_json_writer_t& writer) const override;

    std::string connector;
    std::string signal;
    uint64_t source = 0;
};

class msg_event_io_input_deserializer_c : public ac_json_unsigned_deserializer_c {
public:
    explicit msg_event_io_input_deserializer_c(msg_event_io_input_c& msg) : msg_(msg) {}
    bool Uint64(uint64_t value) override;
    bool String(const char* str, size_type length, bool copy) override;

private:
    msg_event_io_input_c& msg_;
};
