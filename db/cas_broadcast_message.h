#pragma once
// One change broadcast on the System V message queue, as the controller's other processes read
// it: msgbuf layout, so the type comes first and the size handed to msgsnd/msgrcv excludes it.
// Shared by the sender in the database hooks and the reader tool, which links no SQLite.
#include <cstddef>

// Every process that calls ftok with this file and id meets on the same queue.
constexpr const char* cas_broadcast_queue_file = "/dev/random";
constexpr int cas_broadcast_queue_id = 82; // 'R'

struct cas_broadcast_message_t {
    long type = 1;
    char table[64]; // at most 63 characters, zero-terminated and zero-padded
    char sql[1024]; // expanded SQL, at most 1023 characters, zero-terminated
};

// The readers expect exactly this many bytes after the type, on 32- and 64-bit alike.
constexpr size_t cas_broadcast_payload_size = 1088;
static_assert(sizeof(cas_broadcast_message_t) - offsetof(cas_broadcast_message_t, table) ==
                  cas_broadcast_payload_size,
              "the queue payload after the type must be 1088 bytes");
