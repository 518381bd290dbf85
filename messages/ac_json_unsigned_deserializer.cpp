#include "messages/ac_json_unsigned_deserializer.h"

bool ac_json_unsigned_deserializer_c::signed_value(int64_t value) {
    if (!expect_value()) return false;
    if (value < 0) return fail("invalid negative value for attribute: " + key_);
    return Uint64(static_cast<uint64_t>(value));
}
