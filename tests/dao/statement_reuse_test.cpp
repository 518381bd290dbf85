// The DAOs keep their prepared statements between calls. What callers see must stay what they
// saw when every call prepared its own: no lock left on the shared file, the same failures on
// every attempt, and DAO objects of two threads working on one connection side by side.
#include "dao/event_dao.h"
#include "dao/event_log_dao.h"
#include "dao/event_source_dao.h"
#include "dao/lorivant_dao.h"
#include "dao/output_event_reaction_dao.h"
#include "dao/settings_dao.h"
#include "db/db_exception.h"
#include "db/transaction_dao.h"
#include "tests/support/test_database.h"

#include <gtest/gtest.h>

#include <functional>
#include <thread>

namespace {

std::string outcome(const std::function<void()>& action) {
    try {
        action();
    } catch (const db_exception_t& e) {
        return std::string(e.what()) + "|" + std::to_string(e.code);
    }
    return "ok";
}

// Reads that stop after their first row leave their statement in the middle of its result; the
// next writer of another process must not find the file locked.
TEST(statement_reuse_test, reads_leave_no_lock_on_the_file) {
    test_database_c db(test_database_c::WITH_DEMO);
    auto lorivants = db.dao<lorivant_dao_c>();
    auto events = db.dao<event_dao_t>();
    auto settings = db.dao<settings_dao_t>();
    auto event_log = db.dao<event_log_dao_t>();
    auto sources = db.dao<event_source_dao_t>();
    auto outputs = db.dao<output_event_reaction_dao_t>();
    db.exec("INSERT INTO event_log(datetime, message_id, event_log_group_id) VALUES (1, 25, 4), (2, 25, 4)");
    lorivant_t lorivant;
    event_t event;
    event_source_t source;
    output_event_reaction_t reaction;
    const std::pair<const char*, std::function<bool()>> cases[] = {
        {"door component by hardware id",
         [&] { return lorivants->get_lorivant_by_hardware_id(1001001, lorivant); }},
        {"event", [&] { return events->get_event(1, event); }},
        {"default language", [&] { return settings->get_default_language() == "en"; }},
        {"highest identifier", [&] { return event_log->get_max_identifier_of_slave(0) == 0; }},
        {"event source", [&] { return sources->get_event_source_by_id(2, "en", source); }},
        {"output reaction", [&] { return outputs->get_output_event_reaction(201, reaction); }},
    };
    for (const auto& [name, read] : cases) {
        SCOPED_TRACE(name);
        for (int call = 0; call < 2; ++call)
            EXPECT_TRUE(read());
        EXPECT_NO_THROW(db.exec("BEGIN EXCLUSIVE; UPDATE settings SET value=value; COMMIT"));
    }
}

TEST(statement_reuse_test, a_failure_repeats_with_its_text_and_code_and_the_next_call_succeeds) {
    test_database_c db;
    auto event_log = db.dao<event_log_dao_t>();
    auto outputs = db.dao<output_event_reaction_dao_t>();
    const output_event_reaction_t reaction{0, 0, 0, 0, "", 3, 0, 5};
    std::string seen;
    db.exec("DELETE FROM sqlite_sequence WHERE name='event_log'");
    for (int call = 0; call < 2; ++call) {
        seen += outcome([&] { event_log->insert_event_log(1700000000, 25, 4, 0, 0, 0, 0, 0); }) + "\n";
        seen += outcome([&] { outputs->insert_output_event_reaction(7, reaction); }) + "\n"; // no event 7
    }
    db.exec(
        "INSERT INTO sqlite_sequence(name, seq) VALUES ('event_log', 0); INSERT INTO event(id) VALUES (7)");
    seen += outcome([&] { event_log->insert_event_log(1700000000, 25, 4, 0, 0, 0, 0, 0); }) + "\n";
    seen += outcome([&] { outputs->insert_output_event_reaction(7, reaction); }) + "\n";
    EXPECT_EQ(seen, "empty query|2\n"
                    "db statement failed: constraint failed|5\n"
                    "empty query|2\n"
                    "db statement failed: constraint failed|5\n"
                    "ok\n"
                    "ok\n");
    EXPECT_EQ(db.rows("SELECT identifier FROM event_log; SELECT event_id, action FROM output_event_reaction"),
              "1\n7|3\n");
}

// Event handling and supervision each have DAO objects of their own (and so statements of their
// own) on the one connection; their transactions take turns.
TEST(statement_reuse_test, dao_objects_of_two_threads_share_the_connection) {
    test_database_c db(test_database_c::WITH_DEMO);
    constexpr int rounds = 200;
    std::string errors;
    std::mutex errors_mutex;
    auto guarded = [&](const std::function<void()>& round) {
        return [&, round] {
            for (int i = 0; i < rounds; ++i) {
                std::string failed = outcome(round);
                if (failed == "ok") continue;
                std::lock_guard<std::mutex> lock(errors_mutex);
                errors += failed + "\n";
            }
        };
    };
    auto tx1 = db.dao<transaction_dao_t>();
    auto event_log = db.dao<event_log_dao_t>();
    auto events = db.dao<event_dao_t>();
    auto settings = db.dao<settings_dao_t>();
    std::thread handling(guarded([&] {
        tx1->begin_transaction(500);
        event_log->insert_event_log(1700000000, 25, 4, 0, 0, 0, 0, 0);
        tx1->commit_transaction(50);
        std::vector<event_t> found;
        events->get_events_of_event_source(2, found);
        if (found.size() != 1 || settings->get_default_language() != "en") throw db_exception_t("wrong read");
    }));
    auto tx2 = db.dao<transaction_dao_t>();
    auto lorivants = db.dao<lorivant_dao_c>();
    auto event_log2 = db.dao<event_log_dao_t>();
    std::thread supervision(guarded([&] {
        std::vector<lorivant_t> all;
        lorivants->get_lorivants(all);
        for (const auto& l : all)
            event_log2->get_datetime_of_most_recent_event_log_of_lorivant(l.id);
        tx2->begin_transaction(500);
        lorivants->set_supervision_missing(2, true);
        tx2->commit_transaction(50);
    }));
    handling.join();
    supervision.join();
    EXPECT_EQ(errors, "");
    EXPECT_EQ(db.rows("SELECT count(*), max(identifier) FROM event_log"), "200|200\n");
}

} // namespace
