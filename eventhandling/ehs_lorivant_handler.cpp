#include "eventhandling/ehs_lorivant_handler.h"

#include "messages/msg_event_hwid_tagid.h"

namespace {

// Every payload is a msg_event_hwid_tagid_c; no event-log row. The event sources are rows of
// sql/schema.sql.
struct access_topic_t {
    const char* topic;
    uint64_t event_source_id;
};

const access_topic_t access_topics[] = {
    {"events/end_device/access_granted", 1},
    {"events/end_device/access_denied", 2},
    {"events/end_device/tag_unknown", 5},
};

} // namespace

ehs_lorivant_handler_c::ehs_lorivant_handler_c(std::shared_ptr<ac_mqtt_client_c> client,
                                               dao_registry_c& registry, ehs_busy_retries_t retries)
    : ehs_door_component_handler_c(std::move(client), registry, retries) {
    for (const auto& row : access_topics)
        client_->register_topic(
            row.topic, [this, &row](const mosquitto_message* m) { handle_access(m, row.event_source_id); });
}

void ehs_lorivant_handler_c::handle_access(const mosquitto_message* incoming, uint64_t event_source_id) {
    auto message = std::make_shared<msg_event_hwid_tagid_c>();
    if (!deserialize(incoming, *message)) return;
    react_for_door_component(event_source_id, message, message->hardware_id);
}
