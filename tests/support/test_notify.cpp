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

std::string notify_listener_c::next(bool status, std::chrono::milliseconds timeout) {
    const auto end = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        auto& wanted = pending_[status];
        if (!wanted.empty()) {
            std::string text = std::move(wanted.front());
            wanted.pop_front();
            return text;
        }
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        pollfd waiting{fd_, POLLIN, 0};
        if (poll(&waiting, 1, static_cast<int>(std::max<int64_t>(left.count(), 0))) <= 0) return "";
        char text[4096];
        const ssize_t length = recv(fd_, text, sizeof text, 0);
        if (length < 0) return "";
        std::string datagram(text, static_cast<size_t>(length));
        pending_[datagram.rfind("STATUS=", 0) == 0].push_back(std::move(datagram));
    }
}
