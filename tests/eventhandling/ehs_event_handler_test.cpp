// What each message does in the demo installation: the commands it publishes, the event-log row
// it writes (message id, group, door component, camera) and its log lines. Each topic looks up its
// own event source, and a configured event reacts only to the device, alarm system, input or
// hotkey that its source names; an event is logged whether or not anything is configured for it.
// Then the same with the database failing in each of the ways a handler must survive.
#include "tests/eventhandling/handler_test_fixture.h"

#include <ctime>

namespace {

using std::to_string;
const std::string anna = R"("anna.berger@example.com")", security = R"("security@example.com")";

auto email = [](const std::string& topic, const std::string& event, const std::string& to) {
    return R"(event_reactions/email {"event_source_topic":")" + topic + R"(","event_source_msg":)" + event +
           R"(,"recipients":[)" + to + "]}";
};
auto output = [](const std::string& connector, const std::string& signal, int delay, int duration) {
    return R"(event_reactions/external_io/output {"connector":")" + connector + R"(","signal":")" + signal +
           R"(","delay_start":)" + to_string(delay) + R"(,"duration":)" + to_string(duration) + "}";
};
auto office = [](int reaction, int lorivant, int group, int duration, const std::string& counts) {
    return R"(event_reactions/end_device/lorivant {"lorivant_event_reaction_id":)" + to_string(reaction) +
           R"(,"lorivant_id":)" + to_string(lorivant) + R"(,"accessgroup_id":)" + to_string(group) +
           R"(,"duration":)" + to_string(duration) + R"(,"counts":)" + counts + "}";
};
auto camera = [](const std::string& kind, int id) {
    return "event_reactions/camera/" + kind + R"( {"camera_id":)" + to_string(id) + "}";
};
auto hwid = [](int id) { return R"({"hardware_id":)" + to_string(id) + "}"; };
auto tag = [](int id) { return R"({"hardware_id":)" + to_string(id) + R"(,"tag_id":"04A1"})"; };
auto alarm = [](int id) { return R"({"alarmsystem_id":)" + to_string(id) + "}"; };
auto armed = [](int id) {
    return R"({"alarmsystem_id":)" + to_string(id) + R"(,"hardware_id":0,"app_user_id":0,"tag_id":""})";
};
auto input = [](const std::string& connector, const std::string& signal) {
    return R"({"connector":")" + connector + R"(","signal":")" + signal + R"(","source":0})";
};
// The event-log row: message id, group (4 the system's, 3 the cameras'), door component, camera.
auto row = [](int message, int camera = 0) {
    return to_string(message) + (camera ? "|3|0|" : "|4|0|") + to_string(camera) + "\n";
};

const std::string granted = "events/end_device/access_granted", denied = "events/end_device/access_denied",
                  unknown = "events/end_device/tag_unknown", battery = "events/end_device/battery_warning",
                  count = "events/end_device/battery_count_warning", loss = "events/end_device/signal_loss",
                  r_loss = "events/repeater/signal_loss", r_tamper = "events/repeater/tamper",
                  r_resolved = "events/repeater/tamper_resolved", power_loss = "events/repeater/power_loss",
                  power_back = "events/repeater/power_back", arm = "events/alarmsystem/armed",
                  disarm = "events/alarmsystem/disarmed", alarm_topic = "events/alarmsystem/alarm",
                  resolved = "events/alarmsystem/alarm_resolved", tamper = "events/control/tamper",
                  tamper_resolved = "events/control/tamper_resolved",
                  internet = "events/control/internet_lost", hotkey = "events/rest_api/hotkey",
                  io = "events/external_io/input", snapshot = "events/camera/snapshot",
                  no_limit = "18446744073709551615";
const std::string siren_60 = output("output1", "Open Timed", 0, 60),
                  siren_180 = output("output1", "Open Timed", 0, 180),
                  tamper_email = email(tamper, "{}", security);

// An event, what it does, and the database failure provoked before it and undone after it.
struct case_t {
    std::string topic, payload;
    lines_t reactions;
    std::string rows = "";
    lines_t log = {};
    std::string provoke = "", undo = "";
};

class ehs_event_handler_test : public ehs_handler_test_c {
protected:
    void expect(const case_t& c) {
        SCOPED_TRACE(c.provoke + " " + c.topic + " " + c.payload);
        if (!c.provoke.empty()) db_.exec(c.provoke);
        EXPECT_EQ(reactions_to(c.topic, c.payload), c.reactions);
        if (!c.undo.empty()) db_.exec(c.undo);
        EXPECT_EQ(event_log(), c.rows);
        EXPECT_EQ(log(), c.log);
        db_.exec("DELETE FROM event_log");
    }
};

