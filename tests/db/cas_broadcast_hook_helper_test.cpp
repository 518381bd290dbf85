#include "db/cas_broadcast_hook_helper.h"

#include "db/dao_sqlite3.h"
#include "db/sqlite3_statement.h"
#include "tests/support/test_files.h"
#include "tests/support/test_notify.h"
#include "tests/support/test_process.h"
#include "utils/ac_log.h"

#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/wait.h>

#include <chrono>
#include <cstring>
#include <sstream>
#include <thread>

namespace {

using namespace std::chrono_literals;

// The layout the other processes read, written out again so that a change of the shared header
// cannot pass unnoticed.
struct queue_message_t {
    long type;
    char table[64];
    char sql[1024];
};

std::string line(const std::string& table, const std::string& sql) {
    return table + "\t" + sql + "\n";
}
std::string doors(std::initializer_list<std::string> sqls) {
    std::string lines;
    for (const auto& sql : sqls)
        lines += line("doors", sql);
    return lines;
}
std::string update(int id) {
    return "UPDATE doors SET name='n" + std::to_string(id) + "' WHERE id=" + std::to_string(id);
}

// A file database of 100 doors with the three hooks installed as the connection wrapper does,
// and the real queue of this test's own IPC namespace.
class cas_broadcast_hook_test : public testing::Test {
protected:
    void SetUp() override {
        cas_broadcast_hook_helper_c::instance().init();
        queue_ = msgget(ftok("/dev/random", 82), 0);
        ASSERT_NE(queue_, -1);
        receive(); // left over by an earlier test of this process
        ASSERT_EQ(sqlite3_open(dir_.file("acs.db").c_str(), &db_), SQLITE_OK);
        exec("CREATE TABLE doors(id INTEGER PRIMARY KEY, name TEXT);"
             "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i<100) "
             "INSERT INTO doors SELECT i, 'door' FROM n");
        sqlite3_update_hook(db_, &cas_broadcast_hook_helper_c::update_hook, db_);
        sqlite3_commit_hook(db_, &cas_broadcast_hook_helper_c::commit_hook, db_);
        sqlite3_rollback_hook(db_, &cas_broadcast_hook_helper_c::rollback_hook, db_);
    }
    void TearDown() override { EXPECT_EQ(sqlite3_close(db_), SQLITE_OK); }

    void exec(const std::string& sql) {
        char* error = nullptr;
        EXPECT_EQ(sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, &error), SQLITE_OK)
            << (error ? error : sql);
        sqlite3_free(error);
    }
    sqlite3_stmt* prepare(const char* sql, sqlite3* db = nullptr) {
        sqlite3_stmt* stmt = nullptr;
        EXPECT_EQ(sqlite3_prepare_v2(db ? db : db_, sql, -1, &stmt, nullptr), SQLITE_OK) << sql;
        return stmt;
    }

    // Every queued message as "<table>\t<sql>\n"; waits until at least `expected` have come.
    // A wrong type or size shows in front of the line.
    std::string receive(size_t expected = 0) {
        std::string text;
        auto deadline = std::chrono::steady_clock::now() + 10s;
        for (size_t count = 0;;) {
            queue_message_t message{};
            ssize_t size = msgrcv(queue_, &message, sizeof message - sizeof message.type, 0, IPC_NOWAIT);
            if (size >= 0) {
                if (message.type != 1 || size != 1088)
                    text += "type " + std::to_string(message.type) + " size " + std::to_string(size) + ": ";
                text += line(std::string(message.table, strnlen(message.table, sizeof message.table)),
                             std::string(message.sql, strnlen(message.sql, sizeof message.sql)));
                ++count;
            } else if (count >= expected || std::chrono::steady_clock::now() > deadline) {
                return text;
            } else {
                std::this_thread::sleep_for(1ms);
            }
        }
    }

    temp_dir_c dir_;
    sqlite3* db_ = nullptr;
    int queue_ = -1;
};

