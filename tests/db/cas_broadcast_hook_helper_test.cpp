// The change broadcast as the service makes it: real transactions, the queue of a private namespace.
#include "db/cas_broadcast_hook_helper.h"
#include "db/cas_broadcast_message.h"
#include "db/sqlite3_statement.h"
#include "db/transaction_dao_sqlite3.h"
#include "tests/support/test_database.h"
#include "tests/support/test_expect.h"
#include "tests/support/test_notify.h"
#include "tests/support/test_process.h"
#include "utils/ac_log.h"

#include <gtest/gtest.h>
#include <sys/msg.h>

namespace {

using namespace std::chrono_literals;
using hooks = cas_broadcast_hook_helper_c;

std::vector<std::string> updates(std::initializer_list<int> hotkeys) {
    std::vector<std::string> sql;
    for (int id : hotkeys)
        sql.push_back("UPDATE hotkey SET name='n" + std::to_string(id) + "' WHERE id=" + std::to_string(id));
    return sql;
}
std::string sent(const std::vector<std::string>& statements, const std::string& table = "hotkey") {
    std::string lines;
    for (const std::string& sql : statements)
        lines += table + "\t" + sql + "\n";
    return lines;
}

class cas_broadcast_test : public testing::Test {
protected:
    void SetUp() override {
        write_file("/proc/sys/kernel/msgmnb", "69632"); // 64 messages: no commit waits for a reader here
        ac_log_init(AC_LOG_INFO);
        ac_log_add_file_sink(dir_.file("ehs.log").c_str(), 0);
        hooks::instance().init();
        file_.exec("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 100) "
                   "INSERT INTO hotkey SELECT i, 'k' FROM n; CREATE TABLE table_hashes(v); "
                   "CREATE TABLE table_hashes_x(v); CREATE TABLE table_hashe(v)");
        db_->open(file_.path());
    }
    void TearDown() override { ac_log_deinit(); }
    static int queue() { return msgget(ftok(cas_broadcast_queue_file, cas_broadcast_queue_id), 0); }
    // As the DAOs keep their statements: while some write, one is in the middle of a read and one
    // prepared after them waits idle. A "?" is bound to a text with a quote.
    void transaction(const std::vector<std::string>& statements, bool commit = true) {
        std::vector<sqlite3_statement_t> writes;
        for (const std::string& sql : statements)
            writes.push_back(prepare(*db_, sql));
        auto reader = prepare(*db_, "SELECT id FROM hotkey"),
             idle = prepare(*db_, "DELETE FROM hotkey WHERE id=?");
        tx_.begin_transaction(0);
        ASSERT_EQ(reader.execute(), db_row);
        for (auto& write : writes) {
            if (sqlite3_bind_parameter_count(write.holder->stmt) > 0) write.bind(1, "it's");
            write.execute();
        }
        reader.reset();
        commit ? tx_.commit_transaction(0) : tx_.rollback_transaction();
    }
    // The queued messages as sent() writes them, once `count` have come.
    std::string receive(long count) {
        std::string lines;
        cas_broadcast_message_t m{};
        auto arrived = [&] {
            while (msgrcv(queue(), &m, 1088, 0, IPC_NOWAIT) == 1088 && m.type == 1)
                lines += sent({std::string(m.sql, strnlen(m.sql, 1024))},
                              std::string(m.table, strnlen(m.table, 64)));
            return std::count(lines.begin(), lines.end(), '\n') >= count;
        };
        wait_until(arrived, 10s);
        return lines;
    }

    temp_dir_c dir_;
    test_database_c file_;
    std::shared_ptr<dao_sqlite3_c> db_ =
        std::make_shared<dao_sqlite3_c>(&hooks::update_hook, &hooks::rollback_hook, &hooks::commit_hook);
    transaction_dao_sqlite3_t tx_{db_};
};

// One message per changing statement, with its values, at commit; none after a rollback. The last
// 5 texts are not sent again in a transaction (one statement, many rows); the watchdog every 10.
TEST_F(cas_broadcast_test, each_change_is_sent_once_when_its_transaction_commits) {
    notify_listener_c listener(dir_.file("notify"));
    setenv("NOTIFY_SOCKET", listener.path().c_str(), 1);
    const std::string wide(100, 't'),
        big = "INSERT INTO " + wide + " VALUES('" + std::string(2000, 'x') + "')";
    file_.exec("CREATE TABLE " + wide + "(v)");
    const std::vector<std::string> hashes = {"INSERT INTO table_hashes VALUES(1)",
                                             "INSERT INTO table_hashes_x VALUES(2)",
                                             "INSERT INTO table_hashe VALUES(3)"};
    const auto many = updates({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21});
    const struct {
        const char* name;
        std::vector<std::string> statements, announced;
        std::string table = "hotkey";
        bool commit = true;
    } cases[] = {
        {"twice", updates({1, 1}), updates({1})},
        {"again in the next transaction", updates({1}), updates({1})},
        {"four between", updates({1, 2, 3, 4, 5, 1}), updates({1, 2, 3, 4, 5})},
        {"five between", updates({1, 2, 3, 4, 5, 6, 1}), updates({1, 2, 3, 4, 5, 6, 1})},
        {"rolled back", updates({7}), {}, "hotkey", false},
        {"after the rollback", updates({7}), updates({7})},
        {"21 changes", many, many},
        {"cut to 63 and 1023 characters", {big}, {big.substr(0, 1023)}, wide.substr(0, 63)},
        {"table_hashes tables never", hashes, {hashes[2]}, "table_hashe"},
        {"bound", {"UPDATE hotkey SET name=? WHERE id=8"}, {"UPDATE hotkey SET name='it''s' WHERE id=8"}},
        {"over all 100 rows", {"DELETE FROM hotkey WHERE id > 0"}, {"DELETE FROM hotkey WHERE id > 0"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        transaction(c.statements, c.commit);
        EXPECT_EQ(receive(c.announced.size()), sent(c.announced, c.table));
        for (size_t pet = 0; pet < (c.announced.size() + 9) / 10; ++pet) // before messages 0, 10, 20
            EXPECT_EQ(listener.receive(1s), "WATCHDOG=1");
        EXPECT_EQ(listener.receive(0s), "");
    }
    unsetenv("NOTIFY_SOCKET");
}

TEST_F(cas_broadcast_test, limits_and_failures_are_logged_and_a_failed_send_does_not_fail_the_commit) {
    ASSERT_EQ(msgctl(queue(), IPC_RMID, nullptr), 0);
    transaction(updates({1}));                  // commits all the same
    write_file("/proc/sys/kernel/msgmni", "0"); // no queue can be created
    EXPECT_EQ(thrown<std::runtime_error>([] { hooks::instance().init(); }), "failed to init database hooks");
    write_file("/proc/sys/kernel/msgmni", "32000");
    EXPECT_EQ(log_text(dir_.file("ehs.log")),
              "INFO [CASCADINGSERVICE] in init(): msgq max bytes of message 8192\n"
              "INFO [CASCADINGSERVICE] in init(): msgq max message 69632\n"
              "ERROR [CASCADINGSERVICE] in operator()(): failed to msgsnd: Invalid argument\n"
              "ERROR [CASCADINGSERVICE] in init(): failed to msgget: No space left on device\n");
}

} // namespace
