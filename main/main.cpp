// Entry of the event handling service. No command line: the environment is the configuration.
// The order of the steps is the service's contract with systemd and the controller's other
// services: READY=1 only once the database is open and every topic is registered. Any
// exception during start-up ends the process before READY=1, and systemd restarts it.
#include "dao/dao_registration.h"
#include "db/cas_broadcast_hook_helper.h"
#include "db/dao_registry.h"
#include "db/dao_sqlite3.h"
#include "db/transaction_dao.h"
#include "eventhandling/ehs_alarm_handler.h"
#include "eventhandling/ehs_battery_warning_handler.h"
#include "eventhandling/ehs_input_handler.h"
#include "eventhandling/ehs_lorivant_handler.h"
#include "eventhandling/ehs_simple_event_handler.h"
#include "eventhandling/ehs_simple_event_log_handler.h"
#include "main/ehs_config.h"
#include "main/ehs_status_thread.h"
#include "main/ehs_supervision_thread.h"
#include "main/ehs_watchdog.h"
#include "mqtt/ac_mqtt_client.h"
#include "utils/ac_log.h"

#include <systemd/sd-daemon.h>

#include <cstdlib>
#include <functional>
#include <memory>
#include <thread>

namespace {

// SQLite's page cache would otherwise fill to its default 2 MB with event-log pages that are
// written once and never read again. The bound is SQLite's whole heap: the schema and the
// DAOs' statements take about 0.2 to 0.4 MB, the rest holds the pages an event reads.
constexpr int64_t sqlite_heap_limit = 640 * 1024;

} // namespace

int main() {
    dao_sqlite3_c::limit_heap(sqlite_heap_limit);
    ehs_config_t config = ehs_read_db_config();

    ac_log_init(AC_LOG_ERROR);
    ac_log_add_file_sink(ehs_read_log_file().c_str(), 10000); // not fatal: stderr says why
    ac_log_uncategorised(AC_LOG_INFO, "EHS starting up...");

    dao_registry_c& registry = dao_registry_c::instance();
    cas_broadcast_hook_helper_c& broadcast = cas_broadcast_hook_helper_c::instance();
    broadcast.init();
    uint32_t acs_db = registry.add_database(
        "acs_db", config.db_path(), {"foreign_keys=ON", "journal_mode=MEMORY", "synchronous=OFF"},
        cas_broadcast_hook_helper_c::update_hook, cas_broadcast_hook_helper_c::rollback_hook,
        cas_broadcast_hook_helper_c::commit_hook, true);
    register_all_dao_types(registry, acs_db);
    std::shared_ptr<transaction_dao_t> transactions = registry.get_dao<transaction_dao_t>();

    auto mqtt_client = std::make_shared<ac_mqtt_client_c>("ehs_mqtt_client");
    mqtt_client->init("localhost", 1883, 60, 10);

    ehs_battery_warning_handler_c battery_warning_handler(mqtt_client, registry);
    ehs_lorivant_handler_c lorivant_handler(mqtt_client, registry);
    ehs_alarm_handler_c alarm_handler(mqtt_client, registry);
    ehs_input_handler_c input_handler(mqtt_client, registry);
    ehs_simple_event_handler_c simple_event_handler(mqtt_client, registry);
    ehs_simple_event_log_handler_c simple_event_log_handler(mqtt_client, registry);

    sd_notify(0, "READY=1");

    std::thread watchdog(ehs_watchdog_thread);
    std::thread supervision(ehs_supervision_thread, std::ref(mqtt_client));
    std::thread status(ehs_status_thread); // counters for `systemctl status`, never on the event path

    mqtt_client->loop_forever();
    // The loop only returns on an unrecoverable error: end abnormally so that systemd restarts
    // the service; it never exits 0.
    std::abort();
}
