#include "main/ehs_status_thread.h"

#include "eventhandling/ehs_status_counters.h"
#include "utils/ac_sleep.h"

#include <systemd/sd-daemon.h>

#include <string>

void ehs_status_thread() {
    std::string sent;
    for (;;) {
        std::string status = "STATUS=" + ehs_status_counters_c::instance().status_text();
        if (status != sent) {
            sd_notify(0, status.c_str());
            sent = std::move(status);
        }
        ac_sleep_ms(ehs_status_interval_ms);
    }
}
