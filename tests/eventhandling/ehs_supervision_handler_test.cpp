// The supervision check driven with chosen times against a schema-built database; the peer
// records the signal-loss events it publishes through the shared client.
#include "tests/eventhandling/handler_test_fixture.h"

#include <algorithm>
#include <ctime>

namespace {

constexpr uint64_t t0 = 1700000000;

std::string lost(const char* kind, uint64_t hardware_id) {
    return std::string("events/") + kind + "/signal_loss {\"hardware_id\":" + std::to_string(hardware_id) +
           "}";
}
std::string missing(const char* kind, int id) {
    return std::string("INFO supervision for ") + kind + " " + std::to_string(id) + " is missing";
}

class ehs_supervision_handler_test : public ehs_handler_test_c {
protected:
    ehs_supervision_handler_test()
        : ehs_handler_test_c(test_database_c::SCHEMA_ONLY, {"events/#", "event_reactions/#"}) {
        connect();
    }
    // Door components (L) and repeaters (R): id, hardware id or serial number, supervision period,
    // time of the last report, marked missing. Ids differ from hardware ids so that a mix-up shows.
    void devices(const std::string& lorivants, const std::string& repeaters) {
        db_.exec("DELETE FROM lorivant; DELETE FROM repeater; INSERT INTO lorivant(id, hardware_id, "
                 "supervision_period, supervision_time, supervision_missing) VALUES " +
                 lorivants +
                 "; INSERT INTO repeater(id, serial_number, supervision_period, supervision_time, "
                 "supervision_missing) VALUES " +
                 repeaters);
    }
    // One run at `now`: the marks ("L<id>:<missing> " per door component, then "R<id>:..." per
    // repeater), what was published and what was logged.
    void check(uint64_t now, const std::string& marks, const lines_t& published, const lines_t& logged) {
        handler_.check_supervision(now);
        std::string flags = db_.rows("SELECT 'L'||id||':'||supervision_missing FROM lorivant ORDER BY id") +
                            db_.rows("SELECT 'R'||id||':'||supervision_missing FROM repeater ORDER BY id");
        std::replace(flags.begin(), flags.end(), '\n', ' ');
        EXPECT_EQ(flags, marks) << now - t0;
        EXPECT_EQ(peer_.settle(), published) << now - t0;
        EXPECT_EQ(log(), logged) << now - t0;
    }

