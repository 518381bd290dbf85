#pragma once
// Moves the calling process into a network and IPC namespace of its own, with the loopback
// interface up: a broker on port 1883 and the System V queue of the change broadcast then
// belong to this process and its children alone. Without root, a user namespace that maps the
// caller to root inside comes first. Call it before starting any thread (unshare of a user
// namespace refuses threaded callers). False, with errno set, when it cannot be done.
// Shared by the end-to-end test suites and the benchmark.
bool enter_private_namespaces();
