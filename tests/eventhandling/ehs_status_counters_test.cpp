// The status line's exact text: numbers in singular and plural, the last database error with the
// time stamp of the log lines, cut to what a line of `systemctl status` holds.
#include "eventhandling/ehs_status_counters.h"

#include <gtest/gtest.h>

#include <ctime>
#include <regex>

namespace {

// The log lines' stamp: today, month first, then the time with an unpadded hour.
std::string today_stamp() {
    const time_t now = time(nullptr);
    struct tm today {};
    localtime_r(&now, &today);
    char date[16];
    strftime(date, sizeof date, "%m/%d/%Y", &today);
    return std::string(date) + R"( \d{1,2}:\d\d:\d\d)";
}

TEST(ehs_status_counters_test, counts_read_in_singular_and_plural_and_name_the_last_error) {
    ehs_status_counters_c counters;
    const struct {
        int times;
        std::string error, expected; // a regular expression; STAMP stands for the time stamp
    } cases[] = {
        {0, "", "handled 0 events, refused 0 payloads, published 0 reactions, 0 database errors"},
        {1, "first (a)",
         "handled 1 event, refused 1 payload, published 1 reaction, 1 database error \\(last at STAMP: first "
         "\\(a\\)\\)"},
        {1, "second",
         "handled 2 events, refused 2 payloads, published 2 reactions, 2 database errors \\(last at STAMP: "
         "second\\)"},
        // Cut at 199 characters, stamp included (18 or 19 of them, by the hour).
        {1, std::string(300, 'x'), "handled 3 events, .* 3 database errors \\(last at STAMP: x{179,180}\\)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.expected);
        // Either side of midnight: the day the error was counted is the day before or after it.
        const std::string before = today_stamp();
        for (int i = 0; i < c.times; ++i) {
            counters.count_event();
            counters.count_refused_payload();
            counters.count_reaction();
            counters.count_database_error(c.error.c_str());
        }
        const std::string text = counters.status_text();
        const std::string stamp = "(" + before + "|" + today_stamp() + ")";
        const std::string expected = std::regex_replace(c.expected, std::regex("STAMP"), stamp);
        EXPECT_TRUE(std::regex_match(text, std::regex(expected))) << text;
    }
}

} // namespace
