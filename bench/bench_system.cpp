#include "bench/bench_system.h"

#include "db/cas_broadcast_message.h"
#include "tests/support/private_namespace.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace {

std::runtime_error system_error(const std::string& what) {
    return std::runtime_error(what + ": " + strerror(errno));
}

// The value of "<key>:   <n> kB" in a /proc status-like text, 0 when absent.
int64_t kib_field(const std::string& text, const std::string& key) {
    size_t at = text.find("\n" + key + ":");
    if (at == std::string::npos) at = text.rfind(key + ":", 0) == 0 ? 0 : std::string::npos;
    if (at == std::string::npos) return 0;
    at = text.find(':', at) + 1;
    return std::strtoll(text.c_str() + at, nullptr, 10);
}

} // namespace

int64_t bench_now_ns() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000000000 + now.tv_nsec;
}

void bench_sleep_until_ns(int64_t deadline) {
    timespec at{static_cast<time_t>(deadline / 1000000000), static_cast<long>(deadline % 1000000000)};
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &at, nullptr) == EINTR) {
    }
}

void bench_sleep_ms(int milliseconds) {
    bench_sleep_until_ns(bench_now_ns() + static_cast<int64_t>(milliseconds) * 1000000);
}

void bench_enter_private_namespaces() {
    if (!enter_private_namespaces()) throw system_error("cannot create private network and IPC namespaces");
}

void bench_wait_for_port(int port, int timeout_ms) {
    const int64_t deadline = bench_now_ns() + static_cast<int64_t>(timeout_ms) * 1000000;
    for (;;) {
        int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        bool accepted = connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        close(fd);
        if (accepted) return;
        if (bench_now_ns() > deadline)
            throw std::runtime_error("nothing listens on port " + std::to_string(port));
        bench_sleep_ms(20);
    }
}

