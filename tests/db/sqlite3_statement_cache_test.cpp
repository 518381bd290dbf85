#include "db/sqlite3_statement.h"

#include "db/dao_sqlite3.h"
#include "tests/db/db_test_util.h"
#include "tests/support/test_files.h"

#include <gtest/gtest.h>

namespace {

class sqlite3_statement_cache_test : public ::testing::Test {
protected:
    void SetUp() override {
        path_ = dir_.file("acs.db");
        raw_connection_c(path_).exec("CREATE TABLE parent(id INTEGER PRIMARY KEY, name TEXT UNIQUE);"
                                     "INSERT INTO parent VALUES(1, 'a'), (2, 'b'), (3, 'c')");
        db_.open(path_, false);
    }

    // The ids a statement of the cache reads from its first row on, as "1 2 3 ".
    std::string ids(const std::string& sql) {
        auto select = cache_.prepare(db_, sql);
        select.reset();
        std::string seen;
        while (select.execute() == db_row)
            select.fetch_part_row<uint64_t>(0, [&](uint64_t id) { seen += std::to_string(id) + " "; });
        return seen;
    }

    temp_dir_c dir_;
    std::string path_;
    dao_sqlite3_c db_;
    sqlite3_statement_cache_c cache_;
};

TEST_F(sqlite3_statement_cache_test, one_statement_per_text) {
    sqlite3_stmt* first = cache_.prepare(db_, "SELECT id FROM parent").holder->stmt;
    const std::string assembled = std::string("SELECT id ") + "FROM parent";
    EXPECT_EQ(cache_.prepare(db_, assembled).holder->stmt, first);
    EXPECT_NE(cache_.prepare(db_, "SELECT name FROM parent").holder->stmt, first);
    EXPECT_EQ(failure([&] { cache_.prepare(db_, "SELEC 1"); }), "db statement failed: SQL logic error|4");
    EXPECT_EQ(cache_.size(), 2u); // a text that fails to prepare is not kept
}

// A read stopped after its first row would otherwise keep the shared file locked against the
// other processes' writers until the statement's next use.
TEST_F(sqlite3_statement_cache_test, a_statement_goes_back_reset_and_holds_no_lock) {
    {
        auto select = cache_.prepare(db_, "SELECT id FROM parent ORDER BY id");
        select.reset();
        ASSERT_EQ(select.execute(), db_row);
    }
    raw_connection_c other(path_);
    EXPECT_NO_THROW(other.exec("BEGIN EXCLUSIVE; DELETE FROM parent WHERE id=3; COMMIT"));
    EXPECT_EQ(ids("SELECT id FROM parent ORDER BY id"), "1 2 ");
}

// The DAOs' way: prepare, reset, bind, execute. A reused statement must fail and recover exactly
// as one prepared for the call, not report the previous failure again from reset().
TEST_F(sqlite3_statement_cache_test, failures_read_as_those_of_a_fresh_statement) {
    std::string outcomes;
    for (uint64_t id : {4, 5, 6}) {
        auto insert = cache_.prepare(db_, "INSERT INTO parent VALUES(?, ?)");
        outcomes += failure([&] {
                        insert.reset();
                        insert.bind(1, id, id == 6 ? "new" : "a"); // 'a' is taken
                        insert.execute();
                    }) +
                    "\n";
    }
    EXPECT_EQ(outcomes, "db statement failed: constraint failed|5\n"
                        "db statement failed: constraint failed|5\n"
                        "no exception\n");
    EXPECT_EQ(rows(db_.get_handle(), "SELECT id, name FROM parent WHERE id > 3"), "6|new\n");
}

TEST_F(sqlite3_statement_cache_test, bindings_of_one_use_do_not_reach_the_next) {
    {
        auto select = cache_.prepare(db_, "SELECT ?, ?");
        select.reset();
        select.bind(1, "x", "y");
    }
    auto select = cache_.prepare(db_, "SELECT ?, ?");
    select.reset();
    select.bind(1, "x");
    ASSERT_EQ(select.execute(), db_row);
    select.fetch_part_row<std::string, std::string>(
        0, [](std::string first, std::string second) { EXPECT_EQ(first + "|" + second, "x|"); });
}

TEST_F(sqlite3_statement_cache_test, a_text_still_in_use_gets_a_statement_of_its_own) {
    const std::string sql = "SELECT id FROM parent ORDER BY id";
    std::string seen;
    sqlite3_stmt* outer_stmt = nullptr;
    {
        auto outer = cache_.prepare(db_, sql);
        outer_stmt = outer.holder->stmt;
        outer.reset();
        while (outer.execute() == db_row)
            outer.fetch_part_row<uint64_t>(0, [&](uint64_t id) {
                seen += std::to_string(id) + ":" + ids(sql) + "| ";
                EXPECT_NE(cache_.prepare(db_, sql).holder->stmt, outer_stmt);
            });
    }
    EXPECT_EQ(seen, "1:1 2 3 | 2:1 2 3 | 3:1 2 3 | ");
    EXPECT_EQ(cache_.prepare(db_, sql).holder->stmt, outer_stmt);
    EXPECT_EQ(cache_.size(), 1u);
}

TEST_F(sqlite3_statement_cache_test, a_reopened_connection_gets_its_statements_prepared_again) {
    EXPECT_EQ(ids("SELECT id FROM parent ORDER BY id"), "1 2 3 ");
    db_.close();
    EXPECT_EQ(failure([&] { cache_.prepare(db_, "SELECT id FROM parent ORDER BY id"); }),
              "invalid state: db isnt open yet|0");
    db_.open(path_, false);
    EXPECT_EQ(sqlite3_db_handle(cache_.prepare(db_, "SELECT id FROM parent ORDER BY id").holder->stmt),
              db_.get_handle());
    EXPECT_EQ(ids("SELECT id FROM parent ORDER BY id"), "1 2 3 ");
    EXPECT_EQ(cache_.size(), 1u);
}

} // namespace
