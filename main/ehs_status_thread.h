#pragma once
#include <cstdint>

// How often the status thread looks at the counters: a busy controller tells systemd at most
// this often, an idle one not at all.
constexpr uint64_t ehs_status_interval_ms = 3000;

// Body of the status thread: the counters' line to the service manager as "STATUS=...", at once
// and then every interval when it changed, so `systemctl status ehs` shows what the service did.
// Its own thread, so that the watchdog thread's beat never waits for it. Never returns.
[[noreturn]] void ehs_status_thread();
