#pragma once
// Base of the deserializers that have integer members. Every member is an unsigned count or id,
// so all integer events funnel into Uint64 (through the virtual slot, so the concrete key
// mapping is honoured); a negative value is an error, never wrapped into a huge id.
#include "messages/ac_json_deserializer.h"

class ac_json_unsigned_deserializer_c : public ac_json_deserializer_c {
public:
    bool Int(int value) override { return signed_value(value); }
    bool Uint(unsigned value) override { return Uint64(value); }
    bool Int64(int64_t value) override { return signed_value(value); }

private:
    bool signed_value(int64_t value);
};
