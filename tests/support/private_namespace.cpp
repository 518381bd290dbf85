#include "tests/support/private_namespace.h"

#include <fcntl.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <string>

namespace {

bool write_text(const char* path, const std::string& text) {
    int fd = open(path, O_WRONLY | O_CLOEXEC);
    if (fd < 0) return false;
    bool written = write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    close(fd);
    return written;
}

bool unshare_network_and_ipc() {
    if (unshare(CLONE_NEWNET | CLONE_NEWIPC) == 0) return true;
    uid_t uid = getuid();
    gid_t gid = getgid();
    if (unshare(CLONE_NEWUSER | CLONE_NEWNET | CLONE_NEWIPC) != 0) return false;
    write_text("/proc/self/setgroups", "deny");
    return write_text("/proc/self/uid_map", "0 " + std::to_string(uid) + " 1") &&
           write_text("/proc/self/gid_map", "0 " + std::to_string(gid) + " 1");
}

// A new network namespace has only "lo", and it is down.
bool bring_loopback_up() {
    int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return false;
    ifreq request{};
    strncpy(request.ifr_name, "lo", IFNAMSIZ - 1);
    bool up = ioctl(fd, SIOCGIFFLAGS, &request) == 0;
    request.ifr_flags |= IFF_UP | IFF_RUNNING;
    up = up && ioctl(fd, SIOCSIFFLAGS, &request) == 0;
    close(fd);
    return up;
}

} // namespace

bool enter_private_namespaces() {
    return unshare_network_and_ipc() && bring_loopback_up();
}