// Each case runs on the doors left by the ones before it, so the delete of them all comes last.
TEST_F(cas_broadcast_hook_test, each_change_is_sent_once_at_its_commit) {
    const std::string table(100, 't');
    std::string insert = "INSERT INTO " + table + "(v) VALUES('";
    insert += std::string(2000 - insert.size() - 2, 'x') + "')";
    struct case_t {
        const char* name;
        std::vector<std::string> statements;
        std::string sent;
    } cases[] = {
        {"twice in one transaction", {"BEGIN", update(1), update(1), "COMMIT"}, doors({update(1)})},
        {"in two transactions", {update(1), update(1)}, doors({update(1), update(1)})},
        {"four between",
         {"BEGIN", update(1), update(2), update(3), update(4), update(5), update(1), "COMMIT"},
         doors({update(1), update(2), update(3), update(4), update(5)})},
        {"five between",
         {"BEGIN", update(1), update(2), update(3), update(4), update(5), update(6), update(1), "COMMIT"},
         doors({update(1), update(2), update(3), update(4), update(5), update(6), update(1)})},
        // A rollback sends nothing and forgets the texts, so the same change is sent again.
        {"rolled back", {"BEGIN", update(1), "ROLLBACK", update(1)}, doors({update(1)})},
        {"long table name and sql are cut",
         {"CREATE TABLE " + table + "(v TEXT)", insert},
         line(table.substr(0, 63), insert.substr(0, 1023))},
        {"table_hashes tables never",
         {"CREATE TABLE table_hashes(v); CREATE TABLE table_hashes_doors(v); CREATE TABLE table_hashe(v)",
          "INSERT INTO table_hashes VALUES(1)", "BEGIN", "INSERT INTO table_hashes_doors VALUES(2)",
          "INSERT INTO table_hashe VALUES(3)", "COMMIT"},
         line("table_hashe", "INSERT INTO table_hashe VALUES(3)")},
        {"a statement over all 100 rows once",
         {"DELETE FROM doors WHERE id > 0"},
         doors({"DELETE FROM doors WHERE id > 0"})},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        for (const auto& statement : c.statements)
            exec(statement);
        EXPECT_EQ(receive(), c.sent);
    }
}

// Watchdog before messages 0, 10, 20, ...: 10 and 11 pin the interval, 25 outgrows the queue,
// so the commit blocks in msgsnd until we read.
TEST_F(cas_broadcast_hook_test, long_commit_pets_the_watchdog_every_ten_messages) {
    notify_listener_c listener(dir_.file("notify"));
    setenv("NOTIFY_SOCKET", listener.path().c_str(), 1);
    for (auto [changes, watchdogs] : {std::pair{25, 3}, {10, 1}, {11, 2}}) {
        SCOPED_TRACE(changes);
        std::string expected;
        exec("BEGIN");
        for (int id = 1; id <= changes; ++id) {
            exec(update(id));
            expected += line("doors", update(id));
        }
        std::thread committer([this] { exec("COMMIT"); });
        EXPECT_EQ(receive(changes), expected);
        committer.join();
        for (int i = 0; i < watchdogs; ++i)
            EXPECT_EQ(listener.receive(0ms), "WATCHDOG=1");
        EXPECT_EQ(listener.receive(0ms), "");
    }
    unsetenv("NOTIFY_SOCKET");
}

// The DAOs keep their statements for the life of the connection: many are prepared at once, one
// may be in the middle of a read, another finished but not reset, one never run, and one
// statement writes several times with other values. Each message must carry the text and the
// values (quotes doubled) of the statement that made that change.
TEST_F(cas_broadcast_hook_test, sql_is_that_of_the_changing_statement_when_statements_are_reused) {
    dao_sqlite3_c database(&cas_broadcast_hook_helper_c::update_hook,
                           &cas_broadcast_hook_helper_c::rollback_hook,
                           &cas_broadcast_hook_helper_c::commit_hook);
    database.open(dir_.file("acs.db"), false);
    sqlite3_statement_cache_c cache;
    auto run = [&](const std::string& sql, auto... values) {
        auto stmt = cache.prepare(database, sql);
        stmt.reset();
        stmt.bind(1, values...);
        stmt.execute();
    };
    for (uint64_t id = 1; id <= 20; ++id)
        run("SELECT name, " + std::to_string(id) + " FROM doors WHERE id=?", id);
    const std::string insert = "INSERT INTO doors(id, name) VALUES(?, ?)";
    const std::string rename = "UPDATE doors SET name=? WHERE id=?";
    run(insert, uint64_t{300}, "back 'yard'"); // leaves its statement in the cache, reset
    EXPECT_EQ(receive(1), line("doors", "INSERT INTO doors(id, name) VALUES(300, 'back ''yard''')"));

    sqlite3_stmt* finished = prepare("UPDATE doors SET name=? WHERE id=50", database.get_handle());
    sqlite3_stmt* idle = prepare("DELETE FROM doors WHERE id=?", database.get_handle());
    sqlite3_bind_text(finished, 1, "raw", -1, SQLITE_STATIC);
    database.exec_with_retry("BEGIN IMMEDIATE", 0, 6);
    {
        auto reader = cache.prepare(database, "SELECT id FROM doors ORDER BY id");
        reader.reset();
        ASSERT_EQ(reader.execute(), db_row);            // in the middle of its rows until the commit
        EXPECT_EQ(sqlite3_step(finished), SQLITE_DONE); // and never reset
        run(insert, uint64_t{200}, "new");
        run(rename, "first", uint64_t{3});
        run(insert, uint64_t{201}, "newer");
        run(rename, "second", uint64_t{4});
    }
    database.exec_with_retry("COMMIT", 0, 7);
    sqlite3_finalize(finished);
    sqlite3_finalize(idle);
    EXPECT_EQ(receive(5), line("doors", "UPDATE doors SET name='raw' WHERE id=50") +
                              line("doors", "INSERT INTO doors(id, name) VALUES(200, 'new')") +
                              line("doors", "UPDATE doors SET name='first' WHERE id=3") +
                              line("doors", "INSERT INTO doors(id, name) VALUES(201, 'newer')") +
                              line("doors", "UPDATE doors SET name='second' WHERE id=4"));
    EXPECT_EQ(cache.size(), 23u);
}

