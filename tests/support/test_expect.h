#pragma once
// Small checks shared by every suite: what an action threw, and a log file as lines without
// their time stamp, so tests compare exact texts.
#include <string>
#include <vector>

// Lines of a log or of an output, compared whole.
using lines_t = std::vector<std::string>;

// The what() of the `Exception` that `action` threw; "" when it threw nothing.
template <typename Exception, typename Action>
std::string thrown(Action&& action) {
    try {
        action();
    } catch (const Exception& e) {
        return e.what();
    }
    return "";
}

// The lines of the log file without their time stamp ("11/04/2026 9:05:03 "): level,
// category, function, text. A missing file has no lines.
lines_t log_lines(const std::string& log_path);
// The same lines joined with "\n" after each.
std::string log_text(const std::string& log_path);
