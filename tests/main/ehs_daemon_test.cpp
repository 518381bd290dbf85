// Start-up of the real daemon: readiness and watchdog towards systemd, and the failures that
// must end the process before READY=1 so that systemd restarts it.
#include "tests/main/ehs_daemon_fixture.h"
#include "utils/ac_time.h"

#include <sys/wait.h>

namespace {

using namespace std::chrono_literals;

using ehs_daemon_test = ehs_daemon_test_c;

TEST_F(ehs_daemon_test, sends_ready_then_a_watchdog_every_second) {
    broker_ = std::make_unique<test_broker_c>(1883);
    start_daemon(dir_.file("ehs.log"));
    EXPECT_EQ(notify_.receive(10s), "READY=1") << read_file(dir_.file("stderr"));
    uint64_t first = 0;
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(notify_.receive(3s), "WATCHDOG=1") << "watchdog " << i;
        if (i == 0) first = ac_get_sys_time();
    }
    // Two more periods after the first: paced by the one-second sleep, not sent in a burst.
    EXPECT_GE(ac_get_sys_time(first), 1500u);
    EXPECT_TRUE(daemon_->running());
    std::string text = log();
    EXPECT_NE(text.find(" INFO EHS starting up...\n"), std::string::npos) << text;
}

TEST_F(ehs_daemon_test, unwritable_log_path_is_reported_on_stderr_and_the_service_still_starts) {
    broker_ = std::make_unique<test_broker_c>(1883);
    std::string log_file = dir_.file("missing/dir/ehs.log");
    start_daemon(log_file);
    EXPECT_EQ(notify_.receive(10s), "READY=1");
    EXPECT_TRUE(daemon_->running());
    EXPECT_EQ(read_file(dir_.file("stderr")), "failed to open " + log_file + ":No such file or directory");
}

TEST_F(ehs_daemon_test, a_missing_database_file_ends_the_process_before_ready_and_creates_nothing) {
    broker_ = std::make_unique<test_broker_c>(1883); // so that only the database can stop it
    start_daemon(dir_.file("ehs.log"), "/missing.db");
    int status = daemon_->wait_for_exit(10s);
    ASSERT_NE(status, -1) << "still running";
    EXPECT_FALSE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_EQ(notify_.receive(0ms), "");
    EXPECT_FALSE(file_exists(work_dir() + "/missing.db"));
    std::string err = read_file(dir_.file("stderr"));
    EXPECT_NE(err.find("db \"" + work_dir() + "/missing.db\" doesn't exist in filesystem"), std::string::npos)
        << err;
}

// Ten connection attempts one second apart: about ten seconds.
TEST_F(ehs_daemon_test, without_a_broker_it_exits_non_zero_before_ready) {
    start_daemon(dir_.file("ehs.log"));
    int status = daemon_->wait_for_exit(30s);
    ASSERT_NE(status, -1) << "still running";
    EXPECT_FALSE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_EQ(notify_.receive(0ms), "");
    EXPECT_NE(read_file(dir_.file("stderr")).find("failed to connect:Connection refused"), std::string::npos);
}

} // namespace
