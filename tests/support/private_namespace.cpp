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
    bool written = fd >= 0 && write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    close(fd);
    return written;
}

bool unshare_network_and_ipc() {
    const std::string uid = std::to_string(getuid()), gid = std::to_string(getgid());
    if (unshare(CLONE_NEWNET | CLONE_NEWIPC) == 0) return true;
    if (unshare(CLONE_NEWUSER | CLONE_NEWNET | CLONE_NEWIPC) != 0) return false;
    write_text("/proc/self/setgroups", "deny");
    return write_text("/proc/self/uid_map", "0 " + uid + " 1") &&
           write_text("/proc/self/gid_map", "0 " + gid + " 1");
}

} // namespace

bool enter_private_namespaces() {
    if (!unshare_network_and_ipc()) return false;
    // A new network namespace has only "lo", and it is down.
    int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq request{};
    strncpy(request.ifr_name, "lo", IFNAMSIZ - 1);
    bool up = ioctl(fd, SIOCGIFFLAGS, &request) == 0;
    request.ifr_flags |= IFF_UP | IFF_RUNNING;
    up = up && ioctl(fd, SIOCSIFFLAGS, &request) == 0;
    close(fd);
    return up;
}