    ehs_supervision_handler_c handler_{client_, db_.registry(), retries};
};

TEST_F(ehs_supervision_handler_test,
       devices_silent_beyond_2_1_periods_are_marked_once_and_published_in_mode_1) {
    db_.exec("UPDATE settings SET value='0' WHERE key='supervision_mode'");
    // 2.1 periods in single precision, truncated: 100 s give 209.99998, so 209. Period 0: missing
    // once time passes.
    for (const auto& [period, allowed] : {std::pair<uint64_t, uint64_t>{10, 21}, {100, 209}, {0, 0}}) {
        SCOPED_TRACE(period);
        EXPECT_EQ(ehs_supervision_handler_c::allowed_silence(period), allowed);
        const std::string p = std::to_string(period);
        devices("(1, 1001001, " + p + ", 1700000000, 0)", "(1, 2002001, " + p + ", 1700000000, 0)");
        check(t0 + allowed, "L1:0 R1:0 ", {}, {});
        check(t0 + allowed + 1, "L1:1 R1:1 ", {}, {missing("lorivant", 1), missing("repeater", 1)});
    }
    // A newer event-log row of the door component is a sign of life too (7 was used at t0+100,
    // 8 only before its last report); 9 and 4 are marked already, 5 reported in the future.
    db_.exec(
        "UPDATE settings SET value='1' WHERE key='supervision_mode'; INSERT INTO event_log(datetime, "
        "message_id, event_log_group_id, lorivant_id) VALUES (1700000100, 22, 4, 7), (1699999950, 22, 4, 8)");
    devices(
        "(7, 1001001, 10, 1700000000, 0), (8, 1001002, 10, 1700000000, 0), (9, 1001003, 10, 1700000000, 1)",
        "(3, 2002001, 10, 1700000000, 0), (4, 2002002, 10, 1700000000, 1), (5, 2002003, 10, 1800000000, 0)");
    check(t0 + 121, "L7:0 L8:1 L9:1 R3:1 R4:1 R5:0 ",
          {lost("end_device", 1001002), lost("repeater", 2002001)},
          {missing("lorivant", 8), missing("repeater", 3)});
    check(t0 + 122, "L7:1 L8:1 L9:1 R3:1 R4:1 R5:0 ", {lost("end_device", 1001001)},
          {missing("lorivant", 7)});
    // The mode is read at every run: anything but '1' marks without publishing.
    for (const char* mode : {"UPDATE settings SET value='on' WHERE key='supervision_mode'",
                             "DELETE FROM settings WHERE key='supervision_mode'"}) {
        db_.exec(std::string(mode) + "; UPDATE lorivant SET supervision_missing=0 WHERE id=7");
        check(t0 + 122, "L7:1 L8:1 L9:1 R3:1 R4:1 R5:0 ", {}, {missing("lorivant", 7)});
    }
    // INFO passes only through the uncategorised entry: the threshold is ERROR. Against the clock:
    db_.exec("INSERT INTO settings(key, value) VALUES ('supervision_mode', '1')");
    devices("(1, 1001001, 600, 1700000000, 0)",
            "(1, 2002001, 600, " + std::to_string(time(nullptr) + 60) + ", 0)");
    handler_.check_supervision();
    EXPECT_EQ(peer_.settle(), lines_t{lost("end_device", 1001001)});
}

TEST_F(ehs_supervision_handler_test, a_failure_is_logged_per_device_and_the_other_devices_are_checked) {
    devices("(1, 1001001, 10, 1700000000, 0), (2, 1001002, 10, 1700000000, 0)",
            "(1, 2002001, 10, 1700000000, 0)");
    const std::string failed = "ERROR [EVENTHANDLING] in handle_missing_supervision(): ",
                      not_written = failed + "Error when writing missing supervision to db : ";
    // Door component 1 alone refuses the update.
    db_.exec("CREATE TRIGGER refuse BEFORE UPDATE ON lorivant WHEN OLD.id = 1 "
             "BEGIN SELECT RAISE(ABORT, 'refused by test'); END");
    check(t0 + 22, "L1:0 L2:1 R1:1 ", {lost("end_device", 1001002), lost("repeater", 2002001)},
          {missing("lorivant", 1), "ERROR [MODEL] in execute(): db statement failed: constraint failed",
           not_written + "db statement failed: constraint failed", missing("lorivant", 2),
           missing("repeater", 1)});
    // A deferred foreign key violation lets the update through and fails only the COMMIT: the
    // publication before it stays.
    db_.exec(
        "DROP TRIGGER refuse; CREATE TABLE audit_parent(id INTEGER PRIMARY KEY);"
        "CREATE TABLE audit_child(parent INTEGER REFERENCES audit_parent(id) DEFERRABLE INITIALLY DEFERRED);"
        "CREATE TRIGGER audit AFTER UPDATE ON lorivant BEGIN INSERT INTO audit_child VALUES (99); END");
    check(t0 + 22, "L1:0 L2:1 R1:1 ", {lost("end_device", 1001001)},
          {missing("lorivant", 1), not_written + "\"COMMIT\" failed"});
    // Another process holds the write lock beyond the retries: nothing to roll back.
    db_.exec("DROP TRIGGER audit; BEGIN IMMEDIATE");
    check(t0 + 22, "L1:0 L2:1 R1:1 ", {},
          {missing("lorivant", 1), failed + "Error on begin transaction: \"BEGIN IMMEDIATE\" failed"});
    // Reads that fail: the mode (off then), the door component's event-log rows, the devices.
    // Nothing was left open: the run marks the device.
    db_.exec("ROLLBACK; ALTER TABLE settings RENAME TO moved; ALTER TABLE event_log RENAME TO moved_log");
    const std::string
        run = "ERROR [MODEL] in execute(): db statement failed: SQL logic error",
        check_failed = "ERROR [EVENTHANDLING] in check_supervision(): db statement failed: SQL logic error";
    check(t0 + 22, "L1:1 L2:1 R1:1 ", {},
          {run, check_failed, run,
           "ERROR [EVENTHANDLING] in check_supervision_of_lorivant(): db statement failed: SQL logic error",
           missing("lorivant", 1)});
    db_.exec("ALTER TABLE lorivant RENAME TO moved_l; ALTER TABLE repeater RENAME TO moved_r");
    handler_.check_supervision(t0 + 22);
    EXPECT_EQ(log(), (lines_t{run, check_failed, run, check_failed, run, check_failed}));
}

} // namespace
