#include "main/ehs_watchdog.h"

#include "utils/ac_sleep.h"

#include <systemd/sd-daemon.h>

void ehs_watchdog_thread() {
    for (;;) {
        ac_sleep_ms(1000);
        sd_notify(0, "WATCHDOG=1");
    }
}
