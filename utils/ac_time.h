#pragma once
// Reads of the system clock (CLOCK_REALTIME) for time stamps and elapsed-time figures.
#include <cstdint>
#include <ctime>
#include <string>

// Milliseconds since the epoch, minus `start_ms` when given. A failed clock read is logged
// ("clock_gettime failed: %s") and counts as time zero.
uint64_t ac_get_sys_time(uint64_t start_ms = 0);

// The same in nanoseconds.
uint64_t ac_get_sys_time_nsec(uint64_t start_ns = 0);

// Local time as ISO 8601 with a numeric zone ("%FT%T%z", e.g. 2026-11-04T09:05:03+0100).
// An unconvertible time is logged ("failed to get system time:%s") and yields "".
std::string ac_get_abs_time(time_t when);
std::string ac_get_abs_time();