TEST_F(ehs_event_handler_test, each_message_reacts_for_its_source_and_the_named_thing_only_and_is_logged) {
    // Camera 2 back from the trash gives "access granted" (event 9) a reaction. The sources 4, 8,
    // 9, 18, 19 and 20 get an event each, e-mailing Anna (303) or the security desk (302) in turn,
    // so that a handler that looks up a neighbouring source shows.
    db_.exec(
        "UPDATE camera SET is_trashed=0 WHERE id=2; INSERT INTO event(id, name, associated_event_source_id, "
        "email_event_reaction_id) VALUES (24, '', 74, 303), (28, '', 78, 303), (29, '', 79, 302), "
        "(38, '', 88, 303), (39, '', 89, 302), (40, '', 90, 303); INSERT INTO associated_event_source(id, "
        "event_id, event_source_id) VALUES (74, 24, 4), (78, 28, 8), (79, 29, 9), (88, 38, 18), "
        "(89, 39, 19), (90, 40, 20)");
    start();
    const std::string started = to_string(time(nullptr));
    // clang-format off
    const case_t cases[] = {
        // Door components are named by hardware id, repeaters by serial number.
        {granted, tag(1001002), {camera("snapshot", 2)}},
        {denied, tag(1001001), {camera("snapshot", 1), email(denied, tag(1001001), anna + "," + security)}},
        {denied, tag(1001002), {}},
        {unknown, tag(1001002), {email(unknown, tag(1001002), security)}}, // for every component
        {battery, hwid(4711), {email(battery, hwid(4711), anna)}},         // even an unknown one
        {count, hwid(1001002), {email(count, hwid(1001002), anna)}},
        {loss, hwid(1001001), {email(loss, hwid(1001001), security)}},
        {r_loss, hwid(2002001), {email(r_loss, hwid(2002001), security)}},
        {r_loss, hwid(1), {}},
        {r_tamper, hwid(2002001), {output("output1", "Open Latched (NO)", 0, 0)}},
        {r_resolved, hwid(5), {email(r_resolved, hwid(5), security)}},
        {power_loss, hwid(5), {email(power_loss, hwid(5), anna)}},
        {power_back, hwid(5), {email(power_back, hwid(5), security)}},
        // Arming is configured for every alarm system, the alarm for alarm system 1 only.
        {arm, alarm(2), {email(arm, armed(2), security)}, row(25)},
        {disarm, alarm(2), {email(disarm, armed(2), anna)}, row(26)},
        {alarm_topic, alarm(1), {camera("video", 1), siren_180}, row(40)},
        {alarm_topic, alarm(2), {}, row(40)},
        {resolved, alarm(2), {email(resolved, alarm(2), anna)}, row(59)},
        {tamper, "{}", {siren_60, tamper_email}, row(29)},
        {tamper_resolved, "{}", {email(tamper_resolved, "{}", anna)}, row(57)},
        {internet, "{}", {email(internet, hwid(0), security + "," + anna)}, row(27)},
        {internet, hwid(77), {email(internet, hwid(77), security + "," + anna)}, row(27)},
        {hotkey, R"({"hotkey_id":1,"hotkey_name":"Open gate"})", {output("output2", "Open Timed", 2, 5)}},
        {hotkey, R"({"hotkey_id":2})", {office(403, 0, 7, 7200, no_limit)}}, // counts NULL: -1
        {hotkey, R"({"hotkey_id":3})", {}},
        // The key switch (input1 "High") starts office mode on the front door; panic mode (input2
        // "Low") is never published, and a second activation while it is active adds nothing.
        {io, input("input1", "High"), {office(401, 1, 0, 3600, "20")}, row(22)},
        {io, input("input1", "Low"), {}, row(22)},
        {io, input("input2", "Low"), {}, row(22)},
        {io, input("input2", "Low"), {}, row(22)},
        {io, input("input3", "High"), {}, row(22)},
        {"events/camera/video", R"({"camera_id":3})", {}, row(37, 3)},
        {snapshot, R"({"camera_id":3})", {}, row(38, 3)},
        {snapshot, "", {}}, // without a log line
        {"events/ntp/time_diff", R"({"rtc_time":1700000000,"ntp_time":1700000042})", {}, row(56)},
        // Logged whatever the payload: the handler never reads it.
        {"alarmsystem/error_disarming_no_ack", "", {}, row(36)},
        {"alarmsystem/error_arming_no_ack", R"({"unknown":true})", {}, row(35)},
        {"alarmsystem/error_arming_not_ready", "{not json", {}, row(34)},
    };
    // A payload that does not deserialize is dropped after its log line.
    const std::string undeserializable[][3] = {
        {denied, R"({"hardware_id":-1})",
         "event_hwid_tagid failed: invalid negative value for attribute: hardware_id"},
        {battery, R"({"hardware_id":"1"})", "event_hwid failed: expected end or key of a json object"},
        {arm, "[]", "event_alarm_armed failed: expected start of a json array"},
        {alarm_topic, R"({"alarmsystem_id":1)",
         "event_alarmid failed: Missing a comma or '}' after an object member.: "},
        {io, R"({"connector":1})",
         "event_io_input failed: integer is wrong data type for attribute: connector"},
        {tamper, R"({"tampered":1})", "event_base failed: expected end or key of a json object"},
        {hotkey, R"({"hotkey_id":"1"})",
         "event_hotkey failed: string is wrong data type for attribute: hotkey_id"},
        {snapshot, R"({"camera_id":-3})",
         "event_cameraid failed: invalid negative value for attribute: camera_id"},
    };
    // clang-format on
    const status_counts_t before = status_counts();
    for (const auto& c : cases)
        expect(c);
    for (const auto& [topic, payload, error] : undeserializable)
        expect({topic, payload, {}, "", {"ERROR [REST] in deserialize(): deserialize msg " + error}});
    // Every case but the empty snapshot was handled, each command counted once.
    EXPECT_EQ(status_counts().since(before), (status_counts_t{36, 9, 25, 0, ""}));
    // Office mode: the association and the door component share one start time, the event's.
    const std::string
        assoc = "SELECT lorivant_event_reaction_id, lorivant_id, lorivant_hw_id, access_group_id, "
                "duration, counts_remaining FROM lorivant_event_reaction_office_mode_assoc",
        doors = "SELECT id, office_mode, office_mode_event_reaction_id, office_mode_event_duration, "
                "office_mode_event_counts_remaining, panic_mode_active FROM lorivant ORDER BY id";
    EXPECT_EQ(db_.rows(assoc), "401|1|1001001|NULL|3600|20\n");
    EXPECT_EQ(db_.rows(doors), "1|1|401|3600|20|0\n2|0|NULL|0|0|0\n");
    EXPECT_EQ(db_.rows("SELECT count(*) FROM lorivant_event_reaction_office_mode_assoc a JOIN lorivant l ON "
                       "l.office_mode_event_timestamp = a.timestamp WHERE l.id = 1 AND a.timestamp >= " +
                       started),
              "1\n");
    EXPECT_EQ(db_.rows("SELECT * FROM lorivant_event_reaction_panic_mode_assoc"), "402|NULL|NULL|NULL\n");

    // Without door component and passage limit, the restarted office mode switches every door.
    // Values no installation should have: a connector with id 0 is unused, an unknown action
    // undefined, and a camera records "snapshot" or "video", nothing else.
    // clang-format off
    db_.exec("UPDATE lorivant_event_reaction SET lorivant_id=0, access_group_id=7, counts=NULL WHERE id=401; "
             "INSERT INTO connector VALUES (0, '', 'output', 12, 0); "
             "INSERT INTO connector_application_assoc VALUES (0, 'siren'); "
             "UPDATE output_event_reaction SET connector_id=0 WHERE id=202; "
             "UPDATE output_event_reaction SET action=99 WHERE id=201; "
             "UPDATE camera_event_reaction SET recording='Snapshot'");
    for (const auto& c : std::vector<case_t>{
             // An activation level other than 1 ("High") or 0 ("Low") reacts to neither.
             {io, input("input1", "High"), {}, row(22), {}, "UPDATE input_event_source SET activate_signal=2 "
                                                            "WHERE associated_event_source_id=53"},
             {io, input("input1", "Low"), {}, row(22), {}, "", "UPDATE input_event_source SET activate_signal=1 "
                                                              "WHERE associated_event_source_id=53"},
             {io, input("input1", "High"), {office(401, 0, 7, 3600, no_limit)}, row(22)},
             {hotkey, R"({"hotkey_id":1})", {output("unused", "Open Timed", 2, 5)}},
             {alarm_topic, alarm(1), {output("output1", "undefined", 0, 180)}, row(40)},
             // The same configured events hanging off sources of type "general", which on its own
             // would react to anything, react no more; the key switch switches no office mode either.
             {denied, tag(1001001), {}, "", {}, "UPDATE event_source SET type='general' WHERE id % 1000 IN "
                                                "(2, 5, 10, 11, 12, 13)"},
             {unknown, tag(1001001), {}}, {battery, hwid(1001001), {}}, {count, hwid(1001002), {}},
             {alarm_topic, alarm(1), {}, row(40)}, {io, input("input1", "High"), {}, row(22)},
             {arm, alarm(1), {email(arm, armed(1), security)}, row(25)}})
        expect(c);
    // clang-format on
    EXPECT_EQ(db_.rows(assoc), "401|NULL|NULL|7|3600|-1\n");
    EXPECT_EQ(db_.rows(doors), "1|1|401|3600|-1|0\n2|1|401|3600|-1|0\n");
}

