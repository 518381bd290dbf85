#include "messages/msg_event_base.h"

#include "messages/ac_json_deserializer.h"
#include "utils/ac_log.h"
#include "utils/ac_result.h"

#include <rapidjson/error/en.h>

#include <cstring>

namespace {

// Enough of the payload to find the fault without flooding the log with a large message.
constexpr size_t error_excerpt_length = 10;

} // namespace

int msg_event_base_c::deserialize(const char* payload) {
    // No members: the base rules reject whatever value an object member carries.
    ac_json_deserializer_c handler;
    return run_deserializer(handler, payload, "event_base");
}

std::string msg_event_base_c::serialize() const {
    rapidjson::StringBuffer buffer;
    msg_json_writer_t writer(buffer);
    write_json(writer);
    return std::string(buffer.GetString(), buffer.GetSize());
}

void msg_event_base_c::write_json(msg_json_writer_t& writer) const {
    writer.StartObject();
    writer.EndObject();
}

int msg_event_base_c::run_deserializer(ac_json_deserializer_c& handler, const char* payload,
                                       const char* name) {
    last_error_.clear();
    if (payload == nullptr) return AC_RESULT_BAD_PARAMETER;

    rapidjson::Reader reader;
    rapidjson::StringStream stream(payload);
    rapidjson::ParseResult result = reader.Parse(stream, handler);
    if (!result.IsError()) return AC_RESULT_SUCCESS;

    if (result.Code() == rapidjson::kParseErrorTermination) {
        last_error_ = handler.error();
    } else {
        const char* rest = payload + result.Offset();
        last_error_ = rapidjson::GetParseError_En(result.Code());
        last_error_ += ": ";
        last_error_.append(rest, strnlen(rest, error_excerpt_length));
    }
    ac_log(AC_LOG_ERROR, AC_LOG_CAT_REST, "deserialize", "deserialize msg %s failed: %s", name,
           last_error_.c_str());
    return AC_RESULT_FAIL;
}

void msg_event_base_c::write_member(msg_json_writer_t& writer, const char* key, uint64_t value) {
    writer.Key(key);
    writer.Uint64(value);
}

void msg_event_base_c::write_member(msg_json_writer_t& writer, const char* key, const std::string& value) {
    writer.Key(key);
    writer.String(value.data(), static_cast<rapidjson::SizeType>(value.size()));
}
