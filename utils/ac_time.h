#pragma once
// Reads of the system clock (CLOCK_REALTIME) for time stamps and elapsed-time figures.
#include <cstdint>
#include <ctime>
#include <string>

// Date-times are seconds as unsigned 64-bit numbers everywhere, and the service must read the
// clock correctly after January 2038. A 32-bit time_t (glibc's default on 32-bit ARM before
// Debian 13) makes time() fail with -1 from then on, which every caller would turn into the
// largest date: 32-bit builds define _TIME_BITS=64 and _FILE_OFFSET_BITS=64 (glibc 2.34 on).
static_assert(sizeof(time_t) >= 8,
              "time_t must have 64 bits: build with -D_TIME_BITS=64 -D_FILE_OFFSET_BITS=64");

// Milliseconds since the epoch, minus `start_ms` when given. A failed clock read is logged
// ("clock_gettime failed: %s") and counts as time zero.
uint64_t ac_get_sys_time(uint64_t start_ms = 0);

// The same in nanoseconds.
uint64_t ac_get_sys_time_nsec(uint64_t start_ns = 0);

// Local time as ISO 8601 with a numeric zone ("%FT%T%z", e.g. 2026-11-04T09:05:03+0100).
// An unconvertible time is logged ("failed to get system time:%s") and yields "".
std::string ac_get_abs_time(time_t when);
std::string ac_get_abs_time();