std::string bench_read_file(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

void bench_write_file(const std::string& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
    if (!out) throw std::runtime_error("cannot write " + path);
}

bench_temp_dir_c::bench_temp_dir_c() {
    std::string pattern = (std::filesystem::temp_directory_path() / "ehs-bench-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw system_error("mkdtemp");
    path_ = pattern;
}

bench_temp_dir_c::~bench_temp_dir_c() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

bench_process_c::bench_process_c(const std::vector<std::string>& argv,
                                 const std::map<std::string, std::string>& env,
                                 const std::string& output_path) {
    pid_ = fork();
    if (pid_ < 0) throw system_error("fork");
    if (pid_ > 0) return;
    for (const auto& entry : env)
        setenv(entry.first.c_str(), entry.second.c_str(), 1);
    if (!output_path.empty()) {
        int fd = open(output_path.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
        if (fd >= 0) {
            dup2(fd, 1);
            dup2(fd, 2);
            close(fd);
        }
    }
    std::vector<char*> args;
    for (const auto& arg : argv)
        args.push_back(const_cast<char*>(arg.c_str()));
    args.push_back(nullptr);
    execvp(args[0], args.data());
    fprintf(stderr, "cannot run %s: %s\n", args[0], strerror(errno));
    _exit(127);
}

bench_process_c::~bench_process_c() {
    if (reaped_) return;
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
}

bool bench_process_c::running() {
    if (reaped_) return false;
    int status = 0;
    if (waitpid(pid_, &status, WNOHANG) == pid_) reaped_ = true;
    return !reaped_;
}

void bench_process_c::stop(int grace_ms) {
    if (!running()) return;
    kill(pid_, SIGTERM);
    int64_t deadline = bench_now_ns() + static_cast<int64_t>(grace_ms) * 1000000;
    while (running() && bench_now_ns() < deadline)
        bench_sleep_ms(5);
    if (!running()) return;
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    reaped_ = true;
}

bench_memory_t bench_read_memory(pid_t pid) {
    const std::string dir = "/proc/" + std::to_string(pid) + "/";
    const std::string rollup = bench_read_file(dir + "smaps_rollup");
    const std::string status = bench_read_file(dir + "status");
    bench_memory_t memory;
    memory.rss_kib = kib_field(rollup, "Rss");
    memory.private_dirty_kib = kib_field(rollup, "Private_Dirty");
    memory.peak_rss_kib = kib_field(status, "VmHWM");
    return memory;
}

double bench_cpu_seconds(pid_t pid) {
    const std::string stat = bench_read_file("/proc/" + std::to_string(pid) + "/stat");
    // The command name may hold blanks and parentheses: count fields after its last ')'.
    size_t end = stat.rfind(')');
    if (end == std::string::npos) return 0;
    std::istringstream fields(stat.substr(end + 2));
    std::string field;
    unsigned long long utime = 0, stime = 0;
    for (int index = 3; fields >> field; ++index) {
        if (index == 14) utime = std::stoull(field);
        if (index == 15) {
            stime = std::stoull(field);
            break;
        }
    }
    return static_cast<double>(utime + stime) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

double bench_thread_cpu_seconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

bench_memory_sampler_c::bench_memory_sampler_c(pid_t pid) : pid_(pid) {
    thread_ = std::thread([this] {
        while (!stop_) {
            bench_memory_t now = bench_read_memory(pid_);
            if (now.private_dirty_kib > peak_private_dirty_) peak_private_dirty_ = now.private_dirty_kib;
            if (now.rss_kib > peak_rss_) peak_rss_ = now.rss_kib;
            bench_sleep_ms(100);
        }
    });
}

bench_memory_sampler_c::~bench_memory_sampler_c() {
    stop_ = true;
    thread_.join();
}

bench_memory_t bench_memory_sampler_c::peak() const {
    bench_memory_t peak;
    peak.private_dirty_kib = peak_private_dirty_;
    peak.rss_kib = peak_rss_;
    return peak;
}

bench_notify_listener_c::bench_notify_listener_c(std::string path) : path_(std::move(path)) {
    fd_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path_.size() >= sizeof address.sun_path) throw std::runtime_error("notify socket path too long");
    strncpy(address.sun_path, path_.c_str(), sizeof address.sun_path - 1);
    unlink(path_.c_str());
    if (fd_ < 0 || bind(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
        throw system_error("notify socket " + path_);
    timeval timeout{0, 100000};
    setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    thread_ = std::thread([this] {
        char text[256];
        while (!stop_) {
            ssize_t size = recv(fd_, text, sizeof text - 1, 0);
            if (size < 0) continue;
            text[size] = '\0';
            ++datagrams_;
            if (strstr(text, "READY=1") != nullptr) ++ready_;
        }
    });
}

bench_notify_listener_c::~bench_notify_listener_c() {
    stop_ = true;
    thread_.join();
    close(fd_);
    unlink(path_.c_str());
}

bench_queue_drain_c::bench_queue_drain_c(std::string prefix) : prefix_(std::move(prefix)) {
    key_t key = ftok(cas_broadcast_queue_file, cas_broadcast_queue_id);
    msqid_ = key == -1 ? -1 : msgget(key, IPC_CREAT | 0644);
    if (msqid_ == -1) throw system_error("change broadcast queue");
    thread_ = std::thread([this] {
        for (;;) {
            cas_broadcast_message_t message{};
            ssize_t size = msgrcv(msqid_, &message, cas_broadcast_payload_size, 0, MSG_NOERROR);
            if (size < 0) {
                if (errno == EINTR) continue;
                return; // the queue is gone
            }
            if (message.type != 1) return; // the destructor's stop message
            ++received_;
            const char* sql = message.sql;
            while (*sql == ' ' || *sql == '\n')
                ++sql;
            if (strncmp(sql, prefix_.c_str(), prefix_.size()) == 0) ++matching_;
        }
    });
}

bench_queue_drain_c::~bench_queue_drain_c() {
    cas_broadcast_message_t stop{};
    stop.type = 2;
    msgsnd(msqid_, &stop, cas_broadcast_payload_size, 0);
    thread_.join();
}
