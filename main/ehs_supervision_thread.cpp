#include "main/ehs_supervision_thread.h"

#include "eventhandling/ehs_supervision_handler.h"
#include "utils/ac_sleep.h"

namespace {

constexpr uint64_t supervision_interval_ms = 600000;

} // namespace

void ehs_supervision_thread(std::shared_ptr<ac_mqtt_client_c>& client) {
    ehs_supervision_handler_c supervision(client, dao_registry_c::instance());
    supervision.check_database();
    for (;;) {
        ac_sleep_ms(supervision_interval_ms);
        supervision.check_supervision();
    }
}
