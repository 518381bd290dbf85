// The supervision check driven with chosen times against a schema-built database; the peer
// records the signal-loss events it publishes through the shared client.
#include "eventhandling/ehs_supervision_handler.h"

#include "tests/eventhandling/handler_test_fixture.h"

#include <ctime>

namespace {

constexpr uint64_t t0 = 1700000000;

std::string signal_loss(const char* kind, uint64_t hardware_id) {
    return std::string("events/") + kind + "/signal_loss {\"hardware_id\":" + std::to_string(hardware_id) +
           "}";
}
class ehs_supervision_handler_test : public ehs_handler_test_c {
protected:
    ehs_supervision_handler_test()
        : ehs_handler_test_c(test_database_c::SCHEMA_ONLY, {"event_reactions/#", "events/#"}) {}
    void SetUp() override {
        ehs_handler_test_c::SetUp();
        connect();
    }

    // Rows of door components ("lorivant") or repeaters: id, hardware id or serial number,
    // supervision period, time of the last report, marked missing.
    void add(const std::string& table, const std::string& rows) {
        db_.exec("INSERT INTO " + table + "(id, " + (table == "lorivant" ? "hardware_id" : "serial_number") +
                 ", supervision_period, supervision_time, supervision_missing) VALUES " + rows);
    }
    // "L<id>:<missing> " per door component, then "R<id>:<missing> " per repeater.
    std::string missing_flags() {
        std::string flags = db_.rows("SELECT 'L'||id||':'||supervision_missing FROM lorivant ORDER BY id") +
                            db_.rows("SELECT 'R'||id||':'||supervision_missing FROM repeater ORDER BY id");
        std::replace(flags.begin(), flags.end(), '\n', ' ');
        return flags;
    }

    ehs_supervision_handler_c handler_{client_, db_.registry()};
};

TEST_F(ehs_supervision_handler_test, allowed_silence_is_2_1_periods_truncated_in_single_precision) {
    db_.exec("UPDATE settings SET value='0' WHERE key='supervision_mode'");
    struct case_t {
        uint64_t period, allowed;
    };
    // 100 s: 209.99998 in single precision, so 209, not 210. Period 0: missing once time passes.
    for (const case_t c : {case_t{10, 21}, {60, 125}, {100, 209}, {300, 630}, {0, 0}}) {
        SCOPED_TRACE("supervision_period " + std::to_string(c.period));
        EXPECT_EQ(ehs_supervision_handler_c::allowed_silence(c.period), c.allowed);
        db_.exec("DELETE FROM lorivant; DELETE FROM repeater");
        const std::string period = std::to_string(c.period);
        add("lorivant", "(1, 1001001, " + period + ", 1700000000, 0)");
        add("repeater", "(1, 2002001, " + period + ", 1700000000, 0)");
        handler_.check_supervision(t0 + c.allowed);
        EXPECT_EQ(missing_flags(), "L1:0 R1:0 ");
        handler_.check_supervision(t0 + c.allowed + 1);
        EXPECT_EQ(missing_flags(), "L1:1 R1:1 ");
    }
    EXPECT_EQ(settle(), lines_t{});
}

TEST_F(ehs_supervision_handler_test, a_newer_event_log_row_of_the_door_component_counts_as_sign_of_life) {
    db_.exec("UPDATE settings SET value='0' WHERE key='supervision_mode'");
    // 1 is used at t0+100, 2 has no row of its own, 3 only a row older than its last report.
    add("lorivant", "(1, 1001001, 10, 1700000000, 0), (2, 1001002, 10, 1700000000, 0), "
                    "(3, 1001003, 10, 1700000000, 0)");
    db_.exec("INSERT INTO event_log(datetime, message_id, event_log_group_id, lorivant_id) VALUES (" +
             std::to_string(t0 + 100) + ", 22, 4, 1), (" + std::to_string(t0 - 50) + ", 22, 4, 3)");
    for (const auto& [now, flags] : {std::pair<uint64_t, const char*>{t0 + 22, "L1:0 L2:1 L3:1 "},
                                     {t0 + 121, "L1:0 L2:1 L3:1 "},
                                     {t0 + 122, "L1:1 L2:1 L3:1 "}}) {
        handler_.check_supervision(now);
        EXPECT_EQ(missing_flags(), flags) << now - t0;
    }
}

TEST_F(ehs_supervision_handler_test, supervision_mode_on_marks_and_publishes_signal_loss_once_per_device) {
    // Ids differ from hardware ids and serial numbers so that a mix-up shows.
    const auto now = static_cast<uint64_t>(time(nullptr));
    // 9 and 4 are already marked missing: they are skipped.
    add("lorivant", "(7, 1001001, 600, 1700000000, 0), (8, 1001002, 600, " + std::to_string(now + 3600) +
                        ", 0), (9, 1001003, 10, 1700000000, 1)");
    add("repeater", "(3, 2002001, 600, 1700000000, 0), (4, 2002002, 10, 1700000000, 1)");
    handler_.check_supervision(); // against the clock
    EXPECT_TRUE(handler_.supervision_mode());
    EXPECT_EQ(missing_flags(), "L7:1 L8:0 L9:1 R3:1 R4:1 ");
    EXPECT_EQ(settle(), (lines_t{signal_loss("end_device", 1001001), signal_loss("repeater", 2002001)}));

    // A device marked missing stays quiet until its next report clears the mark.
    handler_.check_supervision(now + 100000);
    EXPECT_EQ(missing_flags(), "L7:1 L8:1 L9:1 R3:1 R4:1 ");
    EXPECT_EQ(settle(), lines_t{signal_loss("end_device", 1001002)});
    // INFO passes only through the uncategorised entry: the threshold is ERROR.
    EXPECT_EQ(log_lines(), (lines_t{"INFO supervision for lorivant 7 is missing",
                                    "INFO supervision for repeater 3 is missing",
                                    "INFO supervision for lorivant 8 is missing"}));
}

TEST_F(ehs_supervision_handler_test, supervision_mode_is_read_at_every_run_and_only_1_publishes) {
    struct case_t {
        const char* sql;
        bool publishes;
    };
    const case_t cases[] = {
        {"UPDATE settings SET value='0' WHERE key='supervision_mode'", false},
        {"UPDATE settings SET value='on' WHERE key='supervision_mode'", false},
        {"DELETE FROM settings WHERE key='supervision_mode'", false},
        {"INSERT INTO settings(key, value) VALUES ('supervision_mode', '1')", true},
    };
    uint64_t hardware_id = 1001000;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.sql);
        db_.exec(c.sql);
        db_.exec("DELETE FROM lorivant");
        add("lorivant", "(1, " + std::to_string(++hardware_id) + ", 10, 1700000000, 0)");
        handler_.check_supervision(t0 + 22);
        EXPECT_EQ(handler_.supervision_mode(), c.publishes);
        EXPECT_EQ(missing_flags(), "L1:1 ");
        EXPECT_EQ(settle(), c.publishes ? lines_t{signal_loss("end_device", hardware_id)} : lines_t{});
    }
}

