#pragma once

// Body of the watchdog thread: "WATCHDOG=1" to the service manager every 1000 ms, for ever.
// It shares nothing with the other threads, so a handler busy in the database never starves it.
[[noreturn]] void ehs_watchdog_thread();
