// The installed log rotation under the running daemon: ehs opens its log once in append mode and
// never again, so logrotate must copy and truncate. The next line then lands at the start of the
// emptied file (append mode writes at the end, which is now 0: no hole of NUL bytes where the old
// lines were), and the rotated copy holds every line of before.
#include "tests/support/test_daemon.h"
#include "tests/support/test_expect.h"

#include <sys/wait.h>

#include <regex>

namespace {

using namespace std::chrono_literals;

class ehs_log_rotation_test : public test_daemon_c {
protected:
    // The package's logrotate configuration, pointed at this test's log.
    int rotate() {
        const std::string config = dir_.file("logrotate.conf");
        write_file(config, std::regex_replace(read_file(EHS_SOURCE_DIR "/packaging/ehs.logrotate"),
                                              std::regex("/var/log/ehs\\.log"), dir_.file("ehs.log")));
        process_c logrotate({"logrotate", "-f", "-s", dir_.file("logrotate.state"), config}, {},
                            dir_.file("logrotate.out"), dir_.file("logrotate.out"));
        return logrotate.wait_for_exit(10s);
    }
    std::string unzipped(const std::string& path) {
        process_c gzip({"gzip", "-dc", path}, {}, dir_.file("unzipped"));
        EXPECT_EQ(gzip.wait_for_exit(10s), 0);
        return read_file(dir_.file("unzipped"));
    }
};

TEST_F(ehs_log_rotation_test, lines_after_a_rotation_start_the_truncated_file_and_none_before_it_is_lost) {
    start_serving();
    const std::string refused = "ERROR [REST] in deserialize(): deserialize msg event_alarmid failed: ",
                      negative = "invalid negative value for attribute: alarmsystem_id",
                      text = "expected end or key of a json object";
    send("events/alarmsystem/alarm", R"({"alarmsystem_id":-1})");
    settle();
    ASSERT_EQ(rotate(), 0) << read_file(dir_.file("logrotate.out"));
    EXPECT_EQ(read_file(dir_.file("ehs.log")), "");
    send("events/alarmsystem/alarm", R"({"alarmsystem_id":"1"})");
    settle();

    const std::string log = read_file(dir_.file("ehs.log"));
    EXPECT_EQ(log.find('\0'), std::string::npos);
    EXPECT_EQ(log_lines(dir_.file("ehs.log")), lines_t{refused + text});
    EXPECT_FALSE(file_exists(dir_.file("ehs.log.1")));
    write_file(dir_.file("rotated"), unzipped(dir_.file("ehs.log.1.gz")));
    EXPECT_EQ(log_lines(dir_.file("rotated")), (lines_t{"INFO EHS starting up...", refused + negative}));
    EXPECT_TRUE(daemon_->running());
}

} // namespace
