#include "utils/ac_log.h"

#include "tests/support/test_files.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

class ac_log_test : public testing::Test {
protected:
    void TearDown() override { ac_log_deinit(); }

    std::string start_logging(int threshold) {
        ac_log_init(threshold);
        std::string path = dir_.file("ehs.log");
        EXPECT_EQ(ac_log_add_file_sink(path.c_str(), 10000), 0);
        return path;
    }

    temp_dir_c dir_;
};

// Every digit as '9', so a time stamp can be compared with its layout.
std::string shape(std::string text) {
    for (char& c : text)
        if (c >= '0' && c <= '9') c = '9';
    return text;
}

TEST_F(ac_log_test, categorised_line_has_stamp_level_category_and_function) {
    std::string path = start_logging(AC_LOG_ERROR);
    ac_log(AC_LOG_ERROR, AC_LOG_CAT_EVENTHANDLING, "write_event_log_with_transaction", "failed %d", 7);
    std::string text = read_file(path);
    // Month first with an unpadded hour; everything after the stamp is fixed text.
    size_t end = text.find(" ERROR ");
    ASSERT_NE(end, std::string::npos) << text;
    std::string stamp = shape(text.substr(0, end));
    EXPECT_TRUE(stamp == "99/99/9999 9:99:99" || stamp == "99/99/9999 99:99:99") << text;
    EXPECT_EQ(text.substr(end), " ERROR [EVENTHANDLING] in write_event_log_with_transaction(): failed 7\n");
}

TEST_F(ac_log_test, threshold_drops_less_severe_categorised_lines_but_not_uncategorised_ones) {
    std::string path = start_logging(AC_LOG_ERROR);
    ac_log(AC_LOG_WARNING, AC_LOG_CAT_UTILS, "f", "warning dropped");
    ac_log(AC_LOG_CRITICAL, AC_LOG_CAT_UTILS, "f", "critical kept");
    ac_log_uncategorised(AC_LOG_DEBUG, "debug kept");
    std::string text = read_file(path);
    EXPECT_EQ(text.find("warning dropped"), std::string::npos);
    EXPECT_NE(text.find(" CRITICAL [UTILS] in f(): critical kept\n"), std::string::npos);
    EXPECT_NE(text.find(" DEBUG debug kept\n"), std::string::npos);
}

TEST_F(ac_log_test, every_category_name_and_bounds) {
    std::string path = start_logging(AC_LOG_DEBUG);
    std::istringstream names("UTILS PROTOCOL TRANSPORT CONTROLLER MODEL REST MESSAGES EVENTHANDLING "
                             "EVENTREACTIONS IOSERVICE ALARMSYSTEMSERVICE CASCADINGSERVICE BUTTONSERVICE "
                             "BACKUPSERVICE SYSSTARTEVENTLOGGER SETHOSTNAMESERVICE NABTO NIGHTLYJOBBER");
    for (int category = 0; category < AC_LOG_CAT_COUNT; ++category)
        ac_log(AC_LOG_INFO, category, "f", "c%d", category);
    ac_log(AC_LOG_ERROR, 18, "f", "category 18 dropped");
    ac_log(AC_LOG_ERROR, -1, "f", "negative category dropped");
    std::string text = read_file(path);
    int category = 0;
    for (std::string name; names >> name; ++category) {
        std::string expected = " INFO [" + name + "] in f(): c" + std::to_string(category) + "\n";
        EXPECT_NE(text.find(expected), std::string::npos) << expected;
    }
    EXPECT_EQ(category, AC_LOG_CAT_COUNT);
    EXPECT_EQ(text.find("dropped"), std::string::npos);
}

TEST_F(ac_log_test, long_message_is_cut_at_2047_characters_and_keeps_its_newline) {
    std::string path = start_logging(AC_LOG_ERROR);
    std::string long_text(5000, 'x');
    ac_log_uncategorised(AC_LOG_ERROR, "%s", long_text.c_str());
    ac_log(AC_LOG_ERROR, AC_LOG_CAT_MODEL, "g", "%s", long_text.c_str());
    std::string text = read_file(path);
    std::string first = text.substr(0, text.find('\n') + 1);
    std::string second = text.substr(first.size());
    EXPECT_EQ(first.substr(first.find(" ERROR ") + 7), std::string(2047, 'x') + "\n");
    EXPECT_EQ(second.substr(second.find(" in g(): ") + 9), std::string(2047, 'x') + "\n");
}

TEST_F(ac_log_test, nothing_is_written_before_init_and_init_twice_keeps_the_first_threshold) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    ac_log(AC_LOG_ERROR, AC_LOG_CAT_UTILS, "f", "before init");
    ac_log_uncategorised(AC_LOG_ERROR, "before init");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");

    std::string path = start_logging(AC_LOG_ERROR);
    EXPECT_EQ(ac_log_init(AC_LOG_DEBUG), 0);
    ac_log(AC_LOG_INFO, AC_LOG_CAT_UTILS, "f", "still filtered");
    EXPECT_EQ(read_file(path), "");
}

TEST_F(ac_log_test, fourth_sink_is_refused_and_every_sink_gets_each_line) {
    ac_log_init(AC_LOG_ERROR);
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(ac_log_add_file_sink(dir_.file("s" + std::to_string(i)).c_str(), 10000), 0);
    EXPECT_EQ(ac_log_add_file_sink(dir_.file("s3").c_str(), 10000), 1);
    EXPECT_FALSE(file_exists(dir_.file("s3")));
    ac_log_uncategorised(AC_LOG_INFO, "EHS starting up...");
    for (int i = 0; i < 3; ++i)
        EXPECT_NE(read_file(dir_.file("s" + std::to_string(i))).find(" INFO EHS starting up...\n"),
                  std::string::npos);
}

TEST_F(ac_log_test, unopenable_file_reports_on_stderr_and_takes_no_slot) {
    ac_log_init(AC_LOG_ERROR);
    std::string missing = dir_.file("no/such/dir/ehs.log");
    testing::internal::CaptureStderr();
    EXPECT_EQ(ac_log_add_file_sink(missing.c_str(), 10000), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "failed to open " + missing + ":No such file or directory");
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(ac_log_add_file_sink(dir_.file("s" + std::to_string(i)).c_str(), 10000), 0);
}

TEST_F(ac_log_test, file_line_form) {
    std::string path = start_logging(AC_LOG_ERROR);
    ac_log_file_line(AC_LOG_ERROR, AC_LOG_CAT_MODEL, "dao.cpp", 42, "x=%s", "y");
    ac_log_file_line(AC_LOG_INFO, AC_LOG_CAT_MODEL, "dao.cpp", 43, "filtered");
    std::string text = read_file(path);
    EXPECT_EQ(text.substr(text.find(" ERROR")), " ERROR [MODEL] dao.cpp:42 x=y\n");
}

} // namespace
