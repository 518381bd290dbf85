#include "db/db_repair.h"

#include "tests/support/test_database.h"
#include "tests/support/test_expect.h"
#include "tests/support/test_sqlite.h"
#include "tests/support/test_torn_commit.h"
#include "utils/ac_log.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

namespace {

const std::string found_line =
    "ERROR [MODEL] in repair(): database damage found: index event_log_datetime out "
    "of step with its table, rebuilt with REINDEX";

class db_repair_test : public testing::Test {
protected:
    void SetUp() override {
        ac_log_init(AC_LOG_ERROR);
        ac_log_add_file_sink(log_.c_str(), 10000);
        db_.exec("INSERT INTO event_log(datetime, message_id, event_log_group_id) VALUES(1700000000, 40, 4)");
    }
    void TearDown() override { ac_log_deinit(); }

    void open() { connection_.open(db_.path()); }
    std::string integrity() { return fresh_value(db_.path(), "PRAGMA integrity_check"); }

    test_database_c db_;
    temp_dir_c dir_;
    std::string log_ = dir_.file("ehs.log");
    dao_sqlite3_c connection_;
};

// Both ways a kill can tear a commit of one event-log row apart are found and repaired.
TEST_F(db_repair_test, an_index_torn_from_its_table_is_found_and_rebuilt_with_one_error_line) {
    for (torn_e how : {torn_e::index_behind, torn_e::table_behind}) {
        SCOPED_TRACE(how == torn_e::index_behind ? "index behind" : "table behind");
        connection_.close();
        tear_commit(
            db_.path(),
            "INSERT INTO event_log(datetime, message_id, event_log_group_id) VALUES(1800000000, 41, 4)",
            "event_log_datetime", how);
        ASSERT_NE(integrity(), "ok");
        open();
        EXPECT_EQ(db_repair_c(connection_).damaged_indexes(), std::vector<std::string>{"event_log_datetime"});
        EXPECT_TRUE(db_repair_c(connection_).repair(2, 2, false));
        EXPECT_EQ(integrity(), "ok");
        EXPECT_TRUE(db_repair_c(connection_).damaged_indexes().empty());
    }
    EXPECT_EQ(log_lines(log_), (std::vector<std::string>{found_line, found_line}));
}

TEST_F(db_repair_test, a_sound_file_is_left_alone_and_damage_beyond_reindex_is_reported_once) {
    open();
    EXPECT_TRUE(db_repair_c(connection_).damaged_indexes().empty());
    EXPECT_TRUE(db_repair_c(connection_).repair(2, 2, false));
    EXPECT_EQ(log_text(log_), "");
    // A statement failed as corrupt, yet no index is out of step: REINDEX cannot help.
    EXPECT_FALSE(db_repair_c(connection_).repair(2, 2, true));
    EXPECT_FALSE(db_repair_c(connection_).repair(2, 2, true));
    EXPECT_EQ(log_text(log_),
              "ERROR [MODEL] in repair(): database damage that REINDEX cannot repair: restore " + db_.path() +
                  " from a backup\n");
    EXPECT_EQ(db_.rows("SELECT count(*) FROM event_log"), "1\n");
    connection_.close(); // a check that cannot run says so
    EXPECT_FALSE(db_repair_c(connection_).repair(2, 2, false));
    EXPECT_EQ(log_lines(log_).back(),
              "ERROR [MODEL] in repair(): database check failed: invalid state: db isnt open yet");
}

} // namespace
