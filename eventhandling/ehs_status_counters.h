#pragma once
// What the service has done since it started, summed up in the one line that systemd shows in
// `systemctl status ehs`. The MQTT thread and the supervision thread count, the status thread
// reads. The counts are relaxed atomics, so an event costs an increment and never a lock; only a
// database failure takes the lock that guards the text of the last one (the status thread holds
// it for a copy of that text).
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>

class ehs_status_counters_c {
public:
    // The service's counters; other objects count for themselves (tests).
    static ehs_status_counters_c& instance();

    void count_event() noexcept { events_.fetch_add(1, std::memory_order_relaxed); }
    void count_refused_payload() noexcept { refused_.fetch_add(1, std::memory_order_relaxed); }
    void count_reaction() noexcept { reactions_.fetch_add(1, std::memory_order_relaxed); }
    // One failed database access of a handler or the supervision, with the text it logged.
    void count_database_error(const char* text) noexcept;

    // "handled 12 events, refused 1 payload, published 20 reactions, 1 database error (last at
    // 11/24/2026 9:05:03: failed to write event log [message_id=40] : "COMMIT" failed)"
    std::string status_text() const;

private:
    static constexpr size_t last_error_size = 200; // enough for a line of `systemctl status`

    std::atomic<uint64_t> events_{0}, refused_{0}, reactions_{0}, database_errors_{0};
    mutable std::mutex last_error_lock_;
    char last_error_[last_error_size] = "";
};

// Logs one ERROR line of the event handling about a failed database access and counts it, so the
// status line names the same text as the log.
void ehs_log_database_error(const char* function, const char* format, ...)
    __attribute__((format(printf, 2, 3)));
