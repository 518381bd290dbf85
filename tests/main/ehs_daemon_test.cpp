// The real build/ehs binary against a real broker on localhost:1883, inside this suite's own
// network namespace, with a notify socket standing in for systemd.
#include "tests/support/test_broker.h"
#include "tests/support/test_files.h"
#include "tests/support/test_notify.h"
#include "tests/support/test_process.h"
#include "utils/ac_time.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

namespace {

using namespace std::chrono_literals;

class ehs_daemon_test : public testing::Test {
protected:
    std::unique_ptr<process_c> start_daemon(const std::string& log_file) {
        std::map<std::string, std::string> env = {{"NOTIFY_SOCKET", notify_.path()},
                                                  {"EHS_WORK_DIR", dir_.path()},
                                                  {"ACS_DB_FILE", "/acs.db"},
                                                  {"EHS_LOG_FILE", log_file}};
        return std::make_unique<process_c>(std::vector<std::string>{EHS_BINARY_DIR "/ehs"}, env,
                                           dir_.file("stdout"), dir_.file("stderr"));
    }

    temp_dir_c dir_;
    notify_listener_c notify_{dir_.file("notify.sock")};
};

TEST_F(ehs_daemon_test, sends_ready_then_a_watchdog_every_second) {
    test_broker_c broker(1883);
    auto daemon = start_daemon(dir_.file("ehs.log"));
    EXPECT_EQ(notify_.receive(10s), "READY=1");
    uint64_t first = 0;
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(notify_.receive(3s), "WATCHDOG=1") << "watchdog " << i;
        if (i == 0) first = ac_get_sys_time();
    }
    // Two more periods after the first: paced by the one-second sleep, not sent in a burst.
    EXPECT_GE(ac_get_sys_time(first), 1500u);
    EXPECT_TRUE(daemon->running());
    std::string log = read_file(dir_.file("ehs.log"));
    EXPECT_NE(log.find(" INFO EHS starting up...\n"), std::string::npos) << log;
}

TEST_F(ehs_daemon_test, unwritable_log_path_is_reported_on_stderr_and_the_service_still_starts) {
    test_broker_c broker(1883);
    std::string log_file = dir_.file("missing/dir/ehs.log");
    auto daemon = start_daemon(log_file);
    EXPECT_EQ(notify_.receive(10s), "READY=1");
    EXPECT_TRUE(daemon->running());
    EXPECT_EQ(read_file(dir_.file("stderr")), "failed to open " + log_file + ":No such file or directory");
}

TEST_F(ehs_daemon_test, without_a_broker_it_exits_non_zero_before_ready) {
    auto daemon = start_daemon(dir_.file("ehs.log"));
    int status = daemon->wait_for_exit(30s); // ten attempts, one second apart
    ASSERT_NE(status, -1) << "still running";
    EXPECT_FALSE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_EQ(notify_.receive(0ms), "");
    EXPECT_NE(read_file(dir_.file("stderr")).find("failed to connect:Connection refused"), std::string::npos);
}

} // namespace
