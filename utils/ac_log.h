#pragma once
// Process-wide logging: 18 fixed categories with one threshold each, syslog-numbered levels and
// up to three sinks. Thresholds and sinks are set during start-up, before other threads run, and
// only read afterwards, so there is no lock. Logging never fails towards its caller.
#include <cstddef>

// A message is cut to this many bytes, terminating NUL included.
constexpr size_t ac_log_message_size = 2048;

enum ac_log_level_e {
    AC_LOG_EMERGENCY = 0,
    AC_LOG_ALERT = 1,
    AC_LOG_CRITICAL = 2,
    AC_LOG_ERROR = 3,
    AC_LOG_WARNING = 4,
    AC_LOG_NOTICE = 5,
    AC_LOG_INFO = 6,
    AC_LOG_DEBUG = 7,
};

// The numbers are the interface: other services of the controller log with the same table.
enum ac_log_category_e {
    AC_LOG_CAT_UTILS = 0,
    AC_LOG_CAT_PROTOCOL = 1,
    AC_LOG_CAT_TRANSPORT = 2,
    AC_LOG_CAT_CONTROLLER = 3,
    AC_LOG_CAT_MODEL = 4,
    AC_LOG_CAT_REST = 5,
    AC_LOG_CAT_MESSAGES = 6,
    AC_LOG_CAT_EVENTHANDLING = 7,
    AC_LOG_CAT_EVENTREACTIONS = 8,
    AC_LOG_CAT_IOSERVICE = 9,
    AC_LOG_CAT_ALARMSYSTEMSERVICE = 10,
    AC_LOG_CAT_CASCADINGSERVICE = 11,
    AC_LOG_CAT_BUTTONSERVICE = 12,
    AC_LOG_CAT_BACKUPSERVICE = 13,
    AC_LOG_CAT_SYSSTARTEVENTLOGGER = 14,
    AC_LOG_CAT_SETHOSTNAMESERVICE = 15,
    AC_LOG_CAT_NABTO = 16,
    AC_LOG_CAT_NIGHTLYJOBBER = 17,
    AC_LOG_CAT_COUNT = 18,
};

// Sets every category's threshold to `level`; a second call does nothing. Returns 0.
int ac_log_init(int level);

// Opens `path` for appending as a full-line sink. Returns 1 when all three slots are taken or
// the file cannot be opened (then "failed to open %s:%s" goes to stderr). `size` is kept, not
// enforced.
int ac_log_add_file_sink(const char* path, size_t size);

// Categorised entry: dropped before ac_log_init, for category >= 18, or when `level` is less
// severe than the category's threshold. `function` is a short literal such as "publish".
void ac_log(int level, int category, const char* function, const char* format, ...)
    __attribute__((format(printf, 4, 5)));

// Uncategorised entry for start-up and status lines: no threshold applies.
void ac_log_uncategorised(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));

// File-and-line form of the categorised entry; filtered the same way.
void ac_log_file_line(int level, int category, const char* file, int line, const char* format, ...)
    __attribute__((format(printf, 5, 6)));

// Closes every sink and forgets the thresholds, as before ac_log_init. The service never calls
// it (its sinks live as long as the process); tests and tools that need a fresh start do.
void ac_log_deinit();

// Now as the lines' time stamp ("11/04/2026 9:05:03"); empty when the clock cannot be read.
void ac_log_time_stamp(char* stamp, size_t size);

const char* ac_log_level_name(int level);
const char* ac_log_category_name(int category);
