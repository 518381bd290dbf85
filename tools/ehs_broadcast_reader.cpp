// Reads the database change broadcasts off the System V queue and prints one line per message,
// "<table>\t<sql>", flushed at once so that a pipe sees each change as it comes. Line breaks,
// tabs and backslashes inside the SQL are printed as \n, \t and \\, so every change stays one
// line (the event-log insert is written over several lines).
//
// Once the queue is full (about 15 messages with the default limits) the service waits up to
// 500 ms for room after a commit and then drops its announcements until someone reads. On the
// controller that reader is another process; anything that runs the service without it (a bench
// set-up, an end-to-end test) must run this tool to drain the queue.
//
// Usage: ehs_broadcast_reader [-n COUNT] [-t SECONDS] [-q]
//   -n COUNT    exit after COUNT messages
//   -t SECONDS  exit once no message arrived for that long (fractions allowed)
//   -q          print nothing per message, only the number read when -n or -t ends the run
// Without -n and -t it reads until killed. Exit status 0, 1 when the queue fails, 2 on bad usage.
#include "db/cas_broadcast_message.h"

#include <sys/ipc.h>
#include <sys/msg.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace {

struct options_t {
    uint64_t count = 0;      // 0: no limit
    double idle_seconds = 0; // 0: wait for ever
    bool quiet = false;
};

// The text up to its NUL or `size`, with the characters that would break the line escaped.
void print_escaped(const char* text, size_t size) {
    for (size_t i = 0; i < size && text[i] != '\0'; ++i) {
        switch (text[i]) {
        case '\n':
            fputs("\\n", stdout);
            break;
        case '\t':
            fputs("\\t", stdout);
            break;
        case '\r':
            fputs("\\r", stdout);
            break;
        case '\\':
            fputs("\\\\", stdout);
            break;
        default:
            putchar(text[i]);
        }
    }
}

int usage() {
    fprintf(stderr, "usage: ehs_broadcast_reader [-n COUNT] [-t SECONDS] [-q]\n");
    return 2;
}

bool parse(int argc, char** argv, options_t& options) {
    int option;
    while ((option = getopt(argc, argv, "n:t:q")) != -1) {
        char* end = nullptr;
        switch (option) {
        case 'n':
            // The same limits on 32- and 64-bit: strtol would stop at 2^31 - 1 on the controller.
            errno = 0;
            options.count = strtoull(optarg, &end, 10);
            if (*optarg < '0' || *optarg > '9' || *end != '\0' || errno == ERANGE || options.count == 0)
                return false;
            break;
        case 't':
            options.idle_seconds = strtod(optarg, &end);
            if (*optarg == '\0' || *end != '\0' || !(options.idle_seconds > 0)) return false;
            break;
        case 'q':
            options.quiet = true;
            break;
        default:
            return false;
        }
    }
    return optind == argc;
}

// Blocks for the next message, or polls until `idle` has passed without one. Returns 1 for a
// message, 0 when idle ran out, -1 when the queue failed.
int receive(int msqid, cas_broadcast_message_t& message, const options_t& options) {
    using clock = std::chrono::steady_clock;
    const bool polling = options.idle_seconds > 0;
    const auto deadline = clock::now() + std::chrono::duration_cast<clock::duration>(
                                             std::chrono::duration<double>(options.idle_seconds));
    for (;;) {
        // MSG_NOERROR: a longer message from a foreign sender is cut, not left blocking the queue.
        ssize_t size =
            msgrcv(msqid, &message, cas_broadcast_payload_size, 0, MSG_NOERROR | (polling ? IPC_NOWAIT : 0));
        if (size >= 0) return 1;
        if (errno == EINTR) continue;
        if (!polling || errno != ENOMSG) return -1;
        if (clock::now() >= deadline) return 0;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

} // namespace

int main(int argc, char** argv) {
    options_t options;
    if (!parse(argc, argv, options)) return usage();

    key_t key = ftok(cas_broadcast_queue_file, cas_broadcast_queue_id);
    int msqid = key == -1 ? -1 : msgget(key, IPC_CREAT | 0644);
    if (msqid == -1) {
        fprintf(stderr, "cannot open the broadcast queue: %s\n", strerror(errno));
        return 1;
    }

    uint64_t received = 0;
    while (options.count == 0 || received < options.count) {
        cas_broadcast_message_t message{};
        int result = receive(msqid, message, options);
        if (result == 0) break;
        if (result < 0) {
            fprintf(stderr, "failed to msgrcv: %s\n", strerror(errno));
            return 1;
        }
        ++received;
        if (options.quiet) continue;
        // Bounded: a foreign sender need not terminate its texts.
        print_escaped(message.table, sizeof message.table);
        putchar('\t');
        print_escaped(message.sql, sizeof message.sql);
        putchar('\n');
        fflush(stdout);
    }
    if (options.quiet) printf("%llu\n", static_cast<unsigned long long>(received));
    return 0;
}
