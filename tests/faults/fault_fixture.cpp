#include "tests/faults/fault_fixture.h"

#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <thread>

long ehs_fault_test_c::count_from_env(const char* name, long quick) {
    const char* text = getenv(name);
    if (text == nullptr || *text == '\0') return quick;
    char* end = nullptr;
    long value = strtol(text, &end, 10);
    if (*end != '\0' || value <= 0) throw std::runtime_error(std::string(name) + " is not a positive count");
    return value;
}

void ehs_fault_test_c::report(const std::string& fault, const std::string& tried, long times,
                              const std::string& lost) {
    printf("reliability: | %s | %s | %ld | %s |\n", fault.c_str(), tried.c_str(), times, lost.c_str());
    fflush(stdout);
}

ehs_fault_test_c::~ehs_fault_test_c() {
    draining_ = false;
    if (notify_reader_.joinable()) notify_reader_.join();
}

void ehs_fault_test_c::start_serving() {
    ehs_daemon_test_c::start_serving(); // reads the READY=1 itself
    drain_notify();
}

void ehs_fault_test_c::drain_notify() {
    if (draining_.exchange(true)) return;
    notify_reader_ = std::thread([this] {
        while (draining_)
            if (notify_.receive(std::chrono::milliseconds(100)) == "READY=1") ++ready_count_;
    });
}

bool ehs_fault_test_c::wait_ready(std::chrono::seconds timeout) {
    drain_notify();
    if (!wait_until([&] { return ready_count_.load() > ready_seen_; }, timeout)) return false;
    ready_seen_ = ready_count_.load();
    return true;
}

long ehs_fault_test_c::daemon_rss_kib() {
    if (!daemon_ || !daemon_->running()) return 0;
    std::ifstream status("/proc/" + std::to_string(daemon_->pid()) + "/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind("VmRSS:", 0) == 0) return std::stol(line.substr(6));
    return 0;
}

long ehs_fault_test_c::event_log_rows(uint64_t message_id) {
    return std::stol(
        db_.rows("SELECT count(*) FROM event_log WHERE message_id=" + std::to_string(message_id)));
}

long ehs_fault_test_c::event_log_rows() {
    return std::stol(db_.rows("SELECT count(*) FROM event_log"));
}

std::string ehs_fault_test_c::integrity_check() {
    sqlite3* db = nullptr;
    std::string result;
    if (sqlite3_open_v2(db_.path().c_str(), &db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK) {
        result = std::string("cannot open: ") + sqlite3_errmsg(db);
        sqlite3_close(db);
        return result;
    }
    sqlite3_busy_timeout(db, 5000);
    auto collect = [](void* out, int, char** values, char**) {
        auto& text = *static_cast<std::string*>(out);
        text += std::string(text.empty() ? "" : "\n") + (values[0] ? values[0] : "NULL");
        return 0;
    };
    char* message = nullptr;
    if (sqlite3_exec(db, "PRAGMA integrity_check", collect, &result, &message) != SQLITE_OK)
        result += std::string("integrity_check failed: ") + (message ? message : "?");
    sqlite3_free(message);
    sqlite3_close(db);
    return result;
}

long ehs_fault_test_c::log_count(const std::string& text) {
    const std::string all = log();
    long count = 0;
    for (size_t at = all.find(text); at != std::string::npos; at = all.find(text, at + text.size()))
        ++count;
    return count;
}

long ehs_fault_test_c::event_log_broadcasts() {
    const std::string path = dir_.file("broadcast.txt");
    size_t size = read_file(path).size();
    for (;;) {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        size_t now = read_file(path).size();
        if (now == size) break;
        size = now;
    }
    long count = 0;
    for (const auto& change : changes())
        if (change.rfind("event_log\t", 0) == 0 && change.find("INSERT INTO") != std::string::npos) ++count;
    return count;
}
