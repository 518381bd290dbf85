// Exact texts: the controller's other services read the same logs and match the same texts.
#include "utils/ac_log.h"
#include "utils/ac_result.h"
#include "utils/ac_sleep.h"
#include "utils/ac_time.h"
#include "utils/ac_url.h"
#include "utils/ac_version.h"

#include "tests/support/test_expect.h"
#include "tests/support/test_files.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <sstream>

namespace {

TEST(ac_log_test, sinks_thresholds_layouts_and_the_2047_character_cut) {
    temp_dir_c dir;
    auto sink = [&](int i) { return ac_log_add_file_sink(dir.file("s" + std::to_string(i)).c_str(), 0); };
    auto text = [&](int i) { return log_text(dir.file("s" + std::to_string(i))); };
    ac_log_init(AC_LOG_DEBUG);
    ac_log_deinit(); // forgets the threshold: the next init sets one again
    EXPECT_EQ(ac_log_init(AC_LOG_WARNING), 0);
    EXPECT_EQ(ac_log_init(AC_LOG_DEBUG), 0); // the first threshold stays
    testing::internal::CaptureStderr();
    EXPECT_EQ(ac_log_add_file_sink(dir.file("no/dir").c_str(), 0), 1); // takes no slot
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "failed to open " + dir.file("no/dir") + ":No such file or directory");
    for (int i = 1; i <= 4; ++i) // three slots: the fourth is refused
        EXPECT_EQ(sink(i), i / 4) << i;
    ac_log(AC_LOG_WARNING, AC_LOG_CAT_EVENTHANDLING, "write_event_log", "failed %d", 7);
    std::istringstream names("UTILS PROTOCOL TRANSPORT CONTROLLER MODEL REST MESSAGES EVENTHANDLING "
                             "EVENTREACTIONS IOSERVICE ALARMSYSTEMSERVICE CASCADINGSERVICE BUTTONSERVICE "
                             "BACKUPSERVICE SYSSTARTEVENTLOGGER SETHOSTNAMESERVICE NABTO NIGHTLYJOBBER");
    std::istringstream levels("EMERGENCY ALERT CRITICAL ERROR WARNING NOTICE INFO DEBUG");
    std::string expected = "WARNING [EVENTHANDLING] in write_event_log(): failed 7\n", name;
    for (int category = -1; category <= AC_LOG_CAT_COUNT; ++category) // -1 and 18 are dropped
        ac_log(AC_LOG_WARNING, category, "f", "c%d", category);
    for (int category = 0; names >> name; ++category) {
        EXPECT_EQ(ac_log_category_name(category), name);
        expected += "WARNING [" + name + "] in f(): c" + std::to_string(category) + "\n";
    }
    ac_log(AC_LOG_NOTICE, AC_LOG_CAT_UTILS, "f", "below the threshold");
    for (int level = 0; levels >> name; ++level) { // no threshold without a category
        ac_log_uncategorised(level, "u%d", level);
        expected += name + " u" + std::to_string(level) + "\n";
    }
    ac_log_file_line(AC_LOG_ERROR, AC_LOG_CAT_MODEL, "dao.cpp", 42, "x=%s", "y");
    ac_log(AC_LOG_ERROR, AC_LOG_CAT_MODEL, "g", "%s", std::string(5000, 'x').c_str());
    EXPECT_EQ(ac_get_abs_time(static_cast<time_t>(1) << 62), ""); // no year fits
    expected += "ERROR [MODEL] dao.cpp:42 x=y\nERROR [MODEL] in g(): " + std::string(2047, 'x') +
                "\nERROR [UTILS] in ac_get_abs_time(): failed to get system time:Value too large for "
                "defined data type\n";
    EXPECT_EQ(text(1) + text(2) + text(3), expected + expected + expected);
    ac_log_deinit();
    EXPECT_EQ(std::string(ac_log_level_name(-1)) + ac_log_level_name(8) + ac_log_category_name(-1) +
                  ac_log_category_name(AC_LOG_CAT_COUNT),
              "");
}

TEST(ac_time_test, clock_local_time_and_a_sleep_that_signals_do_not_cut_short) {
    const uint64_t before = time(nullptr) * 1000ull, ms = ac_get_sys_time(), ns = ac_get_sys_time_nsec();
    EXPECT_TRUE(ms >= before && ms < before + 2000 && ns / 1000000 - ms < 1000) << ms << " " << ns;
    EXPECT_LT(ac_get_sys_time(ms) + ac_get_sys_time_nsec(ns) / 1000000, 60000u);
    setenv("TZ", "UTC", 1);
    EXPECT_EQ(ac_get_abs_time(1762247103), "2025-11-04T09:05:03+0000");
    signal(SIGALRM, [](int) {});
    ualarm(200000, 0); // interrupts the sleep once
    ac_sleep_ms(1005); // seconds and milliseconds both count
    EXPECT_GE(ac_get_sys_time_nsec(ns) / 1000000, 1005u);
}

