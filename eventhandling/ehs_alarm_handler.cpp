#include "eventhandling/ehs_alarm_handler.h"

#include "eventhandling/ehs_event_log_group.h"
#include "messages/msg_event_alarm_armed.h"
#include "messages/msg_event_alarmid.h"

namespace {

enum message_class_e {
    ALARM_ARMED, // msg_event_alarm_armed_c
    ALARMID,     // msg_event_alarmid_c
};

} // namespace

struct ehs_alarm_handler_c::topic_t {
    const char* topic;
    message_class_e message_class;
    uint64_t event_source_id;
    uint64_t message_id; // of the event-log row
    uint64_t event_log_group_id;
};

// The event sources and event-log messages are rows of sql/schema.sql.
const ehs_alarm_handler_c::topic_t ehs_alarm_handler_c::topics[] = {
    {"events/alarmsystem/armed", ALARM_ARMED, 3, 25, ehs_log_group_system},
    {"events/alarmsystem/disarmed", ALARM_ARMED, 4, 26, ehs_log_group_system},
    {"events/alarmsystem/alarm", ALARMID, 13, 40, ehs_log_group_system},
    {"events/alarmsystem/alarm_resolved", ALARMID, 20, 59, ehs_log_group_system},
};

ehs_alarm_handler_c::ehs_alarm_handler_c(std::shared_ptr<ac_mqtt_client_c> client, dao_registry_c& registry,
                                         ehs_busy_retries_t retries)
    : ehs_event_handler_c(std::move(client), registry, retries) {
    for (const auto& row : topics)
        client_->register_topic(row.topic, [this, &row](const mosquitto_message* m) {
            if (row.message_class == ALARM_ARMED)
                log_and_react<msg_event_alarm_armed_c>(m, row);
            else
                log_and_react<msg_event_alarmid_c>(m, row);
        });
}

template <class message_t>
void ehs_alarm_handler_c::log_and_react(const mosquitto_message* incoming, const topic_t& topic) {
    auto message = std::make_shared<message_t>();
    if (!deserialize(incoming, *message)) return;
    write_event_log_with_transaction(topic.message_id, topic.event_log_group_id, 0, 0);
    std::vector<ehs_event_record_t> records;
    find_event_reactions(topic.event_source_id, records);
    ehs_event_origin_t origin;
    origin.alarmsystem_id = message->alarmsystem_id;
    for (const auto& record : records)
        if (record.source && record.source->type == "alarmsystem") publish_reactions(record, message, origin);
}
