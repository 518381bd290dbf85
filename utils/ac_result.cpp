#include "utils/ac_result.h"

namespace {

const char* const result_names[] = {"success",
                                    "fail",
                                    "busy",
                                    "unknown attribute",
                                    "bad parameter",
                                    "no attribute",
                                    "invalid value",
                                    "no instance",
                                    "out of memory",
                                    "unsupported",
                                    "not present",
                                    "out of range",
                                    "already present",
                                    "not specified",
                                    "not implemented",
                                    "initialized",
                                    "invalid state",
                                    "disabled",
                                    "timeout",
                                    "continue",
                                    "connection closed",
                                    "invalid response",
                                    "insufficient buffer length",
                                    "response has less data than expected",
                                    "instance is empty",
                                    "checksum is invalid",
                                    "format is invalid",
                                    "ignore this result",
                                    "result is different",
                                    "access error",
                                    "success but break out",
                                    "format is unknown",
                                    "unhandled",
                                    "invalid packet length",
                                    "retry",
                                    "last instance"};

static_assert(sizeof result_names / sizeof result_names[0] == AC_RESULT_LAST_INSTANCE + 1,
              "one name per result code");

} // namespace

const char* ac_result_name(int code) {
    if (static_cast<unsigned>(code) > AC_RESULT_LAST_INSTANCE) return "unknown";
    return result_names[code];
}
