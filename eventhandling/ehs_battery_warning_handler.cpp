#include "eventhandling/ehs_battery_warning_handler.h"

#include "messages/msg_event_hwid.h"

namespace {

// Every payload is a msg_event_hwid_c; no event-log row. The event sources are rows of
// sql/schema.sql.
struct warning_topic_t {
    const char* topic;
    uint64_t event_source_id;
};

const warning_topic_t warning_topics[] = {
    {"events/end_device/battery_warning", 10},
    {"events/end_device/battery_count_warning", 11},
};

} // namespace

ehs_battery_warning_handler_c::ehs_battery_warning_handler_c(std::shared_ptr<ac_mqtt_client_c> client,
                                                             dao_registry_c& registry,
                                                             ehs_busy_retries_t retries)
    : ehs_door_component_handler_c(std::move(client), registry, retries) {
    for (const auto& row : warning_topics)
        client_->register_topic(
            row.topic, [this, &row](const mosquitto_message* m) { handle_warning(m, row.event_source_id); });
}

void ehs_battery_warning_handler_c::handle_warning(const mosquitto_message* incoming,
                                                   uint64_t event_source_id) {
    auto message = std::make_shared<msg_event_hwid_c>();
    if (!deserialize(incoming, *message)) return;
    react_for_door_component(event_source_id, message, message->hardware_id);
}
