#pragma once
// Child processes for tests (the real daemon, brokers, helper tools) and polling for a condition.
#include <sys/types.h>

#include <chrono>
#include <ctime>
#include <map>
#include <string>
#include <vector>

class process_c {
public:
    // Starts argv[0] (searched in PATH) with the current environment plus `env`; a key written
    // "!NAME" with an empty value unsets NAME. stdout and stderr go to the given files when not
    // empty. In a cross build whose tests run under an emulator, a program named by its path (one
    // of ours) runs under that emulator too (EHS_TEST_EMULATOR overrides the configured one);
    // programs looked up in PATH (the broker, valgrind) are the host's.
    process_c(const std::vector<std::string>& argv, const std::map<std::string, std::string>& env = {},
              const std::string& stdout_path = "", const std::string& stderr_path = "");
    ~process_c(); // SIGKILL and reap if still running
    process_c(const process_c&) = delete;
    process_c& operator=(const process_c&) = delete;

    pid_t pid() const { return pid_; }
    bool running();
    void signal(int number);
    // Waits for the exit; returns the raw wait status, or -1 on timeout.
    int wait_for_exit(std::chrono::milliseconds timeout);

private:
    pid_t pid_ = -1;
    bool reaped_ = false;
    int status_ = 0;
};

// Polls `condition` every 10 ms until it holds or `timeout` passes; returns the last result.
template <typename F>
bool wait_until(F condition, std::chrono::milliseconds timeout) {
    for (auto deadline = std::chrono::steady_clock::now() + timeout; !condition();) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        struct timespec ten_ms = {0, 10 * 1000 * 1000};
        nanosleep(&ten_ms, nullptr);
    }
    return true;
}
