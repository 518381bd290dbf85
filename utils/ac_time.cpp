#include "utils/ac_time.h"

#include "utils/ac_log.h"

#include <cerrno>
#include <cstring>

namespace {

struct timespec read_clock(const char* function) {
    struct timespec now {};
    if (clock_gettime(CLOCK_REALTIME, &now) != 0) {
        ac_log(AC_LOG_ERROR, AC_LOG_CAT_UTILS, function, "clock_gettime failed: %s", strerror(errno));
        now = {};
    }
    return now;
}

} // namespace

uint64_t ac_get_sys_time(uint64_t start_ms) {
    struct timespec now = read_clock("ac_get_sys_time");
    uint64_t ms = static_cast<uint64_t>(now.tv_sec) * 1000u + static_cast<uint64_t>(now.tv_nsec) / 1000000u;
    return ms - start_ms;
}

uint64_t ac_get_sys_time_nsec(uint64_t start_ns) {
    struct timespec now = read_clock("ac_get_sys_time_nsec");
    uint64_t ns = static_cast<uint64_t>(now.tv_sec) * 1000000000u + static_cast<uint64_t>(now.tv_nsec);
    return ns - start_ns;
}

std::string ac_get_abs_time(time_t when) {
    struct tm local {};
    if (localtime_r(&when, &local) == nullptr) {
        ac_log(AC_LOG_ERROR, AC_LOG_CAT_UTILS, "ac_get_abs_time", "failed to get system time:%s",
               strerror(errno));
        return "";
    }
    char text[64];
    size_t length = strftime(text, sizeof text, "%FT%T%z", &local);
    return std::string(text, length);
}

std::string ac_get_abs_time() {
    return ac_get_abs_time(time(nullptr));
}
