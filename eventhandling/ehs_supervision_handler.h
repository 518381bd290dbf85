#pragma once
// Notices radio devices (door components, repeaters) whose periodic reports stopped: marks each
// as missing once and, in supervision mode, publishes its signal-loss event so the simple event
// handler turns it into the configured reactions.
//
// Runs on the supervision thread with DAOs of its own; it shares the connection with event
// handling only through transactions. Database failures of one device are logged and the other
// devices are still checked.
#include "dao/event_log_dao.h"
#include "dao/lorivant_dao.h"
#include "dao/repeater_dao.h"
#include "dao/settings_dao.h"
#include "db/dao_registry.h"
#include "db/db_exception.h"
#include "db/transaction_dao.h"
#include "eventhandling/ehs_busy_retries.h"
#include "mqtt/ac_mqtt_client_interface.h"

#include <cstdint>
#include <functional>
#include <memory>

class ehs_supervision_handler_c {
public:
    ehs_supervision_handler_c(std::shared_ptr<ac_mqtt_client_interface> client, dao_registry_c& registry,
                              ehs_busy_retries_t retries = {});

    // One run over every door component, then every repeater, against one reading of the clock.
    void check_supervision();
    void check_supervision(uint64_t now);

    void check_supervision_of_lorivant(uint64_t now, const lorivant_t& lorivant);
    void check_supervision_of_repeater(uint64_t now, const repeater_t& repeater);

    // `update` inside an immediate transaction, then `publication` when supervision mode is on,
    // before the commit: the event is not taken back if the commit fails.
    void handle_missing_supervision(const std::function<void()>& update,
                                    const std::function<void()>& publication);

    // 2.1 periods, computed in single precision and truncated: a period of 100 s allows 209 s.
    // A product beyond 64 bits (periods from about 2^63 s on) gives the largest value.
    static uint64_t allowed_silence(uint64_t supervision_period);
    // True when more than the allowed silence has passed since the last sign of life, computed
    // without overflow (a sign of life at or after `now` is never too long ago).
    static bool silent_too_long(uint64_t last_sign_of_life, uint64_t supervision_period, uint64_t now);

    // Looks for what a torn commit (a kill or power cut of an earlier run) left damaged in the
    // file and repairs it; run once after start, off the event path.
    void check_database();

    bool supervision_mode() const { return supervision_mode_; }

private:
    void read_supervision_mode();

    std::shared_ptr<ac_mqtt_client_interface> client_;
    const ehs_busy_retries_t retries_;
    std::shared_ptr<transaction_dao_t> transactions_;
    std::shared_ptr<settings_dao_t> settings_;
    std::shared_ptr<lorivant_dao_c> lorivants_;
    std::shared_ptr<repeater_dao_c> repeaters_;
    std::shared_ptr<event_log_dao_t> event_log_;
    bool supervision_mode_ = false;
};
