#pragma once
// What the benchmark needs of the machine: a clock, private namespaces, child processes, the
// kernel's figures of a process (CPU time, memory), the service manager's notify socket and a
// drain for the change-broadcast queue. Failures throw std::runtime_error.
#include <atomic>
#include <cstdint>
#include <map>
#include <string>
#include <sys/types.h>
#include <thread>
#include <vector>

// CLOCK_MONOTONIC in nanoseconds.
int64_t bench_now_ns();
void bench_sleep_until_ns(int64_t deadline);
void bench_sleep_ms(int milliseconds);

// Moves the process into a network and IPC namespace of its own (through a user namespace when
// not root) with loopback up: the broker may take port 1883 and the queue is the benchmark's.
void bench_enter_private_namespaces();

// Waits until something accepts TCP connections on 127.0.0.1:port; throws after `timeout_ms`.
void bench_wait_for_port(int port, int timeout_ms);

std::string bench_read_file(const std::string& path);
void bench_write_file(const std::string& path, const std::string& text);

// A temporary directory, removed with everything in it on destruction.
class bench_temp_dir_c {
public:
    bench_temp_dir_c();
    ~bench_temp_dir_c();
    bench_temp_dir_c(const bench_temp_dir_c&) = delete;
    bench_temp_dir_c& operator=(const bench_temp_dir_c&) = delete;
    std::string file(const std::string& name) const { return path_ + "/" + name; }
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

// A child process with extra environment variables and its output in files ("" = inherited).
// The destructor kills it (SIGKILL) if it still runs.
class bench_process_c {
public:
    bench_process_c(const std::vector<std::string>& argv, const std::map<std::string, std::string>& env,
                    const std::string& output_path);
    ~bench_process_c();
    bench_process_c(const bench_process_c&) = delete;
    bench_process_c& operator=(const bench_process_c&) = delete;

    pid_t pid() const { return pid_; }
    bool running();
    // SIGTERM, then SIGKILL after `grace_ms`; waits for the exit.
    void stop(int grace_ms = 3000);

private:
    pid_t pid_ = -1;
    bool reaped_ = false;
};

// The kernel's figures of one process.
struct bench_memory_t {
    int64_t rss_kib = 0;           // resident pages, shared libraries included
    int64_t private_dirty_kib = 0; // the process's own written pages: heap, stacks, data
    int64_t peak_rss_kib = 0;      // VmHWM
};
bench_memory_t bench_read_memory(pid_t pid);
// user + system CPU seconds of all threads so far.
double bench_cpu_seconds(pid_t pid);
// CPU seconds of the calling thread so far.
double bench_thread_cpu_seconds();

// Largest private-dirty and resident sizes of a process, sampled every 100 ms while alive.
class bench_memory_sampler_c {
public:
    explicit bench_memory_sampler_c(pid_t pid);
    ~bench_memory_sampler_c();
    bench_memory_sampler_c(const bench_memory_sampler_c&) = delete;
    bench_memory_sampler_c& operator=(const bench_memory_sampler_c&) = delete;
    bench_memory_t peak() const;

private:
    pid_t pid_;
    std::atomic<bool> stop_{false};
    std::atomic<int64_t> peak_private_dirty_{0};
    std::atomic<int64_t> peak_rss_{0};
    std::thread thread_;
};

// The service manager's end of sd_notify: a datagram socket that records whether "READY=1"
// came and counts the watchdog pets. The daemon's commit hook pets the watchdog at every
// commit, so the socket is drained all the time, as systemd does.
class bench_notify_listener_c {
public:
    explicit bench_notify_listener_c(std::string path);
    ~bench_notify_listener_c();
    bench_notify_listener_c(const bench_notify_listener_c&) = delete;
    bench_notify_listener_c& operator=(const bench_notify_listener_c&) = delete;
    const std::string& path() const { return path_; }
    uint64_t ready_count() const { return ready_; }
    uint64_t datagrams() const { return datagrams_; }

private:
    std::string path_;
    int fd_ = -1;
    std::atomic<bool> stop_{false};
    std::atomic<uint64_t> ready_{0};
    std::atomic<uint64_t> datagrams_{0};
    std::thread thread_;
};

// Reads the change broadcasts off the System V queue as the controller's other processes do (a
// full queue would stop every commit of the service) and counts them, in total and those whose
// SQL starts with `prefix` after leading blanks.
class bench_queue_drain_c {
public:
    explicit bench_queue_drain_c(std::string prefix);
    ~bench_queue_drain_c();
    bench_queue_drain_c(const bench_queue_drain_c&) = delete;
    bench_queue_drain_c& operator=(const bench_queue_drain_c&) = delete;
    uint64_t received() const { return received_; }
    uint64_t matching() const { return matching_; }

private:
    int msqid_ = -1;
    std::string prefix_;
    std::atomic<uint64_t> received_{0};
    std::atomic<uint64_t> matching_{0};
    std::thread thread_;
};
