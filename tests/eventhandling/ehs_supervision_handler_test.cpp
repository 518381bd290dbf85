// The supervision check driven with chosen times against a schema-built database, a real broker
// and a second MQTT client that records what the handler publishes.
#include "eventhandling/ehs_supervision_handler.h"

#include "mqtt/ac_mqtt_client.h"
#include "tests/support/test_broker.h"
#include "tests/support/test_database.h"
#include "tests/support/test_files.h"
#include "tests/support/test_mqtt_peer.h"
#include "tests/support/test_process.h"
#include "utils/ac_log.h"

#include <gtest/gtest.h>

#include <ctime>
#include <initializer_list>
#include <thread>

namespace {

using namespace std::chrono_literals;

constexpr uint64_t t0 = 1700000000;

class ehs_supervision_handler_test : public testing::Test {
protected:
    void SetUp() override {
        ac_log_init(AC_LOG_ERROR);
        ac_log_add_file_sink(dir_.file("ehs.log").c_str(), 10000);
        client_->init("127.0.0.1", broker_.port(), 60, 1);
        loop_ = std::thread([this] { client_->loop_forever(); });
        ASSERT_TRUE(wait_until([this] { return client_->is_connected(); }, 10s));
        handler_ = std::make_unique<ehs_supervision_handler_c>(client_, db_.registry());
    }
    void TearDown() override {
        if (loop_.joinable()) {
            client_->stop();
            loop_.join();
        }
        ac_log_deinit();
    }

    void add_lorivant(uint64_t id, uint64_t hardware_id, uint64_t period, uint64_t time,
                      uint64_t missing = 0) {
        db_.exec("INSERT INTO lorivant(id, hardware_id, supervision_period, supervision_time, "
                 "supervision_missing) VALUES (" +
                 values({id, hardware_id, period, time, missing}) + ")");
    }
    void add_repeater(uint64_t id, uint64_t serial_number, uint64_t period, uint64_t time,
                      uint64_t missing = 0) {
        db_.exec("INSERT INTO repeater(id, serial_number, supervision_period, supervision_time, "
                 "supervision_missing) VALUES (" +
                 values({id, serial_number, period, time, missing}) + ")");
    }
    static std::string values(std::initializer_list<uint64_t> numbers) {
        std::string text;
        for (uint64_t n : numbers)
            text += (text.empty() ? "" : ",") + std::to_string(n);
        return text;
    }
    void set_supervision_mode(const std::string& value) {
        db_.exec("UPDATE settings SET value='" + value + "' WHERE key='supervision_mode'");
    }
    // "L<id>:<missing> " per door component, then "R<id>:<missing> " per repeater.
    std::string missing_flags() {
        std::string flags = db_.rows("SELECT 'L'||id||':'||supervision_missing FROM lorivant ORDER BY id") +
                            db_.rows("SELECT 'R'||id||':'||supervision_missing FROM repeater ORDER BY id");
        for (auto& c : flags)
            if (c == '\n') c = ' ';
        return flags;
    }
    // Everything the handler published so far, one "topic payload" line each. A marker sent
    // through the same client last proves that nothing published before it is still under way.
    std::string published() {
        std::string marker = "marker " + std::to_string(++markers_);
        client_->publish("test/marker", marker, false);
        EXPECT_TRUE(wait_until(
            [&] {
                auto all = peer_.received();
                return !all.empty() && all.back().payload == marker;
            },
            10s));
        std::string text;
        for (const auto& m : peer_.received())
            if (m.topic != "test/marker") text += m.topic + " " + m.payload + "\n";
        return text;
    }
    std::string log() { return read_file(dir_.file("ehs.log")); }
    static size_t count(const std::string& text, const std::string& part) {
        size_t n = 0;
        for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
            ++n;
        return n;
    }

