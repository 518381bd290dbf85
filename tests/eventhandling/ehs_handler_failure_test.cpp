// Database failures inside a handler: each is rolled back and logged once, what can still be done
// is done, and the next message is handled normally.
#include "tests/eventhandling/handler_test_fixture.h"

namespace {

const std::string alarm_reactions[] = {
    R"(event_reactions/camera/video {"camera_id":1})",
    R"(event_reactions/external_io/output {"connector":"output1","signal":"Open Timed","delay_start":0,"duration":180})"};
const std::string tamper_output =
    R"(event_reactions/external_io/output {"connector":"output1","signal":"Open Timed","delay_start":0,"duration":60})";
const std::string tamper_email = R"(event_reactions/email {"event_source_topic":"events/control/tamper",)"
                                 R"("event_source_msg":{},"recipients":["security@example.com"]})";

class ehs_handler_failure_test : public ehs_handler_test_c {};

TEST_F(ehs_handler_failure_test, write_locked_database_loses_the_row_but_not_the_reactions) {
    start();
    // Another process holds the write lock longer than 501 attempts of 50 ms busy timeout each;
    // reading stays possible.
    db_.exec("BEGIN IMMEDIATE");
    peer_.publish("events/alarmsystem/alarm", R"({"alarmsystem_id":1})");
    auto reactions = settle(std::chrono::seconds(100));
    db_.exec("ROLLBACK");
    EXPECT_EQ(reactions, lines_t(std::begin(alarm_reactions), std::end(alarm_reactions)));
    EXPECT_EQ(event_log(), "");
    // One line, naming the message: after the failed begin there is nothing to roll back.
    EXPECT_EQ(
        log_lines(),
        (lines_t{"ERROR [EVENTHANDLING] in write_event_log_with_transaction(): failed to write event log "
                 "[message_id=40] : \"BEGIN IMMEDIATE\" failed"}));
    // Once the lock is gone the next event is logged again.
    EXPECT_EQ(reactions_to("events/alarmsystem/alarm", R"({"alarmsystem_id":1})").size(), 2u);
    EXPECT_EQ(event_log(), "40|4|0|0\n");
}

TEST_F(ehs_handler_failure_test, failed_insert_is_rolled_back_and_releases_the_database) {
    db_.exec("DELETE FROM sqlite_sequence WHERE name='event_log'"); // the insert needs the counter
    start();
    EXPECT_EQ(reactions_to("events/control/tamper", "{}"), (lines_t{tamper_output, tamper_email}));
    EXPECT_EQ(
        log_lines(),
        lines_t{"ERROR [EVENTHANDLING] in write_event_log_with_transaction(): failed to write event log "
                "[message_id=29] : empty query"});
    db_.exec("BEGIN IMMEDIATE; INSERT INTO sqlite_sequence(name, seq) VALUES ('event_log', 0); COMMIT");
    EXPECT_EQ(reactions_to("events/control/tamper", "{}").size(), 2u);
    EXPECT_EQ(event_log(), "29|4|0|0\n");
}

TEST_F(ehs_handler_failure_test, unknown_default_language_ends_the_lookup_at_the_first_source) {
    db_.exec("UPDATE settings SET value='xx' WHERE key='default_language'");
    // Internet lost (source 15): an event without source (found only through an association row
    // with id 0) comes first in any scan order, then two events with sources.
    db_.exec("UPDATE event SET id=27 WHERE id=7");
    db_.exec(
        "INSERT INTO event(id, name, associated_event_source_id, output_event_reaction_id, "
        "email_event_reaction_id) VALUES (20, 'No source', 0, 205, NULL), (28, 'Second', 70, NULL, 304)");
    db_.exec("INSERT INTO associated_event_source(id, event_id, event_source_id) VALUES (0, 20, 15), (70, "
             "28, 15)");
    db_.exec("INSERT INTO output_event_reaction(id, event_id, connector_id, action, delay, duration) "
             "VALUES (205, 20, 22, 4, 1, 2)");
    start();
    EXPECT_EQ(reactions_to("events/control/internet_lost", "{}"),
              lines_t{R"(event_reactions/external_io/output )"
                      R"({"connector":"output2","signal":"Closed Timed","delay_start":1,"duration":2})"});
    EXPECT_EQ(log_lines(), lines_t{"ERROR [EVENTHANDLING] in find_event_reactions(): failed to get default "
                                   "default_language: empty query"});
    EXPECT_EQ(event_log(), "27|4|0|0\n");
}

TEST_F(ehs_handler_failure_test, failed_reaction_read_keeps_what_was_read_before) {
    db_.exec("DROP TABLE email_event_reaction_assoc");
    start();
    // Event 1: its camera reaction is read before its e-mail reaction fails.
    EXPECT_EQ(reactions_to("events/end_device/access_denied", R"({"hardware_id":1001001,"tag_id":"04A1"})"),
              lines_t{R"(event_reactions/camera/snapshot {"camera_id":1})"});
    EXPECT_EQ(reactions_to("events/control/tamper", "{}"), lines_t{tamper_output});
    EXPECT_EQ(event_log(), "29|4|0|0\n");
    const std::string
        prepare = "ERROR [MODEL] in sqlite3_statement_holder_t(): prepare statement failed: SQL logic error",
        lookup = "ERROR [EVENTHANDLING] in find_event_reactions(): db statement failed: SQL logic error";
    EXPECT_EQ(log_lines(), (lines_t{prepare, lookup, prepare, lookup}));
}

// A type outside the five kinds makes the event source DAO throw a logic error, not a database
// error; the handler must still not let it out of the callback (it would end the service).
TEST_F(ehs_handler_failure_test, corrupt_source_type_ends_the_lookup_but_not_the_service) {
    db_.exec("UPDATE event_source SET type='Lorivant' WHERE id % 1000 = 6");
    start();
    EXPECT_EQ(reactions_to("events/control/tamper", "{}"), lines_t{});
    EXPECT_EQ(event_log(), "29|4|0|0\n");
    EXPECT_EQ(log_lines(),
              lines_t{"ERROR [EVENTHANDLING] in find_event_reactions(): invalid value for sourceType"});
    EXPECT_EQ(reactions_to("events/alarmsystem/alarm", R"({"alarmsystem_id":1})").size(), 2u);
}

} // namespace