TEST(ac_text_test, result_names_url_unescaping_and_version_parsers) {
    std::string names;
    for (int code = -1; code <= AC_RESULT_LAST_INSTANCE + 1; ++code)
        names += std::string(ac_result_name(code)) + ",";
    EXPECT_EQ(names, "unknown,success,fail,busy,unknown attribute,bad parameter,no attribute,invalid value,"
                     "no instance,out of memory,unsupported,not present,out of range,already present,"
                     "not specified,not implemented,initialized,invalid state,disabled,timeout,continue,"
                     "connection closed,invalid response,insufficient buffer length,"
                     "response has less data than expected,instance is empty,checksum is invalid,"
                     "format is invalid,ignore this result,result is different,access error,"
                     "success but break out,format is unknown,unhandled,invalid packet length,retry,"
                     "last instance,unknown,");
    // Decoded, then each quote doubled once, so the text fits between quotes in SQL.
    EXPECT_EQ(ac_url_unescape("it%27s a%20b%2Fc '' %27%27x' 100% n%3D%27x%27%3B"),
              "it''s a b/c '''' ''''x'' 100% n=''x'';");

    auto version_or_error = [](const std::string& parser, const char* text) {
        uint8_t a = 9, b = 9, c = 9;
        uint16_t x = 9, y = 9;
        std::string error = thrown<std::logic_error>([&] {
            if (parser == "sw") ac_parse_sw_version(text, a, b, c);
            if (parser == "hw") ac_parse_hw_version(text, a, b);
            if (parser == "fw") ac_parse_fw_version(text, x, y);
        });
        if (!error.empty()) return error;
        return parser == "fw" ? std::to_string(x) + "." + std::to_string(y)
                              : std::to_string(a) + "." + std::to_string(b) + "." + std::to_string(c);
    };
    // One above the type's range passes and is stored as 0.
    EXPECT_EQ(
        version_or_error("sw", "256.0.255") + "|" + version_or_error("hw", "3.256") + "|" +
            version_or_error("fw", "65536.2.x") + "|" + version_or_error("sw", nullptr) + "|" +
            version_or_error("hw", nullptr) + "|" + version_or_error("fw", nullptr) + "|" +
            version_or_error("sw", "1.2") + "|" + version_or_error("sw", "1.2.3.4") + "|" +
            version_or_error("hw", "1.2.3") + "|" + version_or_error("fw", "7"),
        "0.0.255|3.0.9|0.2|sw version string is empty|hw version string is empty|fw version string is empty|"
        "sw version must consist of three decimal values|sw version must consist of three decimal "
        "values|hw version must consist of two decimal values|fw version must consist of two decimal "
        "values, but is: 7");
    // '%' becomes an empty component, not a number and one above the limit. Only fw major says "value".
    const struct {
        const char *parser, *text, *component, *word;
    } cases[] = {{"sw", "%.2.3", "major", "valus"},    {"sw", "1.%.3", "minor", "valus"},
                 {"sw", "1.2.%", "revision", "valus"}, {"hw", "%.2", "major", "valus"},
                 {"hw", "1.%", "minor", "valus"},      {"fw", "%.2", "major", "value"},
                 {"fw", "1.%", "minor", "valus"}};
    for (const auto& c : cases) {
        const std::string text = c.text, prefix = std::string(c.parser) + " version " + c.component + " ";
        auto with = [&](const char* value) { return std::string(text).replace(text.find('%'), 1, value); };
        EXPECT_EQ(version_or_error(c.parser, with("").c_str()), prefix + "value is empty");
        EXPECT_EQ(version_or_error(c.parser, with("x").c_str()), prefix + c.word + " is invalid");
        EXPECT_EQ(version_or_error(c.parser, with(c.parser[0] == 'f' ? "65537" : "257").c_str()),
                  prefix + c.word + " is too large");
    }
    uint64_t value = 0; // strtoull's leading blanks and sign pass; base 99 is EINVAL
    const int codes[] = {ac_string_to_uint64(nullptr, 10, &value), ac_string_to_uint64("1", 10, nullptr),
                         ac_string_to_uint64("12a", 10, &value), ac_string_to_uint64("1", 99, &value),
                         ac_string_to_uint64(" +ff", 16, &value)};
    EXPECT_EQ(std::vector<int>(codes, codes + 5), (std::vector<int>{4, 4, 1, 1, 0}));
    EXPECT_EQ(value, 255u);
}

} // namespace
