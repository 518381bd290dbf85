#pragma once
// Strict SAX handler base under every message deserializer: accepts exactly one flat JSON object
// and turns every deviation into a readable text in error(). The SAX events are virtual so that a
// concrete deserializer overrides only the value kinds it has members for; everything else is
// accepted here without reaching a field and fails at the next token. Returning false makes the
// reader stop with its termination code. One object serves one parse on one thread; never throws.
#include <rapidjson/reader.h>

#include <cstdint>
#include <string>

class ac_json_deserializer_c
    : public rapidjson::BaseReaderHandler<rapidjson::UTF8<char>, ac_json_deserializer_c> {
public:
    using size_type = rapidjson::SizeType;

    ac_json_deserializer_c() = default;
    virtual ~ac_json_deserializer_c() = default;
    ac_json_deserializer_c(const ac_json_deserializer_c&) = delete;
    ac_json_deserializer_c& operator=(const ac_json_deserializer_c&) = delete;

    virtual bool StartObject();
    virtual bool EndObject(size_type member_count);
    virtual bool StartArray();
    virtual bool EndArray(size_type element_count);
    virtual bool Key(const char* str, size_type length, bool copy);
    // Reached for null, booleans and floating-point numbers.
    virtual bool Default();
    virtual bool Int(int value);
    virtual bool Uint(unsigned value);
    virtual bool Int64(int64_t value);
    virtual bool Uint64(uint64_t value);
    virtual bool String(const char* str, size_type length, bool copy);

    // Empty until a check fails; then what went wrong, for the caller's log line.
    const std::string& error() const { return error_; }

protected:
    enum state_e : int32_t {
        STATE_BEFORE_OBJECT = 0,
        STATE_IN_OBJECT = 1,
        STATE_AFTER_KEY = 2,
        STATE_AFTER_ARRAY_KEY = 3,
        STATE_IN_ARRAY = 4,
    };

    bool fail(std::string text);
    // The check that every value event starts with: a value must follow a key.
    bool expect_value();
    bool store(uint64_t& field, uint64_t value);
    bool store(std::string& field, const char* str, size_type length);
    bool wrong_integer() { return fail("integer is wrong data type for attribute: " + key_); }
    bool wrong_string() { return fail("string is wrong data type for attribute: " + key_); }

    int32_t state_ = STATE_BEFORE_OBJECT;
    std::string key_;
    std::string error_;
};
