#include "eventhandling/ehs_status_counters.h"

#include "utils/ac_log.h"

#include <cstdarg>
#include <cstdio>

namespace {

std::string counted(uint64_t count, const char* singular, const char* plural) {
    return std::to_string(count) + " " + (count == 1 ? singular : plural);
}

} // namespace

ehs_status_counters_c& ehs_status_counters_c::instance() {
    static ehs_status_counters_c counters;
    return counters;
}

void ehs_status_counters_c::count_database_error(const char* text) noexcept {
    char stamp[64];
    ac_log_time_stamp(stamp, sizeof stamp);
    std::lock_guard<std::mutex> lock(last_error_lock_);
    database_errors_.fetch_add(1, std::memory_order_relaxed);
    snprintf(last_error_, sizeof last_error_, "%s: %s", stamp, text);
}

std::string ehs_status_counters_c::status_text() const {
    std::string text =
        "handled " + counted(events_.load(std::memory_order_relaxed), "event", "events") + ", refused " +
        counted(refused_.load(std::memory_order_relaxed), "payload", "payloads") + ", published " +
        counted(reactions_.load(std::memory_order_relaxed), "reaction", "reactions") + ", ";
    std::lock_guard<std::mutex> lock(last_error_lock_);
    const uint64_t errors = database_errors_.load(std::memory_order_relaxed);
    text += counted(errors, "database error", "database errors");
    if (errors > 0) text += std::string(" (last at ") + last_error_ + ")";
    return text;
}

void ehs_log_database_error(const char* function, const char* format, ...) {
    char text[ac_log_message_size];
    va_list args;
    va_start(args, format);
    vsnprintf(text, sizeof text, format, args);
    va_end(args);
    ac_log(AC_LOG_ERROR, AC_LOG_CAT_EVENTHANDLING, function, "%s", text);
    ehs_status_counters_c::instance().count_database_error(text);
}
