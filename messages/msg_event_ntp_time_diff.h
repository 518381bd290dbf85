#pragma once
// The controller's clock was corrected by NTP: the clock before and the NTP time, in seconds.
#include "messages/ac_json_unsigned_deserializer.h"
#include "messages/msg_event_base.h"

#include <cstdint>

class msg_event_ntp_time_diff_c : public msg_event_base_c {
public:
    int deserialize(const char* payload) override;
    void write_json(msg_json_writer_t& writer) const override;

    uint64_t rtc_time = 0;
    uint64_t ntp_time = 0;
};

class msg_event_ntp_time_diff_deserializer_c : public ac_json_unsigned_deserializer_c {
public:
    explicit msg_event_ntp_time_diff_deserializer_c(msg_event_ntp_time_diff_c& msg) : msg_(msg) {}
    bool Uint64(uint64_t value) override;

private:
    msg_event_ntp_time_diff_c& msg_;
};