TEST_F(ehs_supervision_handler_test,
       a_failing_update_is_rolled_back_and_logged_and_the_other_devices_are_checked) {
    add("lorivant", "(1, 1001001, 10, 1700000000, 0), (2, 1001002, 10, 1700000000, 0)");
    add("repeater", "(1, 2002001, 10, 1700000000, 0)");
    db_.exec("CREATE TRIGGER refuse_lorivant_1 BEFORE UPDATE ON lorivant WHEN OLD.id = 1 "
             "BEGIN SELECT RAISE(ABORT, 'refused by test'); END");
    handler_.check_supervision(t0 + 22);
    EXPECT_EQ(missing_flags(), "L1:0 L2:1 R1:1 ");
    EXPECT_EQ(settle(), (lines_t{signal_loss("end_device", 1001002), signal_loss("repeater", 2002001)}));
    EXPECT_EQ(log_lines(),
              (lines_t{"INFO supervision for lorivant 1 is missing",
                       "ERROR [MODEL] in execute(): db statement failed: constraint failed",
                       "ERROR [EVENTHANDLING] in handle_missing_supervision(): Error when writing missing "
                       "supervision to db : db statement failed: constraint failed",
                       "INFO supervision for lorivant 2 is missing",
                       "INFO supervision for repeater 1 is missing"}));

    // Nothing was left open: once the update goes through, the next run marks the device.
    db_.exec("DROP TRIGGER refuse_lorivant_1");
    handler_.check_supervision(t0 + 23);
    EXPECT_EQ(missing_flags(), "L1:1 L2:1 R1:1 ");
}

TEST_F(ehs_supervision_handler_test, a_failing_commit_is_logged_and_the_publication_before_it_stays) {
    // A deferred foreign key violation lets the update through and fails only the COMMIT.
    db_.exec(
        "CREATE TABLE audit_parent(id INTEGER PRIMARY KEY);"
        "CREATE TABLE audit_child(parent INTEGER REFERENCES audit_parent(id) DEFERRABLE INITIALLY DEFERRED);"
        "CREATE TRIGGER audit_lorivant AFTER UPDATE ON lorivant BEGIN INSERT INTO audit_child VALUES (99); "
        "END");
    add("lorivant", "(1, 1001001, 10, 1700000000, 0)");
    handler_.check_supervision(t0 + 22);
    EXPECT_EQ(missing_flags(), "L1:0 ");
    EXPECT_EQ(db_.rows("SELECT count(*) FROM audit_child"), "0\n");
    EXPECT_EQ(settle(), lines_t{signal_loss("end_device", 1001001)});
    EXPECT_EQ(log_lines(), (lines_t{"INFO supervision for lorivant 1 is missing",
                                    "ERROR [EVENTHANDLING] in handle_missing_supervision(): Error when "
                                    "writing missing supervision to db : \"COMMIT\" failed"}));
}

// Takes 500 retries of the 50 ms busy timeout, about 25 s.
TEST_F(ehs_supervision_handler_test,
       a_begin_that_cannot_get_the_lock_is_logged_and_leaves_the_device_unmarked) {
    add("lorivant", "(1, 1001001, 10, 1700000000, 0)");
    db_.exec("BEGIN IMMEDIATE"); // another process of the controller is writing
    handler_.check_supervision(t0 + 22);
    db_.exec("ROLLBACK");
    EXPECT_EQ(missing_flags(), "L1:0 ");
    EXPECT_EQ(settle(), lines_t{});
    EXPECT_EQ(log_lines(), (lines_t{"INFO supervision for lorivant 1 is missing",
                                    "ERROR [EVENTHANDLING] in handle_missing_supervision(): Error on begin "
                                    "transaction: \"BEGIN IMMEDIATE\" failed"}));

    handler_.check_supervision(t0 + 22);
    EXPECT_EQ(missing_flags(), "L1:1 ");
    EXPECT_EQ(settle(), lines_t{signal_loss("end_device", 1001001)});
}

} // namespace
