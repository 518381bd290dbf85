#pragma once
// The service manager's side of the sd_notify protocol: a datagram socket whose path is handed
// to the daemon in NOTIFY_SOCKET.
#include <chrono>
#include <deque>
#include <string>

class notify_listener_c {
public:
    explicit notify_listener_c(std::string path);
    ~notify_listener_c();
    notify_listener_c(const notify_listener_c&) = delete;
    notify_listener_c& operator=(const notify_listener_c&) = delete;

    const std::string& path() const { return path_; }
    // The next datagram's text, or "" when none arrives in time. Status lines ("STATUS=...") and
    // the others (READY, WATCHDOG) are two streams: a test of one never sees the other.
    std::string receive(std::chrono::milliseconds timeout) { return next(false, timeout); }
    std::string receive_status(std::chrono::milliseconds timeout) { return next(true, timeout); }

private:
    std::string next(bool status, std::chrono::milliseconds timeout);

    std::string path_;
    int fd_ = -1;
    std::deque<std::string> pending_[2]; // read while waiting for the other stream: others, statuses
};
