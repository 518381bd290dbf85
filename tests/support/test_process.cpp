#include "tests/support/test_process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace {

// A test that runs under an emulator (a cross build under qemu-user) starts our programs under the
// same emulator, or the kernel could not run them.
std::vector<std::string> with_emulator(std::vector<std::string> argv) {
    const char* emulator = getenv("EHS_TEST_EMULATOR");
#ifdef EHS_TEST_EMULATOR
    if (emulator == nullptr) emulator = EHS_TEST_EMULATOR;
#endif
    if (emulator == nullptr || argv[0].find('/') == std::string::npos) return argv;
    std::istringstream words(emulator);
    argv.insert(argv.begin(), std::istream_iterator<std::string>(words), {});
    return argv;
}

} // namespace

process_c::process_c(const std::vector<std::string>& program, const std::map<std::string, std::string>& env,
                     const std::string& stdout_path, const std::string& stderr_path) {
    std::vector<std::string> argv = with_emulator(program);
    pid_ = fork();
    if (pid_ < 0) throw std::runtime_error("fork failed");
    if (pid_ > 0) return;
    for (const auto& [name, value] : env) {
        if (value.empty() && name[0] == '!')
            unsetenv(name.c_str() + 1);
        else
            setenv(name.c_str(), value.c_str(), 1);
    }
    for (const auto& [path, fd] : {std::make_pair(stdout_path, 1), std::make_pair(stderr_path, 2)}) {
        int out = path.empty() ? -1 : open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
        if (out >= 0) dup2(out, fd);
    }
    std::vector<char*> args;
    for (auto& arg : argv)
        args.push_back(arg.data());
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
    if (!reaped_ && waitpid(pid_, &status_, WNOHANG) == pid_) reaped_ = true;
    return !reaped_;
}

void process_c::signal(int number) {
    if (!reaped_) kill(pid_, number);
}

int process_c::wait_for_exit(std::chrono::milliseconds timeout) {
    return wait_until([this] { return !running(); }, timeout) ? status_ : -1;
}
