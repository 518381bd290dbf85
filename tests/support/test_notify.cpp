#include "tests/support/test_notify.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>

notify_listener_c::notify_listener_c(std::string path) : path_(std::move(path)) {
    fd_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{AF_UNIX, {}};
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
    char text[4096];
    ssize_t length =
        poll(&waiting, 1, static_cast<int>(timeout.count())) > 0 ? recv(fd_, text, sizeof text, 0) : 0;
    return std::string(text, static_cast<size_t>(std::max<ssize_t>(length, 0)));
}
