#pragma once
// Base of every event and reaction-request message. A message fills itself from a JSON payload
// through a deserializer of its own and writes itself back as a JSON object with the same keys.
// On its own it is the message of the topics that carry no members ("events/control/tamper"),
// so its payload must be an empty object. One thread per object.
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstdint>
#include <string>
#include <utility>

class ac_json_deserializer_c;

using msg_json_writer_t = rapidjson::Writer<rapidjson::StringBuffer>;

class msg_event_base_c {
public:
    virtual ~msg_event_base_c() = default;

    // `payload` is NUL-terminated. Returns AC_RESULT_SUCCESS, AC_RESULT_BAD_PARAMETER for a null
    // payload (nothing logged), or AC_RESULT_FAIL after one ERROR line with last_error().
    virtual int deserialize(const char* payload);
    // The members as one JSON object.
    virtual std::string serialize() const;
    // The same object into a writer that is already inside a document, e.g. as a member value.
    virtual void write_json(msg_json_writer_t& writer) const;

    // Why the last deserialize failed; empty after a success.
    const std::string& last_error() const { return last_error_; }

    // The topic the message arrived on, kept for reactions that name their source.
    const std::string& topic() const { return topic_; }
    void set_topic(std::string topic) { topic_ = std::move(topic); }

protected:
    // Runs the SAX reader with `handler` and logs "deserialize msg <name> failed: <text>" on failure.
    int run_deserializer(ac_json_deserializer_c& handler, const char* payload, const char* name);
    // Integers always go out unsigned, the way they are read.
    static void write_member(msg_json_writer_t& writer, const char* key, uint64_t value);
    static void write_member(msg_json_writer_t& writer, const char* key, const std::string& value);

private:
    std::string topic_;
    std::string last_error_;
};
