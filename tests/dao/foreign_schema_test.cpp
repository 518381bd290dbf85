// The database belongs to the whole controller, and other tools create it with their own layout:
// another column order, other declared types, columns this service never names, no foreign keys.
// The DAOs name every column they touch, so every read and write must come out the same on such a
// copy of the demo installation as on the project's own layout.
#include "dao/settings_dao.h"
#include "tests/dao/record_text.h"
#include "tests/support/test_database.h"

#include <gtest/gtest.h>

namespace {

// Every table again with its columns reversed, INTEGER as NUMERIC, TEXT as VARCHAR, an extra
// column first and no foreign keys or indexes, holding the same rows. Only the primary keys stay:
// the DAOs rely on the rowid aliases, on event_log's AUTOINCREMENT and on the office-mode key.
void rebuild_as_another_tool(test_database_c& db) {
    const std::string names = "(SELECT group_concat(name) FROM pragma_table_info(m.name))";
    db.exec("BEGIN; CREATE TEMP TABLE seq AS SELECT * FROM sqlite_sequence;" +
            db.rows("SELECT 'CREATE TABLE copy(other_tool TEXT NOT NULL DEFAULT ''x'', ' || (SELECT "
                    "group_concat(c, ', ') FROM (SELECT name || ' ' || iif(pk, type, iif(type = 'INTEGER', "
                    "'NUMERIC', 'VARCHAR(64)')) || iif(\"notnull\", ' NOT NULL', '') || iif(dflt_value IS "
                    "NULL, '', ' DEFAULT ' || dflt_value) AS c FROM pragma_table_info(m.name) ORDER BY cid "
                    "DESC)) || ', PRIMARY KEY (' || (SELECT group_concat(name) FROM (SELECT name FROM "
                    "pragma_table_info(m.name) WHERE pk ORDER BY pk)) || iif(sql LIKE '%AUTOINCREMENT%', ' "
                    "AUTOINCREMENT', '') || ')); INSERT INTO copy(' || " +
                    names + " || ') SELECT ' || " + names +
                    " || ' FROM ' || name || '; DROP TABLE ' || name || '; ALTER TABLE copy RENAME TO ' || "
                    "name || ';' FROM sqlite_master m WHERE type = 'table' AND name NOT LIKE 'sqlite%'") +
            "DELETE FROM sqlite_sequence; INSERT INTO sqlite_sequence SELECT * FROM seq; COMMIT");
}

// Every row of every table, its columns named and ordered as in the project's layout.
std::string dump(test_database_c& db, test_database_c& layout) {
    const std::string names = "(SELECT group_concat(name) FROM pragma_table_info(m.name))";
    return db.rows(layout.rows("SELECT 'SELECT ''' || name || ''', ' || " + names +
                               " || ' FROM ' || name || "
                               "' ORDER BY ' || " +
                               names + " || ';' FROM sqlite_master m WHERE type='table'"));
}

// Every read the handlers make, and those of the other services named in the DAO interfaces.
std::string reads(test_database_c& db) {
    auto events = db.dao<event_dao_t>();
    auto sources = db.dao<event_source_dao_t>();
    auto log = db.dao<event_log_dao_t>();
    auto modes = db.dao<lorivant_event_reaction_dao_t>();
    std::vector<event_t> configured;
    for (uint64_t source = 1; source <= 20; ++source)
        events->get_events_of_event_source(source, configured);
    event_t event;
    if (events->get_event(2, event)) configured.push_back(event);
    std::string out = texts(configured);
    for (const char* lang : {"en", "de"})
        for (uint64_t id = 51; id <= 66; ++id) {
            associated_event_source_t a;
            sources->get_associated_event(id, a, lang);
            out += text(a) + "\n";
        }
    for (uint64_t id = 101; id <= 103; ++id) { // 103: a trashed camera
        camera_event_reaction_t r;
        if (db.dao<camera_event_reaction_dao_t>()->get_camera_event_reaction(id, r)) out += text(r) + "\n";
    }
    for (uint64_t id = 201; id <= 205; ++id) {
        output_event_reaction_t r;
        if (db.dao<output_event_reaction_dao_t>()->get_output_event_reaction(id, r)) out += text(r) + "\n";
    }
    for (uint64_t id = 301; id <= 310; ++id) {
        email_event_reaction_t r;
        if (db.dao<email_event_reaction_dao_t>()->get_email_event_reaction(id, r)) out += text(r) + "\n";
    }
    for (uint64_t id = 401; id <= 404; ++id) {
        lorivant_event_reaction_t r;
        if (modes->get_lorivant_event_reaction(id, r)) out += text(r) + "\n";
    }
    std::vector<lorivant_t> lorivants;
    std::vector<repeater_t> repeaters;
    db.dao<lorivant_dao_c>()->get_lorivants(lorivants);
    db.dao<repeater_dao_c>()->get_repeaters(repeaters);
    lorivant_t lorivant;
    repeater_t repeater;
    if (db.dao<lorivant_dao_c>()->get_lorivant_by_hardware_id(1001002, lorivant))
        lorivants.push_back(lorivant);
    if (db.dao<repeater_dao_c>()->get_repeater_by_serial_number(2002001, repeater))
        repeaters.push_back(repeater);
    out +=
        texts(lorivants) + texts(repeaters) +
        join(db.dao<settings_dao_t>()->get_default_language(),
             db.dao<settings_dao_t>()->get_supervision_mode(), modes->is_panic_mode_active(402),
             log->get_datetime_of_most_recent_event_log_of_lorivant(1), log->get_max_identifier_of_slave(2)) +
        "\n";

    event_settings_t settings;
    std::vector<input_event_source_t> inputs;
    std::vector<event_source_t> catalogue;
    event_source_t source;
    std::vector<uint64_t> missing;
    std::vector<event_log_group_t> groups;
    connector_t c;
    alarmsystem_t a;
    language_t language;
    hotkey_t hotkey;
    if (events->get_event_settings(settings)) out += text(settings) + "\n";
    events->get_input_event_sources(inputs);
    sources->get_event_sources("de", catalogue);
    if (sources->get_event_source_by_id(1013, "en", source)) catalogue.push_back(source);
    log->get_missing_logs_by_slave(2, 10, 0, 14, missing);
    log->get_event_log_groups(groups);
    out += texts(inputs) + texts(catalogue) + texts(groups);
    for (uint64_t m : missing)
        out += field(m) + " ";
    if (db.dao<connector_dao_c>()->get_connector(22, c)) out += text(c) + "\n";
    if (db.dao<alarmsystem_dao_c>()->get_alarmsystem(1, a)) out += text(a) + "\n";
    if (db.dao<language_dao_c>()->get_language_by_code("de", language)) out += text(language) + "\n";
    if (db.dao<hotkey_dao_t>()->get_hotkey(2, hotkey)) out += text(hotkey) + "\n";
    return out;
}

// The writes of the handlers and of the reaction, association and event-log DAOs, and what the
// database and the reads show after each group of them.
std::string reads_and_writes(test_database_c& db, test_database_c& layout) {
    auto log = db.dao<event_log_dao_t>();
    auto modes = db.dao<lorivant_event_reaction_dao_t>();
    auto lorivants = db.dao<lorivant_dao_c>();
    std::string out = reads(db);
    log->insert_event_log(1700000000, 22, 4, 1, 2, 5, 6, 0);
    log->keep_newest_event_logs(4);
    log->set_event_log_sequence(200);
    log->insert_event_log(1700000001, 25, 4, 0, 0, 0, 0, 0);
    out += dump(db, layout);
    modes->start_office_mode(401, 1, 1001001, 0, 1000, 300, 4);
    modes->start_office_mode(403, 0, 0, 7, 1000, 7200, -1);
    modes->count_office_mode_passage(1001001, 0);
    modes->correct_office_mode_clock(-10);
    modes->start_manual_office_mode(2, 1001002, 1000, 60, 5);
    modes->start_panic_mode(402, 0, 0, 6);
    lorivants->set_office_mode(1, true, 401, 990, 300, 3);
    lorivants->set_panic_mode(2, true);
    lorivants->set_supervision_missing(2, true);
    db.dao<repeater_dao_c>()->set_supervision_missing(1, true);
    out += dump(db, layout) + reads(db);
    modes->update_office_mode(401, 2, 1001002, 0);
    modes->update_panic_mode(402, 1, 1001001, 0);
    modes->stop_manual_office_mode(2);
    modes->expire_office_modes(1400);
    out += dump(db, layout);
    modes->stop_office_mode(403);
    modes->stop_panic_mode(402);
    out += dump(db, layout);

    lorivant_event_reaction_t reaction;
    reaction.lorivant_id = 2;
    reaction.mode = std::make_shared<lorivant_event_reaction_t::office_mode_t>();
    out += field(modes->insert_lorivant_event_reaction(3, reaction));
    reaction.id = 401;
    reaction.mode = std::make_shared<lorivant_event_reaction_t::panic_mode_t>();
    modes->update_lorivant_event_reaction(reaction);
    modes->delete_lorivant_event_reaction(403);
    auto cameras = db.dao<camera_event_reaction_dao_t>();
    out += field(cameras->insert_camera_event_reaction(2, 1, "snapshot"));
    cameras->update_camera_event_reaction(101, 1, "video");
    cameras->delete_camera_event_reaction(103);
    auto outputs = db.dao<output_event_reaction_dao_t>();
    const output_event_reaction_t output{202, 21, 0, 0, "", 4, 1, 2};
    out += field(outputs->insert_output_event_reaction(3, output));
    outputs->update_output_event_reaction(output);
    outputs->delete_output_event_reaction(204);
    auto emails = db.dao<email_event_reaction_dao_t>();
    const email_event_reaction_t email{301, {{2, "", "", ""}, {1, "", "", ""}}};
    out += field(emails->insert_email_event_reaction(3, email));
    emails->update_email_event_reaction(email);
    emails->delete_email_event_reaction(309);
    out += dump(db, layout);

    auto sources = db.dao<event_source_dao_t>();
    sources->insert_associated_event_source(5, 13);
    sources->insert_alarmsystem_event_source(67, 0);
    sources->insert_associated_event_source(5, 2);
    sources->insert_lorivant_event_source(68, {7, 8, 9, true, 10});
    sources->update_repeater_event_source(58, 11);
    sources->update_input_event_source(53, 12, 0);
    db.dao<event_dao_t>()->update_event({3, "Key switch", 53, 2, 0, 203, 303, 0});
    db.dao<event_dao_t>()->set_event_settings({0, 1, 1});
    return out + dump(db, layout) + reads(db);
}

} // namespace

TEST(foreign_schema_test, every_read_and_write_comes_out_as_on_the_own_layout) {
    test_database_c own(test_database_c::WITH_DEMO), other(test_database_c::WITH_DEMO);
    for (test_database_c* db : {&own, &other})
        db->exec("INSERT INTO event_log(id, datetime, message_id, event_log_group_id, lorivant_id, slave_id, "
                 "identifier) VALUES (10, 1, 1, 4, 1, 2, 10), (11, 1, 1, 4, 0, 2, 11), (12, 1, 1, 4, 0, 2, "
                 "14), (100, 1699999999, 25, 4, 1, 0, 100)");
    rebuild_as_another_tool(other);
    EXPECT_EQ(
        other.rows("SELECT group_concat(name) FROM pragma_table_info('lorivant_event_reaction_office_mode_"
                   "assoc')"),
        "other_tool,counts_remaining,duration,timestamp,access_group_id,lorivant_hw_id,lorivant_id,"
        "lorivant_event_reaction_id\n");
    EXPECT_EQ(other.rows("SELECT count(*) FROM sqlite_master m, pragma_foreign_key_list(m.name)"), "0\n");
    EXPECT_EQ(reads_and_writes(other, own), reads_and_writes(own, own));
}
