// gtest main for suites that need port 1883 or the system-wide message queue: the process
// moves into a network and IPC namespace of its own before any test runs, so it can neither
// meet a broker already running on the machine nor another suite's queue. Children (broker,
// daemon) inherit the namespaces.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>

namespace {

bool write_text(const char* path, const std::string& text) {
    int fd = open(path, O_WRONLY);
    if (fd < 0) return false;
    bool written = write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    close(fd);
    return written;
}

// Without root, a user namespace maps us to root inside so that the other two can be made.
bool enter_private_namespaces() {
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
    int fd = socket(AF_INET, SOCK_DGRAM, 0);
    ifreq request{};
    strncpy(request.ifr_name, "lo", IFNAMSIZ - 1);
    bool up = ioctl(fd, SIOCGIFFLAGS, &request) == 0;
    request.ifr_flags |= IFF_UP | IFF_RUNNING;
    up = up && ioctl(fd, SIOCSIFFLAGS, &request) == 0;
    close(fd);
    return up;
}

} // namespace

int main(int argc, char** argv) {
    if (!enter_private_namespaces() || !bring_loopback_up()) {
        fprintf(stderr, "cannot create private network and IPC namespaces: %s\n", strerror(errno));
        return 1;
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
