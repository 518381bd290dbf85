#pragma once
// How long a writer of the service waits for the shared file's write lock. Other processes of
// the controller write the same file: a writer waits at the start of its transaction, where
// retrying costs nothing, rather than failing halfway. Each attempt waits up to the connection's
// busy timeout (50 ms), so the defaults give a begin about 25 s and a commit about 2.5 s.
// Tests pass smaller counts to reach the "retries exhausted" paths quickly.
#include <cstdint>

struct ehs_busy_retries_t {
    uint32_t begin = 500; // attempts of "BEGIN IMMEDIATE" after the first
    uint32_t commit = 50; // attempts of "COMMIT" after the first
};
