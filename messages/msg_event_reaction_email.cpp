#include "messages/msg_event_reaction_email.h"

#include "messages/msg_event_factory.h"

namespace {

const char* const event_message_key = "event_source_msg";

} // namespace

int msg_event_reaction_email_c::deserialize(const char* payload) {
    msg_event_reaction_email_deserializer_c handler(*this);
    return run_deserializer(handler, payload, "event_reaction_email");
}

void msg_event_reaction_email_c::write_json(msg_json_writer_t& writer) const {
    writer.StartObject();
    write_member(writer, "event_source_topic", event_source_topic);
    if (event_source_msg) {
        writer.Key(event_message_key);
        event_source_msg->write_json(writer);
    }
    writer.Key("recipients");
    writer.StartArray();
    for (const std::string& recipient : recipients)
        writer.String(recipient.data(), static_cast<rapidjson::SizeType>(recipient.size()));
    writer.EndArray();
    writer.EndObject();
}

bool msg_event_reaction_email_deserializer_c::StartObject() {
    if (inside_event_message()) {
        ++nested_depth_;
        return nested_ ? nested_result(nested_->StartObject()) : true;
    }
    if (state_ == STATE_AFTER_KEY && key_ == event_message_key) return start_event_message();
    return ac_json_deserializer_c::StartObject();
}

bool msg_event_reaction_email_deserializer_c::start_event_message() {
    // Only the topic read so far counts: a later one cannot change how this object is read.
    msg_event_factory_c::product_t product = msg_event_factory_c::instance().create(msg_.event_source_topic);
    if (product.message) product.message->set_topic(msg_.event_source_topic);
    nested_ = product.deserializer;
    msg_.event_source_msg = product.message;
    nested_depth_ = 1;
    return nested_ ? nested_result(nested_->StartObject()) : true;
}

bool msg_event_reaction_email_deserializer_c::EndObject(size_type member_count) {
    if (!inside_event_message()) return ac_json_deserializer_c::EndObject(member_count);
    if (nested_ && !nested_result(nested_->EndObject(member_count))) return false;
    if (--nested_depth_ > 0) return true;
    nested_.reset();
    key_.clear();
    state_ = STATE_IN_OBJECT;
    return true;
}

bool msg_event_reaction_email_deserializer_c::StartArray() {
    if (inside_event_message()) {
        ++nested_depth_;
        return nested_ ? nested_result(nested_->StartArray()) : true;
    }
    // A repeated "recipients" member replaces the list rather than adding to it.
    if (state_ == STATE_AFTER_ARRAY_KEY) msg_.recipients.clear();
    return ac_json_deserializer_c::StartArray();
}

bool msg_event_reaction_email_deserializer_c::EndArray(size_type element_count) {
    if (inside_event_message()) {
        --nested_depth_;
        return nested_ ? nested_result(nested_->EndArray(element_count)) : true;
    }
    if (state_ != STATE_IN_ARRAY) return fail("expected end of a json array");
    key_.clear();
    state_ = STATE_IN_OBJECT;
    return true;
}

bool msg_event_reaction_email_deserializer_c::Key(const char* str, size_type length, bool copy) {
    if (inside_event_message()) return nested_ ? nested_result(nested_->Key(str, length, copy)) : true;
    if (!ac_json_deserializer_c::Key(str, length, copy)) return false;
    if (key_ == "recipients") state_ = STATE_AFTER_ARRAY_KEY;
    return true;
}

// No integer member of its own: outside the embedded message the base rules reject integers.
bool msg_event_reaction_email_deserializer_c::Int(int value) {
    if (!inside_event_message()) return ac_json_deserializer_c::Int(value);
    return nested_ ? nested_result(nested_->Int(value)) : true;
}

bool msg_event_reaction_email_deserializer_c::Uint(unsigned value) {
    if (!inside_event_message()) return ac_json_deserializer_c::Uint(value);
    return nested_ ? nested_result(nested_->Uint(value)) : true;
}

bool msg_event_reaction_email_deserializer_c::Int64(int64_t value) {
    if (!inside_event_message()) return ac_json_deserializer_c::Int64(value);
    return nested_ ? nested_result(nested_->Int64(value)) : true;
}

bool msg_event_reaction_email_deserializer_c::Uint64(uint64_t value) {
    if (!inside_event_message()) return ac_json_deserializer_c::Uint64(value);
    return nested_ ? nested_result(nested_->Uint64(value)) : true;
}

bool msg_event_reaction_email_deserializer_c::String(const char* str, size_type length, bool copy) {
    if (inside_event_message()) return nested_ ? nested_result(nested_->String(str, length, copy)) : true;
    if (state_ == STATE_IN_ARRAY) {
        msg_.recipients.emplace_back(str, length);
        return true;
    }
    if (!expect_value()) return false;
    if (key_ == "event_source_topic") return store(msg_.event_source_topic, str, length);
    return wrong_string();
}

bool msg_event_reaction_email_deserializer_c::nested_result(bool ok) {
    if (!ok) error_ = nested_->error();
    return ok;
}