    temp_dir_c dir_;
    test_database_c db_;
    test_broker_c broker_;
    std::shared_ptr<ac_mqtt_client_c> client_ = std::make_shared<ac_mqtt_client_c>("ehs_supervision_test");
    std::thread loop_;
    test_mqtt_peer_c peer_{broker_.port(), {"events/#", "test/marker"}};
    std::unique_ptr<ehs_supervision_handler_c> handler_;
    int markers_ = 0;
};

TEST_F(ehs_supervision_handler_test, allowed_silence_is_2_1_periods_truncated_in_single_precision) {
    set_supervision_mode("0");
    struct case_t {
        uint64_t period, allowed;
    };
    // 100 s: 209.99998 in single precision, so 209, not 210. Period 0: missing once time passes.
    for (const case_t c : {case_t{10, 21}, {60, 125}, {100, 209}, {300, 630}, {0, 0}}) {
        SCOPED_TRACE("supervision_period " + std::to_string(c.period));
        EXPECT_EQ(ehs_supervision_handler_c::allowed_silence(c.period), c.allowed);
        db_.exec("DELETE FROM lorivant; DELETE FROM repeater");
        add_lorivant(1, 1001001, c.period, t0);
        add_repeater(1, 2002001, c.period, t0);
        handler_->check_supervision(t0 + c.allowed);
        EXPECT_EQ(missing_flags(), "L1:0 R1:0 ");
        handler_->check_supervision(t0 + c.allowed + 1);
        EXPECT_EQ(missing_flags(), "L1:1 R1:1 ");
    }
}

TEST_F(ehs_supervision_handler_test, a_newer_event_log_row_of_the_door_component_counts_as_sign_of_life) {
    set_supervision_mode("0");
    add_lorivant(1, 1001001, 10, t0); // used at t0+100
    add_lorivant(2, 1001002, 10, t0); // no row of its own
    add_lorivant(3, 1001003, 10, t0); // only a row older than its last report
    db_.exec("INSERT INTO event_log(datetime, message_id, event_log_group_id, lorivant_id) VALUES (" +
             values({t0 + 100, 22, 4, 1}) + "), (" + values({t0 - 50, 22, 4, 3}) + ")");
    handler_->check_supervision(t0 + 22);
    EXPECT_EQ(missing_flags(), "L1:0 L2:1 L3:1 ");
    handler_->check_supervision(t0 + 100 + 21);
    EXPECT_EQ(missing_flags(), "L1:0 L2:1 L3:1 ");
    handler_->check_supervision(t0 + 100 + 22);
    EXPECT_EQ(missing_flags(), "L1:1 L2:1 L3:1 ");
}

TEST_F(ehs_supervision_handler_test, supervision_mode_on_marks_and_publishes_signal_loss_once_per_device) {
    // Ids differ from hardware ids and serial numbers so that a mix-up shows.
    auto now = static_cast<uint64_t>(time(nullptr));
    add_lorivant(7, 1001001, 600, t0);
    add_lorivant(8, 1001002, 600, now + 3600);
    add_repeater(3, 2002001, 600, t0);
    handler_->check_supervision(); // against the clock
    EXPECT_TRUE(handler_->supervision_mode());
    EXPECT_EQ(missing_flags(), "L7:1 L8:0 R3:1 ");
    EXPECT_EQ(published(), "events/end_device/signal_loss {\"hardware_id\":1001001}\n"
                           "events/repeater/signal_loss {\"hardware_id\":2002001}\n");

    // A device marked missing stays quiet until its next report clears the mark.
    handler_->check_supervision(now + 100000);
    EXPECT_EQ(missing_flags(), "L7:1 L8:1 R3:1 ");
    EXPECT_EQ(published(), "events/end_device/signal_loss {\"hardware_id\":1001001}\n"
                           "events/repeater/signal_loss {\"hardware_id\":2002001}\n"
                           "events/end_device/signal_loss {\"hardware_id\":1001002}\n");
    // INFO passes only through the uncategorised entry: the threshold is ERROR.
    std::string text = log();
    EXPECT_EQ(count(text, " INFO supervision for lorivant 7 is missing\n"), 1u) << text;
    EXPECT_EQ(count(text, " INFO supervision for lorivant 8 is missing\n"), 1u) << text;
    EXPECT_EQ(count(text, " INFO supervision for repeater 3 is missing\n"), 1u) << text;
    EXPECT_EQ(count(text, "\n"), 3u) << text;
}

TEST_F(ehs_supervision_handler_test, a_device_already_marked_missing_is_skipped) {
    add_lorivant(1, 1001001, 10, t0, 1);
    add_repeater(1, 2002001, 10, t0, 1);
    handler_->check_supervision(t0 + 100000);
    EXPECT_EQ(missing_flags(), "L1:1 R1:1 ");
    EXPECT_EQ(published(), "");
    EXPECT_EQ(log(), "");
}

TEST_F(ehs_supervision_handler_test, supervision_mode_is_read_at_every_run_and_only_1_publishes) {
    struct case_t {
        const char* setting;
        const char* sql;
        bool publishes;
    };
    const case_t cases[] = {
        {"'0'", "UPDATE settings SET value='0' WHERE key='supervision_mode'", false},
        {"'on'", "UPDATE settings SET value='on' WHERE key='supervision_mode'", false},
        {"absent", "DELETE FROM settings WHERE key='supervision_mode'", false},
        {"'1'", "INSERT INTO settings(key, value) VALUES ('supervision_mode', '1')", true},
    };
    std::string expected;
    uint64_t hardware_id = 1001000;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.setting);
        db_.exec(c.sql);
        db_.exec("DELETE FROM lorivant");
        add_lorivant(1, ++hardware_id, 10, t0);
        handler_->check_supervision(t0 + 22);
        EXPECT_EQ(handler_->supervision_mode(), c.publishes);
        EXPECT_EQ(missing_flags(), "L1:1 ");
        if (c.publishes)
            expected +=
                "events/end_device/signal_loss {\"hardware_id\":" + std::to_string(hardware_id) + "}\n";
        EXPECT_EQ(published(), expected);
    }
}

