// gtest main for suites that need port 1883 or the system-wide message queue: the process moves
// into a network and IPC namespace of its own before any test runs, so it meets neither a broker
// already running on the machine nor another suite's queue. Children inherit the namespaces.
#include "tests/support/private_namespace.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

int main(int argc, char** argv) {
    if (!enter_private_namespaces()) {
        fprintf(stderr, "cannot create private network and IPC namespaces: %s\n", strerror(errno));
        return 1;
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
