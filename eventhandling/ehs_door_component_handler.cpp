#include "eventhandling/ehs_door_component_handler.h"

#include "db/transaction_guard.h"

void ehs_door_component_handler_c::react_for_door_component(uint64_t event_source_id,
                                                            const std::shared_ptr<msg_event_base_c>& message,
                                                            uint64_t hardware_id) {
    std::vector<ehs_event_record_t> records;
    ehs_event_origin_t origin;
    {
        read_transaction_guard_c reads(*transactions_);
        find_event_reactions(event_source_id, records);
        if (records.empty()) return;
        origin.lorivant_id = lorivant_id_of(hardware_id);
    }
    for (const auto& record : records)
        if (record.source && record.source->type == "lorivant") publish_reactions(record, message, origin);
}
