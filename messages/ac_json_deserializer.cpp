#include "messages/ac_json_deserializer.h"

#include <utility>

bool ac_json_deserializer_c::StartObject() {
    if (state_ != STATE_BEFORE_OBJECT) return fail("expected start of a json object");
    state_ = STATE_IN_OBJECT;
    return true;
}

bool ac_json_deserializer_c::EndObject(size_type) {
    if (state_ != STATE_IN_OBJECT) return fail("expected end or key of a json object");
    state_ = STATE_BEFORE_OBJECT;
    return true;
}

bool ac_json_deserializer_c::StartArray() {
    if (state_ != STATE_AFTER_ARRAY_KEY) return fail("expected start of a json array");
    state_ = STATE_IN_ARRAY;
    return true;
}

bool ac_json_deserializer_c::EndArray(size_type) {
    if (state_ != STATE_IN_ARRAY) return fail("expected end of a json array");
    state_ = STATE_BEFORE_OBJECT;
    return true;
}

bool ac_json_deserializer_c::Key(const char* str, size_type length, bool) {
    if (state_ != STATE_IN_OBJECT) return fail("expected key name of a json object pair");
    if (str == nullptr || length == 0) return fail("key name is null or empty");
    key_.assign(str, length);
    state_ = STATE_AFTER_KEY;
    return true;
}

// Accepts the value without storing it and leaves the state after the key, so that a value no
// member takes is rejected by the next token instead of being silently skipped.
bool ac_json_deserializer_c::Default() {
    return expect_value();
}
bool ac_json_deserializer_c::Int(int) {
    return expect_value();
}
bool ac_json_deserializer_c::Uint(unsigned) {
    return expect_value();
}
bool ac_json_deserializer_c::Int64(int64_t) {
    return expect_value();
}
bool ac_json_deserializer_c::Uint64(uint64_t) {
    return expect_value();
}
bool ac_json_deserializer_c::String(const char*, size_type, bool) {
    return expect_value();
}

bool ac_json_deserializer_c::fail(std::string text) {
    error_ = std::move(text);
    return false;
}

bool ac_json_deserializer_c::expect_value() {
    if (state_ != STATE_AFTER_KEY) return fail("expected value of a json object pair");
    return true;
}

bool ac_json_deserializer_c::store(uint64_t& field, uint64_t value) {
    field = value;
    state_ = STATE_IN_OBJECT;
    return true;
}

bool ac_json_deserializer_c::store(std::string& field, const char* str, size_type length) {
    field.assign(str, length);
    state_ = STATE_IN_OBJECT;
    return true;
}
