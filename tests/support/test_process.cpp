#include "tests/support/test_process.h"

#include <elf.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace {

// The ELF machine of an executable, 0 when it is no ELF file or cannot be read.
unsigned elf_machine(const std::string& path) {
    int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return 0;
    Elf32_Ehdr header{}; // e_machine sits at the same offset in 32- and 64-bit files
    bool read_all = read(fd, &header, sizeof header) == static_cast<ssize_t>(sizeof header);
    close(fd);
    if (!read_all || memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) return 0;
    return header.e_machine;
}

// argv[0] as execvp would find it.
std::string resolve(const std::string& program) {
    if (program.find('/') != std::string::npos) return program;
    const char* path = getenv("PATH");
    std::istringstream dirs(path != nullptr ? path : "/usr/bin:/bin");
    for (std::string dir; std::getline(dirs, dir, ':');) {
        std::string candidate = (dir.empty() ? "." : dir) + "/" + program;
        if (access(candidate.c_str(), X_OK) == 0) return candidate;
    }
    return program;
}

// Words of the emulator that runs the test itself: EHS_TEST_EMULATOR from the environment, else
// the one the build was configured with (a cross build's CROSSCOMPILING_EMULATOR), split at blanks.
std::vector<std::string> emulator_words() {
    const char* configured = getenv("EHS_TEST_EMULATOR");
#ifdef EHS_TEST_EMULATOR
    if (configured == nullptr) configured = EHS_TEST_EMULATOR;
#endif
    std::vector<std::string> words;
    std::istringstream text(configured != nullptr ? configured : "");
    for (std::string word; text >> word;)
        words.push_back(word);
    return words;
}

// A test that runs under an emulator (a cross build under qemu-user) starts the programs built
// with it (the daemon, the queue reader) under the same emulator; programs of the host, such as
// the broker, run as they are. The two are told apart by the ELF machine.
std::vector<std::string> with_emulator(const std::vector<std::string>& argv) {
    std::vector<std::string> emulator = emulator_words();
    if (emulator.empty() || argv.empty()) return argv;
    unsigned own = elf_machine("/proc/self/exe");
    if (own == 0 || elf_machine(resolve(argv[0])) != own) return argv;
    emulator.insert(emulator.end(), argv.begin(), argv.end());
    return emulator;
}

} // namespace

process_c::process_c(const std::vector<std::string>& program, const std::map<std::string, std::string>& env,
                     const std::string& stdout_path, const std::string& stderr_path) {
    const std::vector<std::string> argv = with_emulator(program);
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
