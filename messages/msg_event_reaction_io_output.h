#pragma once
// Request to switch an external output: connector name ("output2" or "unused"), signal mode
// text, delay before the start and duration.
#include "messages/ac_json_unsigned_deserializer.h"
#include "messages/msg_event_base.h"

#include <cstdint>
#include <string>

class msg_event_reaction_io_output_c : public msg_event_base_c {
public:
    int deserialize(const char* payload) override;
    void write_json(msg_json_writer_t& writer) const override;

    std::string connector;
    std::string signal;
    uint64_t delay_start = 0;
    uint64_t duration = 0;
};

class msg_event_reaction_io_output_deserializer_c : public ac_json_unsigned_deserializer_c {
public:
    explicit msg_event_reaction_io_output_deserializer_c(msg_event_reaction_io_output_c& msg) : msg_(msg) {}
    bool Uint64(uint64_t value) override;
    bool String(const char* str, size_type length, bool copy) override;

private:
    msg_event_reaction_io_output_c& msg_;
};
