#include "eventhandling/ehs_lorivant_handler.h"

#include "db/transaction_guard.h"
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
    : ehs_event_handler_c(std::move(client), registry, retries) {
    for (const auto& row : access_topics)
        client_->register_topic(
            row.topic, [this, &row](const mosquitto_message* m) { handle_access(m, row.event_source_id); });
}

void ehs_lorivant_handler_c::handle_access(const mosquitto_message* incoming, uint64_t event_source_id) {
    auto message = std::make_shared<msg_event_hwid_tagid_c>();
    if (!deserialize(incoming, *message)) return;
    std::vector<ehs_event_record_t> records;
    ehs_event_origin_t origin;
    {
        // The door component's id joins the lookup's read transaction: one lock of the file.
        read_transaction_guard_c reads(*transactions_);
        find_event_reactions(event_source_id, records);
        if (records.empty()) return;
        origin.lorivant_id = lorivant_id_of(message->hardware_id);
    }
    for (const auto& record : records)
        if (record.source && record.source->type == "lorivant") publish_reactions(record, message, origin);
}