TEST_F(cas_broadcast_hook_test, logs_queue_limits_and_failed_sends) {
    const std::string log = dir_.file("ehs.log");
    ac_log_init(AC_LOG_INFO);
    ac_log_add_file_sink(log.c_str(), 0);
    cas_broadcast_hook_helper_c::instance().init();
    ASSERT_EQ(msgctl(queue_, IPC_RMID, nullptr), 0);
    exec(update(1)); // the send fails, the commit stands
    ac_log_deinit();
    sqlite3_stmt* check = prepare("SELECT name FROM doors WHERE id=1");
    EXPECT_EQ(sqlite3_step(check), SQLITE_ROW);
    EXPECT_STREQ(reinterpret_cast<const char*>(sqlite3_column_text(check, 0)), "n1");
    sqlite3_finalize(check);

    // Without the time stamp, which is the first two words.
    std::istringstream lines(read_file(log));
    std::string text;
    for (std::string entry; std::getline(lines, entry);)
        text += entry.substr(entry.find(' ', entry.find(' ') + 1) + 1) + "\n";
    auto limit = [](const char* name) { return read_file(std::string("/proc/sys/kernel/") + name); };
    EXPECT_EQ(text, "INFO [CASCADINGSERVICE] in init(): msgq max bytes of message " + limit("msgmax") +
                        "INFO [CASCADINGSERVICE] in init(): msgq max message " + limit("msgmnb") +
                        "ERROR [CASCADINGSERVICE] in operator()(): failed to msgsnd: Invalid argument\n");
}

// The event-log insert is written over several lines; each change must still be one line.
TEST_F(cas_broadcast_hook_test, reader_tool_prints_one_line_per_message) {
    const std::string multiline = "UPDATE doors\n  SET name='a\tb\\c'\n WHERE id=2";
    const std::string escaped = "doors\tUPDATE doors\\n  SET name='a\\tb\\\\c'\\n WHERE id=2\n";
    struct case_t {
        std::vector<std::string> options;
        std::string printed;
        std::string left;
    } cases[] = {
        {{"-n", "2"}, line("doors", update(1)) + escaped, line("doors", update(3))},
        {{"-t", "0.2"}, line("doors", update(1)) + escaped + line("doors", update(3)), ""},
        {{"-q", "-t", "0.2"}, "3\n", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.options[0]);
        for (const std::string& sql :
             {std::string("BEGIN"), update(1), multiline, update(3), std::string("COMMIT")})
            exec(sql);
        const std::string out = dir_.file("out" + c.options[0]);
        std::vector<std::string> argv{EHS_BINARY_DIR "/ehs_broadcast_reader"};
        argv.insert(argv.end(), c.options.begin(), c.options.end());
        process_c reader(argv, {}, out);
        int status = reader.wait_for_exit(10s);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
        EXPECT_EQ(read_file(out), c.printed);
        EXPECT_EQ(receive(), c.left);
    }
}

} // namespace
