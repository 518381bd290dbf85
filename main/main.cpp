// Entry of the event handling service. No command line: the environment is the configuration.
// The order of the steps is the service's contract with systemd and with the controller's other
// services (READY=1 only once every topic is registered).
#include "main/ehs_config.h"
#include "main/ehs_watchdog.h"
#include "mqtt/ac_mqtt_client.h"
#include "utils/ac_log.h"

#include <systemd/sd-daemon.h>

#include <memory>
#include <thread>

int main() {
    ehs_config_t config = ehs_read_db_config();

    ac_log_init(AC_LOG_ERROR);
    ac_log_add_file_sink(ehs_read_log_file().c_str(), 10000); // not fatal: stderr says why
    ac_log_uncategorised(AC_LOG_INFO, "EHS starting up...");

    auto mqtt_client = std::make_shared<ac_mqtt_client_c>("ehs_mqtt_client");
    mqtt_client->init("localhost", 1883, 60, 10); // throws: systemd restarts us

    sd_notify(0, "READY=1");

    std::thread watchdog(ehs_watchdog_thread);

    mqtt_client->loop_forever();
    // The loop only returns on an unrecoverable error. Leaving main with a joinable thread
    // calls std::terminate, so the process aborts and systemd restarts it; it never exits 0.
    return 0;
}
