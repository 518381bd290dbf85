#include "db/dao_registry.h"

#include "dao/dao_registration.h"
#include "dao/language_dao.h"
#include "db/transaction_dao_sqlite3.h"
#include "db/transaction_guard.h"
#include "tests/db/db_test_util.h"
#include "tests/support/test_files.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>

namespace {

class unregistered_dao_t : public dao_t {};

// What std::runtime_error says, for registry misuse.
std::string misuse(const std::function<void()>& action) {
    try {
        action();
    } catch (const std::runtime_error& e) {
        return e.what();
    }
    return "no exception";
}

class dao_registry_test : public ::testing::Test {
protected:
    void SetUp() override {
        path_ = dir_.file("acs.db");
        raw_connection_c(path_).exec("CREATE TABLE t(id INTEGER PRIMARY KEY)");
    }
    uint32_t add(dao_registry_c& registry, const std::string& path, bool load_extension = false) {
        return registry.add_database("acs_db", path, {"foreign_keys=ON"}, nullptr, nullptr, nullptr,
                                     load_extension);
    }

    temp_dir_c dir_;
    std::string path_;
};

TEST_F(dao_registry_test, databases_are_indexed_in_order_and_misuse_names_the_mangled_type) {
    dao_registry_c registry;
    EXPECT_EQ(misuse([&] { registry.register_dao<transaction_dao_t>(0); }),
              "trying to register dao against non-registered database with index 0");
    EXPECT_THROW(add(registry, dir_.file("absent.db")), db_exception_t); // adds no database
    const std::string script = dir_.file("demo.sql");
    write_file(script, "CREATE TABLE t(id INTEGER PRIMARY KEY);");
    EXPECT_EQ(add(registry, path_, true), 0u); // without the library on disk the extension is skipped
    EXPECT_EQ(add(registry, script), 1u);
    registry.register_dao<transaction_dao_t>(1);
    EXPECT_EQ(
        misuse([&] { registry.register_dao<transaction_dao_t>(0); }),
        "dao type with type index '17transaction_dao_t' is already registered against database index 1");
    EXPECT_EQ(misuse([&] { registry.register_dao<unregistered_dao_t>(2); }),
              "trying to register dao against non-registered database with index 2");
    EXPECT_EQ(misuse([&] { registry.get_database_index(typeid(unregistered_dao_t)); }),
              "dao type N12_GLOBAL__N_118unregistered_dao_tE hasn't been registered");
    EXPECT_EQ(registry.get_database_index(typeid(transaction_dao_t)), 1u);
}

TEST_F(dao_registry_test, registration_of_the_service_adds_all_47_types_against_the_given_database) {
    dao_registry_c registry;
    add(registry, path_);
    add(registry, path_);
    register_all_dao_types(registry, 1);
    EXPECT_EQ(registry.dao_type_count(), 47u); // a type listed twice would have thrown
    EXPECT_EQ(registry.get_database_index(typeid(language_dao_c)), 1u);
    EXPECT_NE(registry.get_dao<transaction_dao_t>(), nullptr);
    EXPECT_EQ(
        misuse([&] { register_all_dao_types(registry, 0); }),
        "dao type with type index '18access_group_dao_t' is already registered against database index 1");
}

TEST_F(dao_registry_test, each_dao_is_new_and_shares_the_connection_which_the_registry_closes) {
    auto registry = std::make_unique<dao_registry_c>();
    add(*registry, path_);
    registry->register_dao<transaction_dao_t>(0);
    auto first = registry->get_dao<transaction_dao_t>();
    auto second = registry->get_dao<transaction_dao_t>();
    EXPECT_NE(first, second);
    first->begin_transaction(0);
    // Same connection: a second BEGIN inside the open transaction fails.
    EXPECT_EQ(failure([&] { second->begin_transaction(0); }), "\"BEGIN IMMEDIATE\" failed|6");

    registry.reset();
    EXPECT_EQ(failure([&] { first->commit_transaction(0); }), "invalid state: db isnt open yet|0");
    raw_connection_c(path_).exec("BEGIN IMMEDIATE; COMMIT"); // the lock went with the connection
}

TEST_F(dao_registry_test, transactions_default_to_50_retries) {
    auto db = std::make_shared<dao_sqlite3_c>();
    db->open(path_, false);
    db->set_busy_timeout(0); // fail each attempt at once; the count is what matters
    transaction_dao_sqlite3_t tx(db);
    raw_connection_c other(path_);
    other.exec("BEGIN IMMEDIATE");
    {
        statement_counter_t attempts(db->get_handle(), "BEGIN IMMEDIATE");
        EXPECT_EQ(failure([&] { tx.begin_transaction(); }), "\"BEGIN IMMEDIATE\" failed|6");
        EXPECT_EQ(attempts.count, 51);
    }
    statement_counter_t attempts(db->get_handle(), "COMMIT");
    EXPECT_EQ(failure([&] { tx.commit_transaction(); }), "\"COMMIT\" failed|7"); // none open
    EXPECT_EQ(attempts.count, 51);
    tx.rollback_transaction(); // only logs
}

TEST_F(dao_registry_test, guard_rolls_back_unless_committed) {
    auto db = std::make_shared<dao_sqlite3_c>();
    db->open(path_, false);
    transaction_dao_sqlite3_t tx(db);
    for (bool commit : {false, true}) {
        transaction_guard_c guard(tx, 0);
        exec(db->get_handle(), commit ? "INSERT INTO t VALUES(2)" : "INSERT INTO t VALUES(1)");
        if (commit) guard.commit(0);
    }
    EXPECT_EQ(rows(db->get_handle(), "SELECT id FROM t"), "2\n");
}

// Event handling and supervision share one connection from two threads: each transaction must
// commit or roll back only its own writes, and neither may meet the other's open transaction.
TEST_F(dao_registry_test, threads_sharing_a_connection_take_turns_with_their_transactions) {
    auto db = std::make_shared<dao_sqlite3_c>();
    db->open(path_, false);
    auto writer = [&](int first, bool roll_back) {
        transaction_dao_sqlite3_t tx(db);
        for (int id = first; id < first + 200; ++id) {
            tx.begin_transaction(0);
            exec(db->get_handle(), "INSERT INTO t VALUES(" + std::to_string(id) + ")");
            if (roll_back)
                tx.rollback_transaction();
            else
                tx.commit_transaction(0);
        }
    };
    std::thread committing(writer, 1000, false);
    std::thread rolling_back(writer, 5000, true);
    committing.join();
    rolling_back.join();
    EXPECT_EQ(rows(db->get_handle(), "SELECT count(*), min(id), max(id) FROM t"), "200|1000|1199\n");
}

// The other thread of the connection gets its turn (a write transaction could begin now).
bool turn_is_free(dao_sqlite3_c& db) {
    return std::async(std::launch::async,
                      [&] {
                          std::unique_lock<std::recursive_mutex> turn(db.transaction_mutex(),
                                                                      std::try_to_lock);
                          return turn.owns_lock();
                      })
        .get();
}

int read_commits = 0;
int count_commit(void*) {
    ++read_commits;
    return 0;
}

// The lookup's reads share one deferred transaction: no commit hook (so neither broadcast nor
// watchdog), readable while another process holds the write reservation, and the connection
// and its turn are free again however the reads ended.
TEST_F(dao_registry_test, read_transaction_fires_no_hook_and_always_ends) {
    auto db = std::make_shared<dao_sqlite3_c>(nullptr, nullptr, count_commit);
    db->open(path_, false);
    exec(db->get_handle(), "INSERT INTO t VALUES(1)");
    read_commits = 0;
    transaction_dao_sqlite3_t tx(db);
    raw_connection_c other(path_);
    other.exec("BEGIN IMMEDIATE; INSERT INTO t VALUES(2)");
    for (bool failing_read : {false, true}) {
        SCOPED_TRACE(failing_read);
        {
            read_transaction_guard_c reads(tx);
            ASSERT_TRUE(reads.open());
            EXPECT_TRUE(db->in_transaction());
            EXPECT_FALSE(turn_is_free(*db));
            EXPECT_EQ(rows(db->get_handle(), "SELECT id FROM t"), "1\n");
            if (failing_read) {
                EXPECT_THROW(rows(db->get_handle(), "SELECT x FROM absent"), std::runtime_error);
            }
        }
        EXPECT_FALSE(db->in_transaction());
        EXPECT_TRUE(turn_is_free(*db));
    }
    EXPECT_EQ(read_commits, 0);
    other.exec("COMMIT");

    // Inside a write transaction the reads belong to it: nothing begins, nothing ends it.
    tx.begin_transaction(0);
    EXPECT_FALSE(read_transaction_guard_c(tx).open());
    exec(db->get_handle(), "INSERT INTO t VALUES(3)");
    tx.commit_transaction(0);
    EXPECT_EQ(read_commits, 1);
    EXPECT_EQ(rows(db->get_handle(), "SELECT id FROM t"), "1\n2\n3\n");

    db->close(); // a closed connection: no transaction, no exception
    EXPECT_FALSE(read_transaction_guard_c(tx).open());
    EXPECT_TRUE(turn_is_free(*db));
}

} // namespace
