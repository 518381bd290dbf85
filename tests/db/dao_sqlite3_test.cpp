#include "db/dao_sqlite3.h"

#include "db/db_exception.h"
#include "tests/db/db_test_util.h"
#include "tests/support/test_files.h"
#include "utils/ac_log.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

class dao_sqlite3_test : public ::testing::Test {
protected:
    void SetUp() override {
        path_ = dir_.file("acs.db");
        raw_connection_c(path_).exec("CREATE TABLE t(id INTEGER PRIMARY KEY, v TEXT)");
    }

    temp_dir_c dir_;
    std::string path_;
    dao_sqlite3_c db_;
};

TEST_F(dao_sqlite3_test, missing_file_throws_before_anything_is_created) {
    struct {
        std::string path, quoted;
    } cases[] = {{dir_.file("absent.db"), "\"" + dir_.file("absent.db") + "\""},
                 {dir_.file("quo\"te.db"), "\"" + dir_.path() + "/quo\\\"te.db\""},
                 {"file::memory:?cache=shared", "\"file::memory:?cache=shared\""}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path);
        EXPECT_EQ(failure([&] { db_.open(c.path, false); }),
                  "db " + c.quoted + " doesn't exist in filesystem|0");
        EXPECT_FALSE(file_exists(c.path));
        EXPECT_FALSE(db_.is_open(c.path));
    }
    db_.open(dir_.file("created.db"), true, false); // allow_missing: the caller wants a new file
    EXPECT_TRUE(db_.is_open(dir_.file("created.db")));
    for (const char* name : {":memory:", "file::memory:"}) { // never on disk
        SCOPED_TRACE(name);
        EXPECT_TRUE(dao_sqlite3_c::is_memory_database(name));
        db_.open(name, false);
        EXPECT_TRUE(db_.is_open(name));
    }
    EXPECT_FALSE(dao_sqlite3_c::is_memory_database(":MEMORY:"));
}

TEST_F(dao_sqlite3_test, open_failures_carry_code_3_and_leave_the_wrapper_closed) {
    EXPECT_EQ(failure([&] { db_.open(dir_.path(), false); }),
              "failed to open db: \"" + dir_.path() + "\"unable to open database file|3");
    EXPECT_EQ(failure([&] { db_.get_handle(); }), "invalid state: db isnt open yet|0");
    if (file_exists(dao_sqlite3_c::sha_extension_path)) GTEST_SKIP() << "the SHA extension is installed";
    EXPECT_EQ(failure([&] { db_.open(path_, true); }),
              "failed to load extension db: \"" + path_ + "\"SQL logic error|3");
    EXPECT_EQ(db_.path(), "");
}

// The transaction statements are compiled once per connection: after a reopen they must run on
// the new connection, not on the closed one.
TEST_F(dao_sqlite3_test, every_open_runs_the_pragmas_and_moves_the_transaction_statements) {
    db_.add_pragma("foreign_keys=ON");
    for (int round = 0; round < 2; ++round) {
        SCOPED_TRACE(round);
        db_.open(path_, false);
        EXPECT_EQ(db_.path(), path_);
        EXPECT_EQ(rows(db_.get_handle(), "PRAGMA foreign_keys; PRAGMA busy_timeout"), "1\n50\n");
        db_.exec_with_retry("BEGIN IMMEDIATE", 0, 6);
        EXPECT_TRUE(db_.in_transaction());
        EXPECT_THROW(raw_connection_c(path_).exec("BEGIN IMMEDIATE"), std::runtime_error); // locked
        db_.exec_with_retry("COMMIT", 0, 7);
        EXPECT_FALSE(db_.in_transaction());
        db_.close();
        db_.close();
        EXPECT_EQ(db_.path(), "");
    }
}

TEST_F(dao_sqlite3_test, rejected_pragma_throws_code_4_after_rollback) {
    const std::string log = dir_.file("ehs.log");
    ac_log_init(AC_LOG_ERROR);
    ac_log_add_file_sink(log.c_str(), 0);
    db_.add_pragma("foreign_keys=ON");
    db_.add_pragma("(");
    EXPECT_EQ(failure([&] { db_.open(path_, false); }), "db statement failed: SQL logic error|4");
    ac_log_deinit();
    const std::string text = read_file(log);
    const auto prepare_line =
        text.find("in sqlite3_statement_holder_t(): prepare statement failed: SQL logic error");
    const auto rollback_line =
        text.find("in rollback_transaction(): SQLite Error 1: cannot rollback - no transaction is active");
    EXPECT_NE(prepare_line, std::string::npos) << text;
    EXPECT_NE(rollback_line, std::string::npos) << text;
    EXPECT_LT(prepare_line, rollback_line);
    EXPECT_EQ(failure([&] { db_.get_handle(); }), "invalid state: db isnt open yet|0");
}

