#include "tests/support/test_notify.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>

notify_listener_c::notify_listener_c(std::string path) : path_(std::move(path)) {
    fd_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path_.size() >= sizeof address.sun_path) throw std::runtime_error("notify socket path too long");
    strncpy(address.sun_path, path_.c_str(), sizeof address.sun_path - 1);
    unlink(path_.c_str());
    if (bind(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
        throw std::runtime_error("cannot bind notify socket " + path_);
}

notify_listener_c::~notify_listener_c() {
    close(fd_);
    unlink(path_.c_str());
}

std::string notify_listener_c::receive(std::chrono::milliseconds timeout) {
    pollfd waiting{fd_, POLLIN, 0};
    if (poll(&waiting, 1, static_cast<int>(timeout.count())) <= 0) return "";
    char buffer[4096];
    ssize_t length = recv(fd_, buffer, sizeof buffer, 0);
    return length > 0 ? std::string(buffer, static_cast<size_t>(length)) : "";
}
