#include "eventhandling/ehs_event_handler.h"

#include "db/transaction_guard.h"
#include "eventhandling/ehs_damage_repair.h"
#include "eventhandling/ehs_reaction_publisher.h"
#include "eventhandling/ehs_status_counters.h"
#include "utils/ac_result.h"

#include <mosquitto.h>

#include <ctime>

ehs_event_handler_c::ehs_event_handler_c(std::shared_ptr<ac_mqtt_client_c> client, dao_registry_c& registry,
                                         ehs_busy_retries_t retries)
    : client_(std::move(client)), retries_(retries), transactions_(registry.get_dao<transaction_dao_t>()),
      event_log_(registry.get_dao<event_log_dao_t>()), events_(registry.get_dao<event_dao_t>()),
      event_sources_(registry.get_dao<event_source_dao_t>()), settings_(registry.get_dao<settings_dao_t>()),
      camera_reactions_(registry.get_dao<camera_event_reaction_dao_t>()),
      output_reactions_(registry.get_dao<output_event_reaction_dao_t>()),
      email_reactions_(registry.get_dao<email_event_reaction_dao_t>()),
      lorivant_reactions_(registry.get_dao<lorivant_event_reaction_dao_t>()),
      lorivants_(registry.get_dao<lorivant_dao_c>()), repeaters_(registry.get_dao<repeater_dao_c>()) {}

void ehs_event_handler_c::write_event_log_with_transaction(uint64_t message_id, uint64_t event_log_group_id,
                                                           uint64_t lorivant_id, uint64_t camera_id) {
    try {
        ehs_retry_repaired(*transactions_, retries_, [&] {
            transaction_guard_c transaction(*transactions_, retries_.begin);
            auto now = static_cast<uint64_t>(time(nullptr));
            event_log_->insert_event_log(now, message_id, event_log_group_id, lorivant_id, camera_id, 0, 0,
                                         0);
            transaction.commit(retries_.commit);
        });
    } catch (const db_exception_t& e) {
        ehs_log_database_error("write_event_log_with_transaction",
                               "failed to write event log [message_id=%llu] : %s",
                               static_cast<unsigned long long>(message_id), e.what());
    }
}

void ehs_event_handler_c::find_event_reactions(uint64_t event_source_id,
                                               std::vector<ehs_event_record_t>& records) {
    const size_t first = records.size();
    if (look_up_reactions(event_source_id, records)) return;
    // The file is damaged: what can be repaired is, and the lookup runs once more.
    if (!transactions_->repair_damage(retries_.begin, retries_.commit, true)) return;
    records.resize(first);
    look_up_reactions(event_source_id, records);
}

bool ehs_event_handler_c::look_up_reactions(uint64_t event_source_id,
                                            std::vector<ehs_event_record_t>& records) {
    // All reads of the lookup in one read transaction: SQLite locks and unlocks the shared file
    // once per event instead of once per statement. Ends with the lookup, however that ends.
    read_transaction_guard_c reads(*transactions_);
    std::vector<event_t> events;
    try {
        events_->get_events_of_event_source(event_source_id, events);
    } catch (const std::exception& e) {
        // The events read so far stay in the list, but the lookup ends: they get no reactions.
        ehs_log_database_error("find_event_reactions", "%s", e.what());
        for (auto& event : events)
            records.push_back({std::move(event), {}, {}, {}, {}, {}});
        return !damaged(e);
    }
    size_t first = records.size();
    for (auto& event : events)
        records.push_back({std::move(event), {}, {}, {}, {}, {}});
    try {
        for (size_t i = first; i < records.size(); ++i)
            if (!complete_record(records[i])) return true;
    } catch (const std::exception& e) {
        // db_exception_t, and the logic error of a corrupt event_source.type: both end the lookup.
        ehs_log_database_error("find_event_reactions", "%s", e.what());
        return !damaged(e);
    }
    return true;
}

bool ehs_event_handler_c::damaged(const std::exception& e) {
    const auto* failure = dynamic_cast<const db_exception_t*>(&e);
    return failure != nullptr && failure->file_damaged;
}

bool ehs_event_handler_c::complete_record(ehs_event_record_t& record) {
    const event_t& event = record.event;
    if (event.associated_event_source_id != 0) {
        std::string language;
        try {
            language = settings_->get_default_language();
        } catch (const db_exception_t& e) {
            ehs_log_database_error("find_event_reactions", "failed to get default default_language: %s",
                                   e.what());
            return false;
        }
        associated_event_source_t source;
        event_sources_->get_associated_event(event.associated_event_source_id, source, language);
        record.source = std::move(source);
    }
    if (event.camera_event_reaction_id != 0) {
        camera_event_reaction_t reaction;
        if (camera_reactions_->get_camera_event_reaction(event.camera_event_reaction_id, reaction))
            record.camera = std::move(reaction);
    }
    if (event.output_event_reaction_id != 0) {
        output_event_reaction_t reaction;
        if (output_reactions_->get_output_event_reaction(event.output_event_reaction_id, reaction))
            record.output = std::move(reaction);
    }
    if (event.email_event_reaction_id != 0) {
        email_event_reaction_t reaction;
        if (email_reactions_->get_email_event_reaction(event.email_event_reaction_id, reaction))
            record.email = std::move(reaction);
    }
    if (event.lorivant_event_reaction_id != 0) {
        lorivant_event_reaction_t reaction;
        if (lorivant_reactions_->get_lorivant_event_reaction(event.lorivant_event_reaction_id, reaction))
            record.lorivant = std::move(reaction);
    }
    return true;
}

void ehs_event_handler_c::publish_reactions(const ehs_event_record_t& record,
                                            const std::shared_ptr<msg_event_base_c>& message,
                                            const ehs_event_origin_t& origin) {
    ehs_publish_reactions(*client_, record, message, origin);
}

bool ehs_event_handler_c::deserialize(const mosquitto_message* incoming, msg_event_base_c& message) {
    std::string payload;
    if (incoming->payload != nullptr && incoming->payloadlen > 0)
        payload.assign(static_cast<const char*>(incoming->payload),
                       static_cast<size_t>(incoming->payloadlen));
    message.set_topic(incoming->topic);
    // No payload at all is refused without a log line; an empty text is a malformed document.
    const bool accepted =
        message.deserialize(incoming->payload != nullptr ? payload.c_str() : nullptr) == AC_RESULT_SUCCESS;
    if (accepted)
        ehs_status_counters_c::instance().count_event();
    else
        ehs_status_counters_c::instance().count_refused_payload();
    return accepted;
}

uint64_t ehs_event_handler_c::lorivant_id_of(uint64_t hardware_id) {
    lorivant_t lorivant;
    try {
        if (lorivants_->get_lorivant_by_hardware_id(hardware_id, lorivant)) return lorivant.id;
    } catch (const db_exception_t& e) {
        ehs_log_database_error("lorivant_id_of", "%s", e.what());
    }
    return 0;
}

uint64_t ehs_event_handler_c::repeater_id_of(uint64_t serial_number) {
    repeater_t repeater;
    try {
        if (repeaters_->get_repeater_by_serial_number(serial_number, repeater)) return repeater.id;
    } catch (const db_exception_t& e) {
        ehs_log_database_error("repeater_id_of", "%s", e.what());
    }
    return 0;
}
