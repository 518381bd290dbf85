#include "eventhandling/ehs_battery_warning_handler.h"

#include "db/transaction_guard.h"
#include "messages/msg_event_hwid.h"

#include <mosquitto.h>

#include <cstring>

ehs_battery_warning_handler_c::ehs_battery_warning_handler_c(std::shared_ptr<ac_mqtt_client_c> client,
                                                             dao_registry_c& registry,
                                                             ehs_busy_retries_t retries)
    : ehs_event_handler_c(std::move(client), registry, retries) {
    auto warning = [this](const mosquitto_message* m) { handle_warning(m); };
    client_->register_topic("events/end_device/battery_warning", warning);
    client_->register_topic("events/end_device/battery_count_warning", warning);
}

void ehs_battery_warning_handler_c::handle_warning(const mosquitto_message* incoming) {
    auto message = std::make_shared<msg_event_hwid_c>();
    if (!deserialize(incoming, *message)) return;
    std::vector<ehs_event_record_t> records;
    ehs_event_origin_t origin;
    {
        // The door component's id joins the lookup's read transaction: one lock of the file.
        read_transaction_guard_c reads(*transactions_);
        if (strcmp(incoming->topic, "events/end_device/battery_warning") == 0)
            find_event_reactions(10, records);
        else if (strcmp(incoming->topic, "events/end_device/battery_count_warning") == 0)
            find_event_reactions(11, records);
        if (records.empty()) return;
        origin.lorivant_id = lorivant_id_of(message->hardware_id);
    }
    for (const auto& record : records)
        if (record.source && record.source->type == "lorivant") publish_reactions(record, message, origin);
}
