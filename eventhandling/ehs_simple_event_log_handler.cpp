#include "eventhandling/ehs_simple_event_log_handler.h"

namespace {

constexpr uint64_t group_system = 4;

} // namespace

ehs_simple_event_log_handler_c::ehs_simple_event_log_handler_c(std::shared_ptr<ac_mqtt_client_c> client,
                                                               dao_registry_c& registry,
                                                               ehs_busy_retries_t retries)
    : ehs_event_handler_c(std::move(client), registry, retries) {
    // The alarm system publishes its errors without the "events/" prefix.
    write_event_log_for_topic("alarmsystem/error_disarming_no_ack", group_system, 36);
    write_event_log_for_topic("alarmsystem/error_arming_no_ack", group_system, 35);
    write_event_log_for_topic("alarmsystem/error_arming_not_ready", group_system, 34);
    write_event_log_for_topic("events/ntp/time_diff", group_system, 56);
}

void ehs_simple_event_log_handler_c::write_event_log_for_topic(const char* topic, uint64_t event_log_group_id,
                                                               uint64_t message_id) {
    client_->register_topic(topic, [this, event_log_group_id, message_id](const mosquitto_message*) {
        write_event_log_with_transaction(message_id, event_log_group_id, 0, 0);
    });
}
