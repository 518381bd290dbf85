#pragma once
// An event named by text only. It also stands for a hotkey event embedded in an e-mail request,
// where only the hotkey's name is read.
#include "messages/ac_json_deserializer.h"
#include "messages/msg_event_base.h"

#include <string>

class msg_event_name_c : public msg_event_base_c {
public:
    int deserialize(const char* payload) override;
    void write_json(msg_json_writer_t& writer) const override;

    std::string name;
};

class msg_event_name_deserializer_c : public ac_json_deserializer_c {
public:
    explicit msg_event_name_deserializer_c(msg_event_name_c& msg) : msg_(msg) {}
    bool String(const char* str, size_type length, bool copy) override;

private:
    msg_event_name_c& msg_;
};