// Database failures inside a handler, each provoked for real and undone after its event: each is
// logged once, what can still be done is done, and nothing is left open (the next case's row is
// written). A statement compiled before a table moved fails when it runs; a new one, when it is
// prepared.
TEST_F(ehs_event_handler_test, each_database_failure_is_rolled_back_and_logged_and_the_rest_still_done) {
    start();
    const std::string
        failed = "ERROR [EVENTHANDLING] in ",
        sql = "(): db statement failed: SQL logic error", run = "ERROR [MODEL] in execute" + sql,
        prepare = "ERROR [MODEL] in sqlite3_statement_holder_t(): prepare statement failed: SQL logic error",
        find = failed + "find_event_reactions",
        write = failed + "write_event_log_with_transaction(): failed to write event log [message_id=";
    auto moved = [](const std::string& table) { return "ALTER TABLE " + table + " RENAME TO moved"; };
    auto back = [](const std::string& table) { return "ALTER TABLE moved RENAME TO " + table; };
    // clang-format off
    const case_t cases[] = {
        {tamper, "{}", {}, row(29), {run, find + sql},
         moved("associated_event_source"), back("associated_event_source")},
        // Event 1's camera is read before its e-mail fails: the camera goes out.
        {denied, tag(1001001), {camera("snapshot", 1)}, "", {prepare, find + sql},
         moved("email_event_reaction_assoc"), back("email_event_reaction_assoc")},
        // Another process holds the write lock beyond the retries; reading stays possible.
        {alarm_topic, alarm(1), {camera("video", 1), siren_180}, "",
         {write + "40] : \"BEGIN IMMEDIATE\" failed"}, "BEGIN IMMEDIATE", "ROLLBACK"},
        // The insert needs its counter: it fails inside the transaction.
        {tamper, "{}", {siren_60, tamper_email}, "", {write + "29] : empty query"},
         "DELETE FROM sqlite_sequence WHERE name='event_log'",
         "INSERT INTO sqlite_sequence VALUES ('event_log', 0)"},
        // A type outside the five kinds is a logic error, not a database error; it must not leave
        // the callback either (it would end the service).
        {tamper, "{}", {}, row(29), {find + "(): invalid value for sourceType"},
         "UPDATE event_source SET type='Lorivant' WHERE id % 1000 = 6",
         "UPDATE event_source SET type='general' WHERE id % 1000 = 6"},
        {io, input("input2", "Low"), {}, row(22),
         {prepare, failed + "make_lorivant_reaction(): failed to update panic or office mode: " +
                   sql.substr(4)},
         moved("lorivant_event_reaction_panic_mode_assoc"), back("lorivant_event_reaction_panic_mode_assoc")},
        // Devices that cannot be looked up are not found: only events for every device react.
        {denied, tag(1001001), {}, "", {run, failed + "lorivant_id_of" + sql},
         moved("lorivant"), back("lorivant")},
        {r_tamper, hwid(2002001), {}, "", {run, failed + "repeater_id_of" + sql},
         moved("repeater"), back("repeater")},
        // Internet lost (source 15): an event without source (found only through an association
        // row with id 0) comes first in any scan order, then two events with sources, for which
        // the unknown default language ends the lookup.
        {internet, "{}", {output("output2", "Closed Timed", 1, 2)}, row(27),
         {find + "(): failed to get default default_language: empty query"},
         "UPDATE settings SET value='xx' WHERE key='default_language'; UPDATE event SET id=27 WHERE id=7; "
         "INSERT INTO event(id, name, associated_event_source_id, output_event_reaction_id, "
         "email_event_reaction_id) VALUES (20, '', 0, 205, NULL), (28, '', 70, NULL, 304); "
         "INSERT INTO associated_event_source(id, event_id, event_source_id) VALUES (0, 20, 15), "
         "(70, 28, 15); INSERT INTO output_event_reaction VALUES (205, 20, 22, 4, 1, 2)"},
    };
    // clang-format on
    const status_counts_t before = status_counts();
    for (const auto& c : cases)
        expect(c);
    // Each failure counted once, the last with the text of its log line, for `systemctl status`.
    EXPECT_EQ(status_counts().since(before),
              (status_counts_t{9, 0, 6, 9, "failed to get default default_language: empty query"}));
}

} // namespace
