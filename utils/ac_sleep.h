#pragma once
#include <cstdint>

// Sleeps the full interval: a signal that interrupts nanosleep (EINTR) only resumes the wait
// with the time that remains, so watchdog and retry periods are never cut short.
void ac_sleep_ms(uint64_t milliseconds);
