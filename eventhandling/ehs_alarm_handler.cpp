#include "eventhandling/ehs_alarm_handler.h"

#include "messages/msg_event_alarm_armed.h"
#include "messages/msg_event_alarmid.h"

#include <mosquitto.h>

#include <cstring>

namespace {

constexpr uint64_t group_system = 4;

} // namespace

ehs_alarm_handler_c::ehs_alarm_handler_c(std::shared_ptr<ac_mqtt_client_c> client, dao_registry_c& registry,
                                         ehs_busy_retries_t retries)
    : ehs_event_handler_c(std::move(client), registry, retries) {
    auto armed = [this](const mosquitto_message* m) { handle_armed(m); };
    auto alarm = [this](const mosquitto_message* m) { handle_alarm(m); };
    client_->register_topic("events/alarmsystem/armed", armed);
    client_->register_topic("events/alarmsystem/disarmed", armed);
    client_->register_topic("events/alarmsystem/alarm", alarm);
    client_->register_topic("events/alarmsystem/alarm_resolved", alarm);
}

// Each callback serves a pair of topics; anything but the first of the pair is the second.
void ehs_alarm_handler_c::handle_armed(const mosquitto_message* incoming) {
    auto message = std::make_shared<msg_event_alarm_armed_c>();
    if (!deserialize(incoming, *message)) return;
    if (strcmp(incoming->topic, "events/alarmsystem/armed") == 0)
        log_and_react(25, 3, message, message->alarmsystem_id);
    else
        log_and_react(26, 4, message, message->alarmsystem_id);
}

void ehs_alarm_handler_c::handle_alarm(const mosquitto_message* incoming) {
    auto message = std::make_shared<msg_event_alarmid_c>();
    if (!deserialize(incoming, *message)) return;
    if (strcmp(incoming->topic, "events/alarmsystem/alarm") == 0)
        log_and_react(40, 13, message, message->alarmsystem_id);
    else
        log_and_react(59, 20, message, message->alarmsystem_id);
}

void ehs_alarm_handler_c::log_and_react(uint64_t message_id, uint64_t event_source_id,
                                        const std::shared_ptr<msg_event_base_c>& message,
                                        uint64_t alarmsystem_id) {
    write_event_log_with_transaction(message_id, group_system, 0, 0);
    std::vector<ehs_event_record_t> records;
    find_event_reactions(event_source_id, records);
    ehs_event_origin_t origin;
    origin.alarmsystem_id = alarmsystem_id;
    for (const auto& record : records)
        if (record.source && record.source->type == "alarmsystem") publish_reactions(record, message, origin);
}
