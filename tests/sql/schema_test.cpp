// sql/schema.sql and sql/demo.sql: safe to run again, nested in a caller's transaction,
// consistent, cascading, and indexed for the event log's filtered statements. What the rows mean
// is checked where the DAOs read them.
#include "dao/event_log_dao.h"
#include "db/dao_sqlite3.h"
#include "tests/support/test_database.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

namespace {

TEST(schema_test, runs_again_without_change_nested_in_a_transaction) {
    for (auto content : {test_database_c::SCHEMA_ONLY, test_database_c::WITH_DEMO}) {
        test_database_c db(content);
        // The definitions and rows of every table.
        const std::string dump =
            "SELECT type, name, sql FROM sqlite_master ORDER BY name; " +
            db.rows("SELECT 'SELECT * FROM ' || name || ';' FROM sqlite_master WHERE type='table'");
        const std::string before = db.rows(dump);
        db.exec("BEGIN;" + test_database_c::schema_sql() + (content ? test_database_c::demo_sql() : "") +
                "COMMIT;");
        EXPECT_EQ(db.rows(dump), before) << content;
        EXPECT_EQ(db.rows("PRAGMA foreign_key_check; PRAGMA integrity_check"), "ok\n") << content;
    }
}

TEST(schema_test, deleting_an_event_takes_its_source_and_reactions_along) {
    test_database_c db(test_database_c::WITH_DEMO);
    db.exec("PRAGMA foreign_keys=ON; DELETE FROM event WHERE id IN (1, 2, 3)");
    EXPECT_EQ(db.rows("SELECT (SELECT count(*) FROM associated_event_source WHERE event_id IN (1, 2, 3)), "
                      "(SELECT count(*) FROM lorivant_event_source WHERE associated_event_source_id=51), "
                      "(SELECT count(*) FROM camera_event_reaction WHERE event_id IN (1, 2)), (SELECT "
                      "count(*) FROM email_event_reaction_assoc WHERE email_ev_reaction_id=301), (SELECT "
                      "count(*) FROM lorivant_event_reaction WHERE id=401); PRAGMA foreign_key_check"),
              "0|0|0|0|0\n");
}

// The log may hold a million rows: the statements that filter it must not read it row by row.
TEST(schema_test, event_log_statements_that_filter_use_an_index) {
    test_database_c db;
    db.exec("INSERT INTO event_log(datetime, message_id, event_log_group_id, slave_id, identifier) VALUES "
            "(1, 7, 4, 3, 1), (1, 7, 4, 3, 5)");
    // A connection of the test's own, traced, so that it sees each statement the DAO runs.
    auto connection = std::make_shared<dao_sqlite3_c>();
    connection->open(db.path());
    std::vector<std::string> statements;
    auto trace = [](unsigned, void* seen, void* stmt, void*) {
        static_cast<std::vector<std::string>*>(seen)->push_back(
            sqlite3_sql(static_cast<sqlite3_stmt*>(stmt)));
        return 0;
    };
    sqlite3_trace_v2(connection->get_handle(), SQLITE_TRACE_STMT, trace, &statements);
    auto log = dao_implementation<event_log_dao_t>::create(connection);
    std::vector<uint64_t> missing;
    log->get_max_identifier_of_slave(3);
    log->get_row_count_since_identifier(4);
    log->get_datetime_of_most_recent_event_log_of_lorivant(1);
    log->get_datetime_of_most_recent_event_log_of_repeater(1);
    log->get_missing_logs_by_slave(3, 10, 0, 5, missing); // two statements
    log->delete_event_logs_before(0);
    log->delete_event_logs_below_identifier(0);
    ASSERT_EQ(statements.size(), 8u);
    for (const std::string& sql : statements)
        EXPECT_EQ(db.rows("EXPLAIN QUERY PLAN " + sql).find("SCAN"), std::string::npos) << sql;
}

} // namespace
