#include "utils/ac_sleep.h"
#include "utils/ac_time.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <pthread.h>
#include <thread>

TEST(ac_time_test, abs_time_is_iso_8601_with_numeric_zone) {
    setenv("TZ", "UTC", 1);
    tzset();
    EXPECT_EQ(ac_get_abs_time(1762247103), "2025-11-04T09:05:03+0000");
    std::string now = ac_get_abs_time();
    for (char& c : now)
        if (c >= '0' && c <= '9') c = '9';
    EXPECT_EQ(now, "9999-99-99T99:99:99+9999");
}

TEST(ac_time_test, sys_time_in_ms_and_ns_agree_and_subtract_their_start) {
    uint64_t ms = ac_get_sys_time();
    uint64_t ns = ac_get_sys_time_nsec();
    EXPECT_GT(ms, 1700000000000u);
    EXPECT_LE(ms, ns / 1000000u);
    EXPECT_LT(ac_get_sys_time(ms), 60000u);
}

namespace {
void ignore_signal(int) {}
} // namespace

// A signal that interrupts the sleep must not cut the interval short.
TEST(ac_time_test, sleep_resumes_after_a_signal) {
    struct sigaction action {};
    action.sa_handler = ignore_signal;
    sigaction(SIGUSR1, &action, nullptr);
    pthread_t sleeper = pthread_self();
    std::thread interrupter([sleeper] {
        for (int i = 0; i < 5; ++i) {
            ac_sleep_ms(20);
            pthread_kill(sleeper, SIGUSR1);
        }
    });
    uint64_t start = ac_get_sys_time_nsec();
    ac_sleep_ms(300);
    uint64_t slept_ms = ac_get_sys_time_nsec(start) / 1000000u;
    interrupter.join();
    EXPECT_GE(slept_ms, 300u);
}
