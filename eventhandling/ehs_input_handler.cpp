#include "eventhandling/ehs_input_handler.h"

#include "db/transaction_guard.h"
#include "eventhandling/ehs_damage_repair.h"
#include "eventhandling/ehs_event_log_group.h"
#include "eventhandling/ehs_status_counters.h"
#include "messages/msg_event_io_input.h"

#include <ctime>

namespace {

// The one topic, its payload a msg_event_io_input_c. The event source and the event-log
// message are rows of sql/schema.sql.
constexpr const char* input_topic = "events/external_io/input";
constexpr uint64_t input_event_source = 12;
constexpr uint64_t input_changed_message = 22;
constexpr uint64_t input_event_log_group = ehs_log_group_system;

} // namespace

ehs_input_handler_c::ehs_input_handler_c(std::shared_ptr<ac_mqtt_client_c> client, dao_registry_c& registry,
                                         ehs_busy_retries_t retries)
    : ehs_event_handler_c(std::move(client), registry, retries) {
    client_->register_topic(input_topic, [this](const mosquitto_message* m) { handle_input(m); });
}

void ehs_input_handler_c::handle_input(const mosquitto_message* incoming) {
    auto message = std::make_shared<msg_event_io_input_c>();
    if (!deserialize(incoming, *message)) return;
    write_event_log_with_transaction(input_changed_message, input_event_log_group, 0, 0);

    std::vector<ehs_event_record_t> records;
    find_event_reactions(input_event_source, records);
    ehs_event_origin_t origin;
    origin.connector = message->connector;
    origin.signal = message->signal;
    for (const auto& record : records) {
        if (!record.source || record.source->type != "externalInput" || !ehs_source_matches(record, origin))
            continue;
        if (record.lorivant) make_lorivant_reaction(*record.lorivant);
        publish_reactions(record, message, origin);
    }
}

void ehs_input_handler_c::make_lorivant_reaction(const lorivant_event_reaction_t& reaction) {
    try {
        ehs_retry_repaired(*transactions_, retries_, [&] {
            transaction_guard_c transaction(*transactions_, retries_.begin);
            if (auto office =
                    std::dynamic_pointer_cast<lorivant_event_reaction_t::office_mode_t>(reaction.mode))
                switch_office_mode(reaction, *office);
            else if (reaction.mode)
                switch_panic_mode(reaction);
            transaction.commit(retries_.commit);
        });
    } catch (const db_exception_t& e) {
        ehs_log_database_error("make_lorivant_reaction", "failed to update panic or office mode: %s",
                               e.what());
    }
}

void ehs_input_handler_c::switch_office_mode(const lorivant_event_reaction_t& reaction,
                                             const lorivant_event_reaction_t::office_mode_t& office) {
    auto now = static_cast<uint64_t>(time(nullptr));
    std::vector<lorivant_t> lorivants;
    lorivants_->get_lorivants(lorivants);
    // The count-down of passages matches the association by hardware id.
    uint64_t hardware_id = hardware_id_of(reaction.lorivant_id, lorivants);
    lorivant_reactions_->start_office_mode(reaction.id, reaction.lorivant_id, hardware_id,
                                           reaction.access_group_id, now, office.duration, office.counts);
    for (const auto& lorivant : lorivants)
        if (reaction.lorivant_id == 0 || lorivant.id == reaction.lorivant_id)
            lorivants_->set_office_mode(lorivant.id, true, reaction.id, now, office.duration, office.counts);
}

void ehs_input_handler_c::switch_panic_mode(const lorivant_event_reaction_t& reaction) {
    // The association is keyed by the reaction: a second activation would be a duplicate.
    if (lorivant_reactions_->is_panic_mode_active(reaction.id)) return;
    std::vector<lorivant_t> lorivants;
    lorivants_->get_lorivants(lorivants);
    lorivant_reactions_->start_panic_mode(reaction.id, reaction.lorivant_id,
                                          hardware_id_of(reaction.lorivant_id, lorivants),
                                          reaction.access_group_id);
}

uint64_t ehs_input_handler_c::hardware_id_of(uint64_t lorivant_id, std::vector<lorivant_t>& lorivants) {
    for (const auto& lorivant : lorivants)
        if (lorivant.id == lorivant_id) return lorivant.hardware_id;
    return 0;
}
