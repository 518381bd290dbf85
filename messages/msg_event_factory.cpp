#include "messages/msg_event_factory.h"

#include "messages/msg_event_alarm_armed.h"
#include "messages/msg_event_alarmid.h"
#include "messages/msg_event_end_device_battery_count_warning.h"
#include "messages/msg_event_end_device_battery_warning.h"
#include "messages/msg_event_hwid.h"
#include "messages/msg_event_hwid_tagid.h"
#include "messages/msg_event_internet_lost.h"
#include "messages/msg_event_io_input.h"
#include "messages/msg_event_name.h"
#include "messages/msg_event_ntp_time_diff.h"
#include "messages/msg_event_repeater_tamper.h"

#include <utility>

namespace {

template <class message_t, class deserializer_t>
msg_event_factory_c::product_t make() {
    auto message = std::make_shared<message_t>();
    auto deserializer = std::make_shared<deserializer_t>(*message);
    return {message, deserializer};
}

} // namespace

const msg_event_factory_c& msg_event_factory_c::instance() {
    static const msg_event_factory_c factory;
    return factory;
}

msg_event_factory_c::msg_event_factory_c() {
    add("events/alarmsystem/armed", make<msg_event_alarm_armed_c, msg_event_alarm_armed_deserializer_c>);
    add("events/alarmsystem/disarmed", make<msg_event_alarm_armed_c, msg_event_alarm_armed_deserializer_c>);
    add("events/alarmsystem/alarm", make<msg_event_alarmid_c, msg_event_alarmid_deserializer_c>);
    add("events/end_device/battery_warning",
        make<msg_event_end_device_battery_warning_c, msg_event_hwid_deserializer_c>);
    add("events/end_device/battery_count_warning",
        make<msg_event_end_device_battery_count_warning_c, msg_event_hwid_deserializer_c>);
    add("events/end_device/signal_loss", make<msg_event_hwid_c, msg_event_hwid_deserializer_c>);
    add("events/end_device/access_granted",
        make<msg_event_hwid_tagid_c, msg_event_hwid_tagid_deserializer_c>);
    add("events/end_device/access_denied", make<msg_event_hwid_tagid_c, msg_event_hwid_tagid_deserializer_c>);
    add("events/end_device/tag_unknown", make<msg_event_hwid_tagid_c, msg_event_hwid_tagid_deserializer_c>);
    add("events/repeater/signal_loss", make<msg_event_hwid_c, msg_event_hwid_deserializer_c>);
    add("events/repeater/tamper", make<msg_event_repeater_tamper_c, msg_event_hwid_deserializer_c>);
    add("events/repeater/power_loss", make<msg_event_hwid_c, msg_event_hwid_deserializer_c>);
    add("events/repeater/power_back", make<msg_event_hwid_c, msg_event_hwid_deserializer_c>);
    add("events/external_io/input", make<msg_event_io_input_c, msg_event_io_input_deserializer_c>);
    // Deliberately the name message, not the hotkey one: an e-mail about a hotkey only needs its name.
    add("events/rest_api/hotkey", make<msg_event_name_c, msg_event_name_deserializer_c>);
    add("events/control/internet_lost", make<msg_event_internet_lost_c, msg_event_hwid_deserializer_c>);
    add("events/ntp/time_diff", make<msg_event_ntp_time_diff_c, msg_event_ntp_time_diff_deserializer_c>);
}

void msg_event_factory_c::add(const std::string& topic, creator_t creator) {
    creators_.emplace(topic, std::move(creator));
    topics_.push_back(topic);
}

msg_event_factory_c::product_t msg_event_factory_c::create(const std::string& topic) const {
    auto it = creators_.find(topic);
    if (it == creators_.end()) return {};
    return it->second();
}
