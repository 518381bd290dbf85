#include "utils/ac_log.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace {

constexpr int slot_count = 3;
constexpr size_t stamp_size = 64;
constexpr size_t head_size = stamp_size + 16; // a stamp, the longest level name and two blanks

enum sink_type_e { SINK_FREE = 0, SINK_FILE = 1, SINK_FULL = 2, SINK_SHORT = 3 };

struct sink_slot_t;
using sink_writer_t = void (*)(sink_slot_t& slot, int level, const char* format, va_list args);

struct sink_slot_t {
    int type = SINK_FREE;
    char* name = nullptr;
    FILE* stream = nullptr;
    size_t size = 0;
    sink_writer_t writer = nullptr;
};

const char* const level_names[] = {"EMERGENCY", "ALERT",  "CRITICAL", "ERROR",
                                   "WARNING",   "NOTICE", "INFO",     "DEBUG"};

const char* const category_names[AC_LOG_CAT_COUNT] = {"UTILS",
                                                      "PROTOCOL",
                                                      "TRANSPORT",
                                                      "CONTROLLER",
                                                      "MODEL",
                                                      "REST",
                                                      "MESSAGES",
                                                      "EVENTHANDLING",
                                                      "EVENTREACTIONS",
                                                      "IOSERVICE",
                                                      "ALARMSYSTEMSERVICE",
                                                      "CASCADINGSERVICE",
                                                      "BUTTONSERVICE",
                                                      "BACKUPSERVICE",
                                                      "SYSSTARTEVENTLOGGER",
                                                      "SETHOSTNAMESERVICE",
                                                      "NABTO",
                                                      "NIGHTLYJOBBER"};

bool initialised = false;
int thresholds[AC_LOG_CAT_COUNT] = {};
sink_slot_t slots[slot_count];

// One vfprintf per line keeps lines of different threads whole; the flush puts the line on
// disk before the caller goes on, so a crash right after an error still leaves the error.
void write_to_stream(sink_slot_t& slot, int, const char* format, va_list args) {
    vfprintf(slot.stream, format, args);
    fputc('\n', slot.stream);
    fflush(slot.stream);
}

void write_line(sink_slot_t& slot, int level, const char* format, ...) {
    va_list args;
    va_start(args, format);
    slot.writer(slot, level, format, args);
    va_end(args);
}

// The caller's message formatted once (cut at ac_log_message_size), then one line of it per sink:
// `write_sink` gets the sink, the line's head ("<time stamp> <level> " on full sinks, empty on
// short ones) and the message.
template <typename Write>
void write_entry(int level, const char* format, va_list args, Write write_sink) {
    char message[ac_log_message_size];
    vsnprintf(message, sizeof message, format, args);
    for (auto& slot : slots) {
        char head[head_size] = "";
        if (slot.type == SINK_FILE || slot.type == SINK_FULL) {
            char stamp[stamp_size];
            ac_log_time_stamp(stamp, sizeof stamp);
            snprintf(head, sizeof head, "%s %s ", stamp, ac_log_level_name(level));
        } else if (slot.type != SINK_SHORT) {
            continue;
        }
        write_sink(slot, head, message);
    }
}

bool passes_threshold(int level, int category) {
    if (!initialised) return false;
    if (category < 0 || category >= AC_LOG_CAT_COUNT) return false;
    return level <= thresholds[category];
}

} // namespace

// Month first with an unpadded hour (11/04/2026 9:05:03): the controller's other logs read so.
void ac_log_time_stamp(char* stamp, size_t size) {
    stamp[0] = '\0';
    time_t now = time(nullptr);
    struct tm local {};
    if (localtime_r(&now, &local) == nullptr) return;
    snprintf(stamp, size, "%02d/%02d/%d %d:%02d:%02d", local.tm_mon + 1, local.tm_mday, local.tm_year + 1900,
             local.tm_hour, local.tm_min, local.tm_sec);
}

const char* ac_log_level_name(int level) {
    if (level < AC_LOG_EMERGENCY || level > AC_LOG_DEBUG) return "";
    return level_names[level];
}

const char* ac_log_category_name(int category) {
    if (category < 0 || category >= AC_LOG_CAT_COUNT) return "";
    return category_names[category];
}

int ac_log_init(int level) {
    if (initialised) return 0;
    for (auto& slot : slots)
        slot = sink_slot_t{};
    for (auto& threshold : thresholds)
        threshold = level;
    initialised = true;
    return 0;
}

int ac_log_add_file_sink(const char* path, size_t size) {
    for (auto& slot : slots) {
        if (slot.type != SINK_FREE) continue;
        FILE* stream = fopen(path, "a");
        if (stream == nullptr) {
            fprintf(stderr, "failed to open %s:%s", path, strerror(errno));
            return 1;
        }
        slot.type = SINK_FILE;
        slot.name = strdup(path);
        slot.stream = stream;
        slot.size = size;
        slot.writer = write_to_stream;
        return 0;
    }
    return 1;
}

void ac_log_deinit() {
    for (auto& slot : slots) {
        if (slot.stream != nullptr) fclose(slot.stream);
        free(slot.name);
        slot = sink_slot_t{};
    }
    for (auto& threshold : thresholds)
        threshold = 0;
    initialised = false;
}

void ac_log(int level, int category, const char* function, const char* format, ...) {
    if (!passes_threshold(level, category)) return;
    va_list args;
    va_start(args, format);
    write_entry(level, format, args, [&](sink_slot_t& slot, const char* head, const char* message) {
        write_line(slot, level, "%s[%s] in %s(): %s", head, category_names[category], function, message);
    });
    va_end(args);
}

void ac_log_uncategorised(int level, const char* format, ...) {
    if (!initialised) return;
    va_list args;
    va_start(args, format);
    // A short sink has always shown an uncategorised message after one blank.
    write_entry(level, format, args, [&](sink_slot_t& slot, const char* head, const char* message) {
        write_line(slot, level, "%s%s%s", head, *head == '\0' ? " " : "", message);
    });
    va_end(args);
}

void ac_log_file_line(int level, int category, const char* file, int line, const char* format, ...) {
    if (!passes_threshold(level, category)) return;
    va_list args;
    va_start(args, format);
    write_entry(level, format, args, [&](sink_slot_t& slot, const char* head, const char* message) {
        write_line(slot, level, "%s[%s] %s:%d %s", head, category_names[category], file, line, message);
    });
    va_end(args);
}