TEST_F(dao_sqlite3_test, locked_database_is_tried_retries_plus_one_times) {
    db_.open(path_, false);
    raw_connection_c other(path_);
    other.exec("BEGIN IMMEDIATE");
    for (uint32_t retries : {0u, 2u}) {
        SCOPED_TRACE(retries);
        statement_counter_t attempts(db_.get_handle(), "BEGIN IMMEDIATE");
        EXPECT_EQ(failure([&] { db_.exec_with_retry("BEGIN IMMEDIATE", retries, 9); }),
                  "\"BEGIN IMMEDIATE\" failed|6");
        EXPECT_EQ(attempts.count, static_cast<int>(retries) + 1);
    }
}

TEST_F(dao_sqlite3_test, commit_reports_6_when_busy_and_the_given_code_otherwise) {
    db_.open(path_, false);
    EXPECT_EQ(failure([&] { db_.exec_with_retry("COMMIT", 1, 7); }), "\"COMMIT\" failed|7"); // none open

    exec(db_.get_handle(), "INSERT INTO t VALUES(1, 'a'); BEGIN IMMEDIATE; INSERT INTO t VALUES(2, 'b')");
    raw_connection_c reader(path_);
    sqlite3_stmt* read = nullptr;
    sqlite3_prepare_v2(reader.get(), "SELECT v FROM t", -1, &read, nullptr);
    ASSERT_EQ(sqlite3_step(read), SQLITE_ROW); // the reader now holds a SHARED lock
    EXPECT_EQ(failure([&] { db_.exec_with_retry("COMMIT", 1, 7); }), "\"COMMIT\" failed|6");
    sqlite3_finalize(read);
    db_.exec_with_retry("COMMIT", 0, 7);
    EXPECT_EQ(rows(reader.get(), "SELECT * FROM t"), "1|a\n2|b\n");
}

// The hooks record what they were called with; user data must be the connection itself.
std::vector<std::string> hook_calls;
void* hook_expected_connection = nullptr;
std::string from(void* connection) {
    return connection == hook_expected_connection ? "connection" : "other";
}
void on_update(void* connection, int operation, const char* database, const char* table, long long rowid) {
    hook_calls.push_back("update " + from(connection) + " " + std::to_string(operation) + " " + database +
                         "." + table + " " + std::to_string(rowid));
}
void on_rollback(void* connection) {
    hook_calls.push_back("rollback " + from(connection));
}
int on_commit(void* connection) {
    hook_calls.push_back("commit " + from(connection));
    return 0;
}

TEST_F(dao_sqlite3_test, hooks_are_installed_after_configure_with_the_connection_as_user_data) {
    hook_calls.clear();
    dao_sqlite3_c db(on_update, on_rollback, on_commit);
    db.open(path_, false);
    hook_expected_connection = db.get_handle();
    exec(db.get_handle(), "INSERT INTO t VALUES(7, 'a')");
    exec(db.get_handle(), "BEGIN; DELETE FROM t WHERE id=7; ROLLBACK");
    const std::vector<std::string> expected = {"update connection 18 main.t 7", "commit connection",
                                               "update connection 9 main.t 7", "rollback connection"};
    EXPECT_EQ(hook_calls, expected);
}

TEST_F(dao_sqlite3_test, sql_script_fills_an_in_memory_database) {
    const std::string script = dir_.file("demo.sql");
    write_file(script, "CREATE TABLE language(id, code); INSERT INTO language VALUES(1, 'en');");
    db_.open_database(script, false);
    EXPECT_TRUE(db_.is_open(":memory:"));
    EXPECT_EQ(rows(db_.get_handle(), "SELECT * FROM language"), "1|en\n");

    write_file(script, "CREATE TABLE language(id, code); INSERT INTO languages VALUES(1, 'en');");
    EXPECT_EQ(failure([&] { db_.open_database(script, false); }),
              "could not initialize database from source sql file: no such table: languages|0");
    for (const auto& unreadable : {dir_.file("absent.sql"), dir_.file("empty.sql")}) {
        SCOPED_TRACE(unreadable);
        write_file(dir_.file("empty.sql"), "");
        EXPECT_EQ(failure([&] { db_.open_database(unreadable, false); }),
                  "could not read source sql file: \"" + unreadable + "\"|0");
    }
    db_.open_database(path_, false); // no ".sql": the file itself
    EXPECT_EQ(db_.path(), path_);
}

} // namespace
