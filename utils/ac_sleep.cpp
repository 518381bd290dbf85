#include "utils/ac_sleep.h"

#include <cerrno>
#include <ctime>

void ac_sleep_ms(uint64_t milliseconds) {
    struct timespec remaining {};
    remaining.tv_sec = static_cast<time_t>(milliseconds / 1000u);
    remaining.tv_nsec = static_cast<long>((milliseconds % 1000u) * 1000000u);
    while (nanosleep(&remaining, &remaining) != 0 && errno == EINTR) {
    }
}
