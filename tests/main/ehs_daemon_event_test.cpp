// The road of events through the real daemon: from a topic on the broker to the event-log row,
// the published commands and the change broadcast, on the demo installation; and the road
// staying open when payloads are bad, the broker restarts or another process holds the database.
#include "tests/main/ehs_daemon_fixture.h"

#include <sqlite3.h>

#include <ctime>
#include <future>
#include <thread>

namespace {

using namespace std::chrono_literals;

using ehs_daemon_event_test = ehs_daemon_test_c;

using lines_t = std::vector<std::string>;

// The event-log columns that the handlers set, after datetime.
const char* const event_log_columns =
    "message_id,event_log_group_id,lorivant_id,camera_id,repeater_id,user_id,slave_id,identifier";

struct road_t {
    const char* topic;
    const char* payload;
    lines_t commands;    // sorted
    const char* written; // message_id|group|lorivant_id|camera_id of the event-log row, or ""
};

TEST_F(ehs_daemon_event_test, each_handler_family_logs_publishes_and_broadcasts_its_event) {
    ASSERT_NO_FATAL_FAILURE(start_serving());
    // Demo: event 2 reacts to the alarm of alarm system 1, events 1 and 9 to access at door
    // components 1 and 2, event 6 to a battery warning of any door component, event 8 to a tamper
    // of repeater 1, event 4 to hotkey 1, event 14 to the controller's tamper.
    const road_t roads[] = {
        {"events/alarmsystem/alarm",
         "{\"alarmsystem_id\":1}",
         {"event_reactions/camera/video {\"camera_id\":1}",
          "event_reactions/external_io/output "
          "{\"connector\":\"output1\",\"signal\":\"Open Timed\",\"delay_start\":0,\"duration\":180}"},
         "40|4|0|0"},
        {"events/end_device/access_denied",
         "{\"hardware_id\":1001001,\"tag_id\":\"04A1B2C3\"}",
         {"event_reactions/camera/snapshot {\"camera_id\":1}",
          "event_reactions/email "
          "{\"event_source_topic\":\"events/end_device/access_denied\",\"event_source_msg\":"
          "{\"hardware_id\":1001001,\"tag_id\":\"04A1B2C3\"},\"recipients\":[\"anna.berger@example.com\","
          "\"security@example.com\"]}"},
         ""},
        {"events/end_device/access_denied", "{\"hardware_id\":1001002,\"tag_id\":\"04A1B2C3\"}", {}, ""},
        {"events/end_device/battery_warning",
         "{\"hardware_id\":1001002}",
         {"event_reactions/email {\"event_source_topic\":\"events/end_device/battery_warning\","
          "\"event_source_msg\":{\"hardware_id\":1001002},\"recipients\":[\"anna.berger@example.com\"]}"},
         ""},
        {"events/repeater/tamper",
         "{\"hardware_id\":2002001}",
         {"event_reactions/external_io/output "
          "{\"connector\":\"output1\",\"signal\":\"Open Latched (NO)\",\"delay_start\":0,\"duration\":0}"},
         ""},
        {"events/rest_api/hotkey",
         "{\"hotkey_id\":1,\"hotkey_name\":\"Open gate\"}",
         {"event_reactions/external_io/output "
          "{\"connector\":\"output2\",\"signal\":\"Open Timed\",\"delay_start\":2,\"duration\":5}"},
         ""},
        {"events/control/tamper",
         "{}",
         {"event_reactions/email {\"event_source_topic\":\"events/control/tamper\",\"event_source_msg\":{},"
          "\"recipients\":[\"security@example.com\"]}",
          "event_reactions/external_io/output "
          "{\"connector\":\"output1\",\"signal\":\"Open Timed\",\"delay_start\":0,\"duration\":60}"},
         "29|4|0|0"},
        {"events/camera/snapshot", "{\"camera_id\":2}", {}, "38|3|0|2"},
        // Logged whatever the payload says.
        {"alarmsystem/error_arming_not_ready", "not json", {}, "34|4|0|0"},
        {"events/ntp/time_diff", "{\"rtc_time\":1700000000,\"ntp_time\":1700000002}", {}, "56|4|0|0"},
    };
    uint64_t identifier = 0;
    lines_t broadcasts;
    for (const auto& road : roads) {
        SCOPED_TRACE(std::string(road.topic) + " " + road.payload);
        auto before = static_cast<uint64_t>(time(nullptr));
        send(road.topic, road.payload);
        EXPECT_EQ(settle(), road.commands);
        std::string rows = db_.rows("SELECT datetime," + std::string(event_log_columns) +
                                    " FROM event_log WHERE id>" + std::to_string(identifier));
        if (*road.written == '\0') {
            EXPECT_EQ(rows, "");
            continue;
        }
        ++identifier;
        std::string datetime = rows.substr(0, rows.find('|'));
        EXPECT_GE(std::stoull(datetime), before);
        EXPECT_LE(std::stoull(datetime), static_cast<uint64_t>(time(nullptr)));
        std::string expected = std::string(road.written) + "|0|0|0|" + std::to_string(identifier);
        EXPECT_EQ(rows, datetime + "|" + expected + "\n");
        for (auto& c : expected)
            if (c == '|') c = ',';
        broadcasts.push_back(event_log_insert(datetime + "," + expected));
        EXPECT_EQ(wait_for_changes(broadcasts.size()), broadcasts);
    }
    EXPECT_TRUE(daemon_->running());
    EXPECT_EQ(log().find("ERROR"), std::string::npos) << log();
}

TEST_F(ehs_daemon_event_test, an_input_event_is_logged_and_its_office_mode_reaction_switched_and_published) {
    ASSERT_NO_FATAL_FAILURE(start_serving());
    // Event 3: input1 going "High" puts the front door (1, hardware id 1001001) into office mode
    // for an hour or 20 passages (reaction 401).
    send("events/external_io/input", "{\"connector\":\"input1\",\"signal\":\"High\",\"source\":1}");
    EXPECT_EQ(settle(), (lines_t{"event_reactions/end_device/lorivant {\"lorivant_event_reaction_id\":401,"
                                 "\"lorivant_id\":1,\"accessgroup_id\":0,\"duration\":3600,\"counts\":20}"}));

    std::string datetime = db_.rows("SELECT datetime FROM event_log");
    datetime.pop_back();
    EXPECT_EQ(db_.rows("SELECT " + std::string(event_log_columns) + " FROM event_log"), "22|4|0|0|0|0|0|1\n");
    EXPECT_EQ(db_.rows("SELECT id,office_mode,office_mode_event_reaction_id,office_mode_event_duration,"
                       "office_mode_event_counts_remaining,panic_mode_active FROM lorivant ORDER BY id"),
              "1|1|401|3600|20|0\n2|0|NULL|0|0|0\n");
    std::string started = db_.rows("SELECT office_mode_event_timestamp FROM lorivant WHERE id=1");
    started.pop_back();
    EXPECT_GE(std::stoull(started), std::stoull(datetime)); // switched after the row was written
    EXPECT_EQ(
        db_.rows("SELECT lorivant_event_reaction_id,lorivant_id,lorivant_hw_id,access_group_id,timestamp,"
                 "duration,counts_remaining FROM lorivant_event_reaction_office_mode_assoc"),
        "401|1|1001001|NULL|" + started + "|3600|20\n");

    // The event-log row is committed first, then the office mode in a transaction of its own.
    lines_t found = wait_for_changes(3);
    ASSERT_EQ(found.size(), 3u);
    EXPECT_EQ(found[0], event_log_insert(datetime + ",22,4,0,0,0,0,0,1"));
    lines_t tables;
    for (size_t i = 1; i < found.size(); ++i) {
        tables.push_back(found[i].substr(0, found[i].find('\t')));
        EXPECT_NE(found[i].find("401"), std::string::npos) << found[i];
    }
    std::sort(tables.begin(), tables.end());
    EXPECT_EQ(tables, (lines_t{"lorivant", "lorivant_event_reaction_office_mode_assoc"}));
}

TEST_F(ehs_daemon_event_test, a_bad_payload_is_logged_at_error_and_the_next_event_is_handled) {
    ASSERT_NO_FATAL_FAILURE(start_serving());
    send("events/alarmsystem/alarm", "{\"alarmsystem_id\":-1}");
    send("events/alarmsystem/alarm", "{\"alarmsystem_id\":1}");
    EXPECT_EQ(settle().size(), 2u); // the camera and output reactions of the good one
    EXPECT_EQ(db_.rows("SELECT " + std::string(event_log_columns) + " FROM event_log"), "40|4|0|0|0|0|0|1\n");
    std::string text = log();
    EXPECT_NE(
        text.find(" ERROR [REST] in deserialize(): deserialize msg event_alarmid failed: invalid negative "
                  "value for attribute: alarmsystem_id\n"),
        std::string::npos)
        << text;
}

TEST_F(ehs_daemon_event_test, events_after_a_broker_restart_are_handled) {
    ASSERT_NO_FATAL_FAILURE(start_serving());
    peer_.reset();
    broker_->stop();
    broker_->start();
    connect_peer();
    // The daemon reconnects on its own and subscribes everything again.
    ASSERT_NO_FATAL_FAILURE(wait_until_subscribed());
    send("events/control/internet_lost", "{}");
    EXPECT_EQ(settle(),
              (lines_t{"event_reactions/email {\"event_source_topic\":\"events/control/internet_lost\","
                       "\"event_source_msg\":{\"hardware_id\":0},\"recipients\":[\"security@example.com\","
                       "\"anna.berger@example.com\"]}"}));
    EXPECT_EQ(db_.rows("SELECT " + std::string(event_log_columns) + " FROM event_log"), "27|4|0|0|0|0|0|1\n");
    EXPECT_TRUE(daemon_->running());
}

TEST_F(ehs_daemon_event_test,
       another_process_holding_the_database_delays_the_event_log_row_but_does_not_lose_it) {
    ASSERT_NO_FATAL_FAILURE(start_serving());
    std::promise<void> locked;
    uint64_t released_at = 0;
    std::string rows_while_locked;
    std::thread other_process([&] {
        sqlite3* db = nullptr;
        sqlite3_open(db_.path().c_str(), &db);
        sqlite3_exec(db, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr);
        locked.set_value();
        std::this_thread::sleep_for(2s); // the daemon retries its BEGIN IMMEDIATE meanwhile
        sqlite3_exec(
            db, "SELECT count(*) FROM event_log",
            [](void* out, int, char** values, char**) {
                *static_cast<std::string*>(out) = values[0];
                return 0;
            },
            &rows_while_locked, nullptr);
        released_at = static_cast<uint64_t>(time(nullptr));
        sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
        sqlite3_close(db);
    });
    locked.get_future().wait();
    send("events/ntp/time_diff", "{\"rtc_time\":1700000000,\"ntp_time\":1700000002}");
    EXPECT_EQ(settle(30s), lines_t{});
    other_process.join();

    EXPECT_EQ(rows_while_locked, "0");
    EXPECT_EQ(db_.rows("SELECT " + std::string(event_log_columns) + " FROM event_log"), "56|4|0|0|0|0|0|1\n");
    EXPECT_GE(std::stoull(db_.rows("SELECT datetime FROM event_log")), released_at);
    EXPECT_EQ(wait_for_changes(1).size(), 1u);
    EXPECT_EQ(log().find("failed to write event log"), std::string::npos) << log();
}

} // namespace
