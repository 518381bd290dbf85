#include "eventhandling/ehs_supervision_handler.h"

#include "eventhandling/ehs_status_counters.h"
#include "messages/msg_event_hwid.h"
#include "utils/ac_log.h"

#include <algorithm>
#include <ctime>
#include <vector>

namespace {

constexpr float two_to_the_64 = 18446744073709551616.0f;

void publish_signal_loss(ac_mqtt_client_interface& client, const char* topic, uint64_t hardware_id) {
    msg_event_hwid_c message;
    message.hardware_id = hardware_id;
    client.publish(topic, message.serialize(), false);
}

} // namespace

ehs_supervision_handler_c::ehs_supervision_handler_c(std::shared_ptr<ac_mqtt_client_interface> client,
                                                     dao_registry_c& registry, ehs_busy_retries_t retries)
    : client_(std::move(client)), retries_(retries), transactions_(registry.get_dao<transaction_dao_t>()),
      settings_(registry.get_dao<settings_dao_t>()), lorivants_(registry.get_dao<lorivant_dao_c>()),
      repeaters_(registry.get_dao<repeater_dao_c>()), event_log_(registry.get_dao<event_log_dao_t>()) {}

uint64_t ehs_supervision_handler_c::allowed_silence(uint64_t supervision_period) {
    // Deliberately single precision: devices and the configuration tool count with the same
    // float arithmetic, and 100 s * 2 * 1.05f is 209.99998, which truncates to 209.
    float doubled = static_cast<float>(supervision_period) * 2.0f;
    float allowed = doubled * 1.05f;
    // From a period of about 2^63 s on, the product no longer fits 64 bits, and converting it
    // anyway is undefined: x86-64 gives 0 (missing at once), 32-bit ARM the largest value. Both
    // now get the largest value, the nearest to 2.1 periods.
    if (allowed >= two_to_the_64) return UINT64_MAX;
    return static_cast<uint64_t>(allowed);
}

bool ehs_supervision_handler_c::silent_too_long(uint64_t last_sign_of_life, uint64_t supervision_period,
                                                uint64_t now) {
    // Without wrapping: a huge time or period from the database means "not missing".
    uint64_t allowed = allowed_silence(supervision_period);
    return last_sign_of_life < now && now - last_sign_of_life > allowed;
}

void ehs_supervision_handler_c::read_supervision_mode() {
    try {
        supervision_mode_ = settings_->get_supervision_mode();
    } catch (const db_exception_t& e) {
        supervision_mode_ = false;
        ehs_log_database_error("check_supervision", "%s", e.what());
    }
}

void ehs_supervision_handler_c::check_supervision() {
    check_supervision(static_cast<uint64_t>(time(nullptr)));
}

void ehs_supervision_handler_c::check_supervision(uint64_t now) {
    read_supervision_mode();
    // Each kind on its own: a failing read of one does not leave the other unchecked.
    std::vector<lorivant_t> lorivants;
    try {
        lorivants_->get_lorivants(lorivants);
    } catch (const db_exception_t& e) {
        ehs_log_database_error("check_supervision", "%s", e.what());
    }
    for (const auto& lorivant : lorivants)
        check_supervision_of_lorivant(now, lorivant);

    std::vector<repeater_t> repeaters;
    try {
        repeaters_->get_repeaters(repeaters);
    } catch (const db_exception_t& e) {
        ehs_log_database_error("check_supervision", "%s", e.what());
    }
    for (const auto& repeater : repeaters)
        check_supervision_of_repeater(now, repeater);
}

void ehs_supervision_handler_c::check_supervision_of_lorivant(uint64_t now, const lorivant_t& lorivant) {
    if (lorivant.supervision_missing) return;
    // A door component that was used recently is alive even if its periodic report is late:
    // its newest event-log row counts as a sign of life too.
    uint64_t last_sign_of_life = lorivant.supervision_time;
    try {
        last_sign_of_life = std::max(
            last_sign_of_life, event_log_->get_datetime_of_most_recent_event_log_of_lorivant(lorivant.id));
    } catch (const db_exception_t& e) {
        ehs_log_database_error("check_supervision_of_lorivant", "%s", e.what());
    }
    if (!silent_too_long(last_sign_of_life, lorivant.supervision_period, now)) return;

    ac_log_uncategorised(AC_LOG_INFO, "supervision for lorivant %d is missing",
                         static_cast<int>(lorivant.id));
    handle_missing_supervision(
        [&] { lorivants_->set_supervision_missing(lorivant.id, true); },
        [&] { publish_signal_loss(*client_, "events/end_device/signal_loss", lorivant.hardware_id); });
}

void ehs_supervision_handler_c::check_supervision_of_repeater(uint64_t now, const repeater_t& repeater) {
    if (repeater.supervision_missing) return;
    if (!silent_too_long(repeater.supervision_time, repeater.supervision_period, now)) return;

    ac_log_uncategorised(AC_LOG_INFO, "supervision for repeater %d is missing",
                         static_cast<int>(repeater.id));
    handle_missing_supervision(
        [&] { repeaters_->set_supervision_missing(repeater.id, true); },
        [&] { publish_signal_loss(*client_, "events/repeater/signal_loss", repeater.serial_number); });
}

void ehs_supervision_handler_c::handle_missing_supervision(const std::function<void()>& update,
                                                           const std::function<void()>& publication) {
    try {
        transactions_->begin_transaction(retries_.begin);
    } catch (const db_exception_t& e) {
        ehs_log_database_error("handle_missing_supervision", "Error on begin transaction: %s", e.what());
        return;
    }
    try {
        if (update) update();
        if (supervision_mode_ && publication) publication();
        transactions_->commit_transaction(retries_.commit);
    } catch (const db_exception_t& e) {
        transactions_->rollback_transaction();
        ehs_log_database_error("handle_missing_supervision",
                               "Error when writing missing supervision to db : %s", e.what());
        // Not tried again here: the signal loss may already be published. The next run marks
        // the device on a repaired file.
        if (e.file_damaged) transactions_->repair_damage(retries_.begin, retries_.commit, true);
    }
}

void ehs_supervision_handler_c::check_database() {
    transactions_->repair_damage(retries_.begin, retries_.commit, false);
}
