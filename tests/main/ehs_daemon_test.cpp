// The real daemon end to end: its contract with systemd (READY=1 once it can serve, then
// WATCHDOG=1 every second; a failure before READY=1 ends the process, and systemd restarts it)
// and the road of events from the broker to the event-log row, the commands and the broadcast.
#include "tests/support/test_daemon.h"
#include "tests/support/test_expect.h"
#include "tests/support/test_notify.h"

#include <sys/wait.h>

#include <filesystem>

namespace {

using namespace std::chrono_literals;

class ehs_daemon_test : public test_daemon_c {
protected:
    notify_listener_c notify_{dir_.file("notify")}; // systemd's end of sd_notify
};

// Each start in a process of its own, so that the ten seconds of connection attempts without a
// broker pass beside the other starts.
class ehs_daemon_start_test : public ehs_daemon_test, public testing::WithParamInterface<int> {};
std::string start_name(const testing::TestParamInfo<int>& info) {
    const char* names[] = {"serving", "log_file_missing", "database_missing", "broker_missing"};
    return names[info.param];
}
INSTANTIATE_TEST_SUITE_P(starts, ehs_daemon_start_test, testing::Range(0, 4), start_name);

TEST_P(ehs_daemon_start_test,
       ready_once_it_can_serve_then_a_watchdog_every_second_else_it_ends_before_ready) {
    std::filesystem::create_directory(work_dir() + "/data"); // where the default database would be
    const std::string missing_log = dir_.file("missing/ehs.log");
    const struct {
        std::map<std::string, std::string> env;
        bool broker, ready;
        std::string error; // on stderr
    } cases[] = {
        {{}, true, true, ""},
        {{{"EHS_LOG_FILE", missing_log}},
         true,
         true,
         "failed to open " + missing_log + ":No such file or directory"},
        {{{"!ACS_DB_FILE", ""}},
         true,
         false,
         "db \"" + work_dir() + "/data/acs.db\" doesn't exist in filesystem"},
        {{}, false, false, "failed to connect:Connection refused"}, // ten attempts a second apart
    };
    auto c = cases[GetParam()];
    if (c.broker) broker_ = std::make_unique<test_broker_c>(1883);
    c.env["NOTIFY_SOCKET"] = notify_.path();
    start_daemon(c.env);
    if (c.ready) {
        EXPECT_EQ(notify_.receive(10s), "READY=1");
        ASSERT_EQ(notify_.receive(3s), "WATCHDOG=1");
        const auto first = std::chrono::steady_clock::now();
        EXPECT_EQ(notify_.receive(3s) + notify_.receive(3s), "WATCHDOG=1WATCHDOG=1");
        // Two more periods after the first: paced by the one-second sleep, not sent in a burst.
        EXPECT_GE(std::chrono::steady_clock::now() - first, 1500ms);
        EXPECT_TRUE(daemon_->running());
    } else {
        const int status = daemon_->wait_for_exit(30s);
        EXPECT_TRUE(status != -1 && !(WIFEXITED(status) && WEXITSTATUS(status) == 0)) << status;
        EXPECT_EQ(notify_.receive(0ms), "");
    }
    const std::string error = read_file(dir_.file("stderr"));
    EXPECT_TRUE(c.error.empty() ? error.empty() : error.find(c.error) != std::string::npos) << error;
    EXPECT_FALSE(file_exists(work_dir() + "/data/acs.db"));
    // Every start logs, to the file it was given.
    EXPECT_EQ(log_lines(dir_.file("ehs.log")),
              lines_t(c.env.count("EHS_LOG_FILE") ? 0 : 1, "INFO EHS starting up..."));
}

TEST_F(ehs_daemon_test, events_reach_the_event_log_the_commands_and_the_broadcast) {
    start_serving();
    // clang-format off
    send("events/alarmsystem/alarm", R"({"alarmsystem_id":1})");
    EXPECT_EQ(settle(), (lines_t{R"(event_reactions/camera/video {"camera_id":1})",
                                 R"(event_reactions/external_io/output {"connector":"output1",)"
                                 R"("signal":"Open Timed","delay_start":0,"duration":180})"}));
    send("events/end_device/access_denied", R"({"hardware_id":1001001,"tag_id":"04A1B2C3"})");
    EXPECT_EQ(settle(), (lines_t{R"(event_reactions/camera/snapshot {"camera_id":1})",
                                 R"(event_reactions/email {"event_source_topic":)"
                                 R"("events/end_device/access_denied","event_source_msg":)"
                                 R"({"hardware_id":1001001,"tag_id":"04A1B2C3"},)"
                                 R"("recipients":["anna.berger@example.com","security@example.com"]})"}));
    // The key switch: its row, then the front door's office mode in a transaction of its own.
    send("events/external_io/input", R"({"connector":"input1","signal":"High","source":1})");
    EXPECT_EQ(settle(), lines_t{R"(event_reactions/end_device/lorivant {"lorivant_event_reaction_id":401,)"
                                R"("lorivant_id":1,"accessgroup_id":0,"duration":3600,"counts":20})"});
    const std::string rows = db_.rows("SELECT datetime, message_id, event_log_group_id, lorivant_id, "
                                      "camera_id, repeater_id, user_id, slave_id, identifier FROM event_log"),
        alarm_at = rows.substr(0, 10), input_at = rows.substr(rows.find('\n') + 1, 10),
        started = db_.rows("SELECT office_mode_event_timestamp FROM lorivant WHERE id=1").substr(0, 10);
    EXPECT_EQ(rows, alarm_at + "|40|4|0|0|0|0|0|1\n" + input_at + "|22|4|0|0|0|0|0|2\n");
    EXPECT_EQ(db_.rows("SELECT * FROM lorivant_event_reaction_office_mode_assoc"),
              "401|1|1001001|NULL|" + started + "|3600|20\n");
    auto insert = [](const std::string& values) {
        return "event_log\t\\n        INSERT INTO event_log(datetime,message_id,event_log_group_id,"
               "lorivant_id,camera_id,repeater_id,user_id,slave_id,identifier)\\n        VALUES (" + values +
               ")\\n    ";
    };
    ASSERT_TRUE(wait_until([&] { return changes().size() >= 4; }, 10s));
    EXPECT_EQ(changes(), (lines_t{
        insert(alarm_at + ",40,4,0,0,0,0,0,1"), insert(input_at + ",22,4,0,0,0,0,0,2"),
        "lorivant_event_reaction_office_mode_assoc\tINSERT OR REPLACE INTO "
        "lorivant_event_reaction_office_mode_assoc (lorivant_event_reaction_id, lorivant_id, lorivant_hw_id, "
        "access_group_id, timestamp, duration, counts_remaining ) "
        "VALUES(401,NULLIF(1,0),NULLIF(1001001,0),NULLIF(0,0)," + started + ",3600,20);",
        "lorivant\tUPDATE lorivant SET office_mode=1, office_mode_event_reaction_id=NULLIF(401,0), "
        "office_mode_event_timestamp=" + started + ", office_mode_event_duration=3600, "
        "office_mode_event_counts_remaining=20 WHERE id=1"}));

    // A payload that does not deserialize is logged. The broker restarts: the daemon reconnects
    // and subscribes everything again by itself, and the next event is handled.
    send("events/alarmsystem/alarm", R"({"alarmsystem_id":-1})");
    peer_.reset();
    broker_->stop();
    broker_->start();
    connect_peer();
    send("events/control/internet_lost", "{}");
    EXPECT_EQ(settle(), lines_t{R"(event_reactions/email {"event_source_topic":)"
                                R"("events/control/internet_lost","event_source_msg":{"hardware_id":0},)"
                                R"("recipients":["security@example.com","anna.berger@example.com"]})"});
    EXPECT_EQ(db_.rows("SELECT message_id, identifier FROM event_log WHERE id > 2"), "27|3\n");
    EXPECT_EQ(log_lines(dir_.file("ehs.log")), (lines_t{"INFO EHS starting up...", "ERROR [REST] in "
              "deserialize(): deserialize msg event_alarmid failed: invalid negative value for attribute: "
              "alarmsystem_id"}));
    // clang-format on
}

// What `systemctl status ehs` shows: the counters as a STATUS line, at once and then at most every
// three seconds, only when they changed; the texts of the log and the payloads stay as they are.
TEST_F(ehs_daemon_test, the_status_line_counts_events_refusals_reactions_and_database_errors) {
    broker_ = std::make_unique<test_broker_c>(1883);
    reader_ = std::make_unique<process_c>(std::vector<std::string>{EHS_BINARY_DIR "/ehs_broadcast_reader"},
                                          std::map<std::string, std::string>{}, dir_.file("broadcast.txt"));
    start_daemon({{"NOTIFY_SOCKET", notify_.path()}});
    ASSERT_EQ(notify_.receive(10s), "READY=1");
    std::vector<std::pair<std::chrono::steady_clock::time_point, std::string>> statuses;
    auto next_status = [&](std::chrono::milliseconds timeout) {
        std::string status = notify_.receive_status(timeout);
        if (!status.empty()) statuses.emplace_back(std::chrono::steady_clock::now(), status);
        return status;
    };
    EXPECT_EQ(next_status(2s).rfind("STATUS=handled ", 0), 0u); // the first at once
    connect_peer();
    send("events/alarmsystem/alarm", R"({"alarmsystem_id":1})");
    EXPECT_EQ(settle().size(), 2u);
    // Handled so far: each hotkey probe that reached the daemon (it answered each with one
    // command), the two markers of the settles and the alarm. Every command arrived here.
    const long handled = peer_->count("event_reactions/end_device/lorivant") + 2 + 1,
               published = peer_->count();
    send("events/alarmsystem/alarm", R"({"alarmsystem_id":"1"})");
    db_.exec("ALTER TABLE associated_event_source RENAME TO moved");
    send("events/control/tamper", "{}"); // its row, then a lookup that fails: no command

    const std::string counts = "STATUS=handled " + std::to_string(handled + 1) +
                               " events, refused 1 payload, published " + std::to_string(published) +
                               " reactions, 1 database error (last at ",
                      error = "db statement failed: SQL logic error)";
    ASSERT_TRUE(wait_until([&] { return next_status(500ms).rfind(counts, 0) == 0; }, 10s))
        << (statuses.empty() ? "no status" : statuses.back().second);
    db_.exec("ALTER TABLE moved RENAME TO associated_event_source");
    const std::string last = statuses.back().second;
    EXPECT_EQ(last.substr(last.size() - error.size()), error) << last;
    // Nothing changes any more: nothing more is sent.
    EXPECT_EQ(next_status(3500ms), "");
    for (size_t i = 1; i < statuses.size(); ++i) {
        SCOPED_TRACE(statuses[i].second);
        EXPECT_NE(statuses[i].second, statuses[i - 1].second);
        EXPECT_GE(statuses[i].first - statuses[i - 1].first, 2500ms);
    }
    EXPECT_EQ(
        log_lines(dir_.file("ehs.log")),
        (lines_t{"INFO EHS starting up...",
                 "ERROR [REST] in deserialize(): deserialize msg event_alarmid failed: expected end or "
                 "key of a json object",
                 "ERROR [MODEL] in execute(): db statement failed: SQL logic error",
                 "ERROR [EVENTHANDLING] in find_event_reactions(): db statement failed: SQL logic error"}));
}

} // namespace
