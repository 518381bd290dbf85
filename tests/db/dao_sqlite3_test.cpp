// The database layer on a file built from the schema; its raw connection is another process.
#include "db/sqlite3_statement.h"
#include "db/transaction_dao_sqlite3.h"
#include "db/transaction_guard.h"
#include "tests/support/test_database.h"
#include "tests/support/test_sqlite.h"
#include "utils/ac_log.h"

#include <gtest/gtest.h>

#include <future>

namespace {

class dao_sqlite3_test : public testing::Test {
protected:
    void SetUp() override {
        ac_log_init(AC_LOG_ERROR);
        ac_log_add_file_sink(dir_.file("ehs.log").c_str(), 0);
        sqlite3_busy_timeout(file_.raw(), 0); // the other process fails at once on a lock
        db_->add_pragma("foreign_keys=ON");
    }
    void TearDown() override { ac_log_deinit(); }
    std::string rows(const std::string& sql) { return sql_rows(db_->get_handle(), sql); }
    bool turn_is_free() { // whether another thread could begin a transaction on the connection now
        auto& turn = db_->transaction_mutex();
        return std::async(std::launch::async, [&] { return turn.try_lock() && (turn.unlock(), true); }).get();
    }
    temp_dir_c dir_;
    test_database_c file_; // languages 1 'en' and 2 'de'
    std::shared_ptr<dao_sqlite3_c> db_ = std::make_shared<dao_sqlite3_c>();
};

// Codes: 0 without a SQLite result, 3 open, 4 statement, 5 constraint, 6 busy (whatever code was
// asked for), 7 commit, else SQLite's own. A failed open leaves the connection closed.
TEST_F(dao_sqlite3_test, failures_carry_their_text_and_code) {
    dao_sqlite3_c bad_pragma;
    bad_pragma.add_pragma("(");
    write_file(dir_.file("empty.sql"), "");
    write_file(dir_.file("bad.sql"), "INSERT INTO languages VALUES(1);");
    std::string opens = db_failures(
        {[&] { db_->open_database(dir_.file("q\"t.db"), false); }, [&] { db_->open(dir_.path()); },
         [&] { bad_pragma.open(file_.path()); }, [&] { db_->open_database(dir_.file("empty.sql"), false); },
         [&] { db_->open_database(dir_.file("bad.sql"), false); }, [&] { bad_pragma.get_handle(); },
         // The SHA extension is not installed where the tests run.
         [&] { db_->open(dir_.file("empty.sql"), db_open_options_t::with_extension(true)); }});
    for (size_t at; (at = opens.find(dir_.path())) != std::string::npos;)
        opens.replace(at, dir_.path().size(), "D");
    EXPECT_EQ(
        opens,
        "db \"D/q\\\"t.db\" doesn't exist in filesystem|0\nfailed to open db: \"D\"unable to open "
        "database file|3\n"
        "db statement failed: SQL logic error|4\ncould not read source sql file: \"D/empty.sql\"|0\n"
        "could not initialize database from source sql file: no such table: languages|0\n"
        "invalid state: db isnt open yet|0\nfailed to load extension db: \"D/empty.sql\"SQL logic error|3\n");
    EXPECT_FALSE(db_->is_open(file_.path()) || db_->is_open(":memory:") || db_->in_transaction());
    db_->set_busy_timeout(5);
    db_->open(file_.path());
    auto duplicate = prepare(*db_, "INSERT INTO language VALUES(3, 'en', 'E')"),
         locked = prepare(*db_, "INSERT INTO language VALUES(5, 'es', 'Espanol')");
    EXPECT_EQ(
        db_failures({[&] { duplicate.bind(1, "a"); }, [&] { prepare(*db_, "SELEC 1"); },
                     [&] { db_->exec_with_retry("COMMIT", 1, 7); }, [&] { duplicate.execute(); },
                     [&] { duplicate.reset(); }, [&] { file_.exec("BEGIN IMMEDIATE"), locked.execute(); },
                     [&] { db_->exec_with_retry("BEGIN IMMEDIATE", 0, 9); }}),
        "failed to bind col(1)->column index out of range|25\ndb statement failed: SQL logic error|4\n"
        "\"COMMIT\" failed|7\ndb statement failed: constraint failed|5\n"
        "failed to reset statement->constraint failed|19\n" // the failed step once more
        "db statement failed: database is locked|6\n\"BEGIN IMMEDIATE\" failed|6\n");
    EXPECT_EQ(log_text(dir_.file("ehs.log")),
              "ERROR [MODEL] in sqlite3_statement_holder_t(): prepare statement failed: SQL logic error\n"
              "ERROR [MODEL] in rollback_transaction(): SQLite Error 1: cannot rollback - no transaction is "
              "active\n"
              "ERROR [MODEL] in set_busy_timeout(): failed set sqlite3 busy timeout: 21\n"
              "ERROR [MODEL] in sqlite3_statement_holder_t(): prepare statement failed: SQL logic error\n"
              "ERROR [MODEL] in execute(): db statement failed: constraint failed\n"
              "ERROR [MODEL] in execute(): db statement failed: database is locked\n");
}

// Every open runs the pragmas, leaves a short busy timeout and compiles the transaction statements
// anew. A lookup's reads share one deferred transaction, readable while another process writes.
TEST_F(dao_sqlite3_test, every_open_configures_the_connection_and_transactions) {
    transaction_dao_sqlite3_t tx(db_);
    for (int round = 0; round < 2; ++round) {
        db_->open(file_.path());
        EXPECT_EQ(rows("PRAGMA foreign_keys; PRAGMA busy_timeout") + db_->path(), "1\n50\n" + file_.path());
        tx.begin_transaction(0);
        EXPECT_TRUE(db_->in_transaction() && db_->is_open(file_.path()) && !turn_is_free());
        EXPECT_THROW(file_.exec("BEGIN IMMEDIATE"), std::runtime_error);
        EXPECT_FALSE(read_transaction_guard_c(tx).open()); // the reads belong to the transaction
        EXPECT_EQ(db_failure([&] { tx.begin_transaction(0); }), "\"BEGIN IMMEDIATE\" failed|6");
        rows("INSERT INTO hotkey(id) VALUES(" + std::to_string(round + 1) + ")");
        round ? tx.commit_transaction(0) : tx.rollback_transaction();
        EXPECT_TRUE(!db_->in_transaction() && turn_is_free());
        db_->close();
        EXPECT_TRUE(db_->path().empty() && !db_->is_open(file_.path()));
    }
    db_->open(file_.path());
    file_.exec("INSERT INTO hotkey(id) VALUES(3); BEGIN IMMEDIATE; INSERT INTO hotkey(id) VALUES(4)");
    {
        read_transaction_guard_c reads(tx);
        EXPECT_TRUE(reads.open() && db_->in_transaction() && !turn_is_free());
        EXPECT_FALSE(read_transaction_guard_c(tx).open()); // nested: already inside
        EXPECT_EQ(rows("SELECT id FROM hotkey"), "2\n3\n");
    }
    EXPECT_TRUE(!db_->in_transaction() && turn_is_free());
    db_->close(); // nothing can begin, nothing is thrown
    EXPECT_FALSE(read_transaction_guard_c(tx).open());
    db_->open(dir_.file("new.db"), db_open_options_t::allowing_missing());
    EXPECT_TRUE(file_exists(dir_.file("new.db")) && dao_sqlite3_c::is_memory_database("file::memory:"));
}

// A tag reads 1 to 10 bytes, a key 1 to 16 (to the front), other blobs empty. The cache keeps one
// statement per text and hands it back reset: no read lock stays on the shared file, no failure
// for the next use. A text in use gets one of its own; a reopened connection, new ones.
TEST_F(dao_sqlite3_test, statements_read_by_the_documented_rules_and_the_cache_reuses_them) {
    using key_t = std::array<uint8_t, 16>;
    auto text = [](auto value) { return std::to_string(value); };
    db_->open(file_.path());
    sqlite3_statement_cache_c cache;
    const std::string sql = "SELECT 2, 0, X'', X'01', X'0102030405060708090A', X'0102030405060708090A0B', "
                            "X'0102030405060708090A0B0C0D0E0F10', X'0102030405060708090A0B0C0D0E0F1011'";
    std::string seen;
    sqlite3_stmt* first = nullptr;
    {
        auto read = cache.prepare(*db_, sql);
        first = read.holder->stmt;
        ASSERT_EQ(read.execute(), db_row);
        read.fetch_part_row<bool, bool>(0, [&](bool two, bool zero) { seen = text(two) + text(zero); });
        for (int c = 2; c < 8; ++c) {
            read.fetch_part_row<ac_tag_uid_t>(c, [&](ac_tag_uid_t t) { seen += " " + text(t.length()); });
            read.fetch_part_row<key_t>(c, [&](key_t k) { seen += "/" + text(k[0]) + "." + text(k[15]); });
        }
        EXPECT_NE(cache.prepare(*db_, sql).holder->stmt, first);
    }
    EXPECT_EQ(seen, "10 0/0.0 1/1.0 10/1.0 0/1.0 0/1.16 0/0.0");
    file_.exec("BEGIN EXCLUSIVE; COMMIT");
    EXPECT_EQ(cache.prepare(*db_, sql).holder->stmt, first);
    auto insert = [&](uint64_t id, const char* code) {
        auto stmt = cache.prepare(*db_, "INSERT INTO language VALUES(?, ?, 'x')");
        stmt.reset();
        stmt.bind(1, id, code);
        stmt.execute();
    };
    EXPECT_EQ(db_failures({[&] { insert(4, "en"); }, [&] { insert(5, "en"); }, [&] { insert(6, "es"); },
                           [&] {
                               cache.prepare(*db_, "SELECT * FROM nowhere WHERE none = 111");
                           }}), // as long as the insert
              "db statement failed: constraint failed|5\ndb statement failed: constraint failed|5\n|-1\n"
              "db statement failed: SQL logic error|4\n");
    db_->close();
    db_->open(file_.path());
    EXPECT_EQ(sqlite3_db_handle(cache.prepare(*db_, sql).holder->stmt), db_->get_handle());
    EXPECT_EQ(cache.size(), 2u); // a text that fails to prepare is not kept
}

} // namespace
