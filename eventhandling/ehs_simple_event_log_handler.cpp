#include "eventhandling/ehs_simple_event_log_handler.h"

#include "eventhandling/ehs_event_log_group.h"
#include "eventhandling/ehs_status_counters.h"

namespace {

// No message class: the payload is not read. The event-log messages are rows of sql/schema.sql.
struct log_topic_t {
    const char* topic;
    uint64_t message_id;
    uint64_t event_log_group_id;
};

// The alarm system publishes its errors without the "events/" prefix.
const log_topic_t log_topics[] = {
    {"alarmsystem/error_disarming_no_ack", 36, ehs_log_group_system},
    {"alarmsystem/error_arming_no_ack", 35, ehs_log_group_system},
    {"alarmsystem/error_arming_not_ready", 34, ehs_log_group_system},
    {"events/ntp/time_diff", 56, ehs_log_group_system},
};

} // namespace

ehs_simple_event_log_handler_c::ehs_simple_event_log_handler_c(std::shared_ptr<ac_mqtt_client_c> client,
                                                               dao_registry_c& registry,
                                                               ehs_busy_retries_t retries)
    : ehs_event_handler_c(std::move(client), registry, retries) {
    for (const auto& row : log_topics)
        client_->register_topic(row.topic, [this, &row](const mosquitto_message*) {
            ehs_status_counters_c::instance().count_event();
            write_event_log_with_transaction(row.message_id, row.event_log_group_id, 0, 0);
        });
}
