#pragma once
// The database work of one armed event, run in this process without MQTT, as the ceiling the
// service is measured against: the event-log row in its immediate transaction, then, in one read
// transaction, the events of the source, the default language, the associated source with its
// alarm-system details, the camera and the output reaction. Same statements (texts as the DAOs
// write them), same connection set-up (pragmas, busy timeouts, change-broadcast hooks) as the
// service.
//
// The change broadcast needs bench_queue_drain_c running and cas_broadcast_hook_helper_c
// initialised. Failures throw (db_exception_t, std::runtime_error).
#include <cstdint>
#include <string>

struct bench_rate_t {
    uint64_t events = 0;
    double seconds = 0;
    double cpu_seconds = 0; // of the measuring thread: what the work costs, however busy the machine
    double per_second() const { return seconds > 0 ? static_cast<double>(events) / seconds : 0; }
    double us_per_event() const { return events > 0 ? seconds * 1e6 / static_cast<double>(events) : 0; }
    double cpu_us_per_event() const {
        return events > 0 ? cpu_seconds * 1e6 / static_cast<double>(events) : 0;
    }
};

enum class bench_statements_e { PREPARED_PER_CALL, REUSED };

struct bench_ceiling_options_t {
    bench_statements_e statements = bench_statements_e::REUSED;
    bool broadcast = true; // the change-broadcast hooks installed, as in the service
    bool watchdog = true;  // NOTIFY_SOCKET kept: the commit hook pets the watchdog at every commit
    // The reads of the lookup inside one deferred transaction, as the service does them: one
    // lock of the file instead of one per statement. Off shows what that saves.
    bool lookup_in_one_read_transaction = true;
};

// Raw SQLite on a connection opened like the service's.
bench_rate_t bench_sql_ceiling(const std::string& db_path, const bench_ceiling_options_t& options,
                               double seconds);

// The service's own event path without MQTT: deserialize, event-log row, reaction lookup through
// its DAOs, reaction messages serialized (published to nowhere). `mismatch` lists statements that
// the DAOs ran but the ceiling does not (and the other way round): empty when both do the same.
bench_rate_t bench_service_path(const std::string& db_path, double seconds, std::string& mismatch);