TEST_F(ehs_supervision_handler_test,
       a_failing_update_is_rolled_back_and_logged_and_the_other_devices_are_checked) {
    add_lorivant(1, 1001001, 10, t0);
    add_lorivant(2, 1001002, 10, t0);
    add_repeater(1, 2002001, 10, t0);
    db_.exec("CREATE TRIGGER refuse_lorivant_1 BEFORE UPDATE ON lorivant WHEN OLD.id = 1 "
             "BEGIN SELECT RAISE(ABORT, 'refused by test'); END");
    handler_->check_supervision(t0 + 22);
    EXPECT_EQ(missing_flags(), "L1:0 L2:1 R1:1 ");
    EXPECT_EQ(published(), "events/end_device/signal_loss {\"hardware_id\":1001002}\n"
                           "events/repeater/signal_loss {\"hardware_id\":2002001}\n");
    std::string text = log();
    EXPECT_EQ(count(text,
                    " ERROR [EVENTHANDLING] in handle_missing_supervision(): Error when writing missing "
                    "supervision to db : db statement failed: constraint failed\n"),
              1u)
        << text;

    // Nothing was left open: once the update goes through, the next run marks the device.
    db_.exec("DROP TRIGGER refuse_lorivant_1");
    handler_->check_supervision(t0 + 23);
    EXPECT_EQ(missing_flags(), "L1:1 L2:1 R1:1 ");
}

TEST_F(ehs_supervision_handler_test, a_failing_commit_is_logged_and_the_publication_before_it_stays) {
    // A deferred foreign key violation lets the update through and fails only the COMMIT.
    db_.exec(
        "CREATE TABLE audit_parent(id INTEGER PRIMARY KEY);"
        "CREATE TABLE audit_child(parent INTEGER REFERENCES audit_parent(id) DEFERRABLE INITIALLY DEFERRED);"
        "CREATE TRIGGER audit_lorivant AFTER UPDATE ON lorivant BEGIN INSERT INTO audit_child VALUES (99); "
        "END");
    add_lorivant(1, 1001001, 10, t0);
    handler_->check_supervision(t0 + 22);
    EXPECT_EQ(missing_flags(), "L1:0 ");
    EXPECT_EQ(db_.rows("SELECT count(*) FROM audit_child"), "0\n");
    EXPECT_EQ(published(), "events/end_device/signal_loss {\"hardware_id\":1001001}\n");
    std::string text = log();
    EXPECT_EQ(count(text,
                    " ERROR [EVENTHANDLING] in handle_missing_supervision(): Error when writing missing "
                    "supervision to db : \"COMMIT\" failed\n"),
              1u)
        << text;
}

// Takes 500 retries of the 50 ms busy timeout, about 25 s.
TEST_F(ehs_supervision_handler_test,
       a_begin_that_cannot_get_the_lock_is_logged_and_leaves_the_device_unmarked) {
    add_lorivant(1, 1001001, 10, t0);
    db_.exec("BEGIN IMMEDIATE"); // another process of the controller is writing
    handler_->check_supervision(t0 + 22);
    db_.exec("ROLLBACK");
    EXPECT_EQ(missing_flags(), "L1:0 ");
    EXPECT_EQ(published(), "");
    std::string text = log();
    EXPECT_EQ(count(text,
                    " ERROR [EVENTHANDLING] in handle_missing_supervision(): Error on begin transaction: "
                    "\"BEGIN IMMEDIATE\" failed\n"),
              1u)
        << text;

    handler_->check_supervision(t0 + 22);
    EXPECT_EQ(missing_flags(), "L1:1 ");
    EXPECT_EQ(published(), "events/end_device/signal_loss {\"hardware_id\":1001001}\n");
}

} // namespace
