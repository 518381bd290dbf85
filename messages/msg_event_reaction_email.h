#pragma once
// Request to send an e-mail about an event: the topic the event arrived on, the event's own
// message (read back with the class that the factory assigns to that topic) and the recipients.
// The topic must precede the embedded message, since it decides how the message is read.
#include "messages/ac_json_deserializer.h"
#include "messages/msg_event_base.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class msg_event_reaction_email_c : public msg_event_base_c {
public:
    int deserialize(const char* payload) override;
    void write_json(msg_json_writer_t& writer) const override;

    std::string event_source_topic;
    // Empty when the topic has no message class or came after the message; then nothing is
    // written for it either.
    std::shared_ptr<msg_event_base_c> event_source_msg;
    std::vector<std::string> recipients;
};

// Hands every event inside "event_source_msg" to the deserializer of the embedded message, or
// drops them when there is none; the "recipients" array is collected here.
class msg_event_reaction_email_deserializer_c : public ac_json_deserializer_c {
public:
    explicit msg_event_reaction_email_deserializer_c(msg_event_reaction_email_c& msg) : msg_(msg) {}

    bool StartObject() override;
    bool EndObject(size_type member_count) override;
    bool StartArray() override;
    bool EndArray(size_type element_count) override;
    bool Key(const char* str, size_type length, bool copy) override;
    bool Int(int value) override;
    bool Uint(unsigned value) override;
    bool Int64(int64_t value) override;
    bool Uint64(uint64_t value) override;
    bool String(const char* str, size_type length, bool copy) override;

private:
    bool inside_event_message() const { return nested_depth_ > 0; }
    bool start_event_message();
    // Passes a failure of the embedded message's deserializer on with its text.
    bool nested_result(bool ok);

    msg_event_reaction_email_c& msg_;
    std::shared_ptr<ac_json_deserializer_c> nested_;
    // Objects and arrays open inside "event_source_msg"; 0 while outside it.
    uint32_t nested_depth_ = 0;
};
