#include "tests/support/test_process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>
#include <thread>

process_c::process_c(const std::vector<std::string>& argv, const std::map<std::string, std::string>& env,
                     const std::string& stdout_path, const std::string& stderr_path) {
    pid_ = fork();
    if (pid_ < 0) throw std::runtime_error("fork failed");
    if (pid_ > 0) return;

    for (const auto& entry : env) {
        if (entry.second.empty() && entry.first.rfind("!", 0) == 0)
            unsetenv(entry.first.c_str() + 1);
        else
            setenv(entry.first.c_str(), entry.second.c_str(), 1);
    }
    auto redirect = [](const std::string& path, int fd) {
        if (path.empty()) return;
        int out = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
        if (out >= 0) dup2(out, fd);
    };
    redirect(stdout_path, STDOUT_FILENO);
    redirect(stderr_path, STDERR_FILENO);
    std::vector<char*> args;
    for (const auto& arg : argv)
        args.push_back(const_cast<char*>(arg.c_str()));
    args.push_back(nullptr);
    execvp(args[0], args.data());
    _exit(127);
}

process_c::~process_c() {
    if (pid_ > 0 && !reaped_) {
        kill(pid_, SIGKILL);
        waitpid(pid_, &status_, 0);
    }
}

bool process_c::running() {
    if (reaped_) return false;
    pid_t done = waitpid(pid_, &status_, WNOHANG);
    if (done == pid_) reaped_ = true;
    return !reaped_;
}

void process_c::signal(int number) {
    if (!reaped_) kill(pid_, number);
}

int process_c::wait_for_exit(std::chrono::milliseconds timeout) {
    if (!wait_until([this] { return !running(); }, timeout)) return -1;
    return status_;
}
