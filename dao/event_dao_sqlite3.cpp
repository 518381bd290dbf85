#include "dao/event_dao_sqlite3.h"

#include "dao/event_source_dao.h"
#include "db/sqlite3_statement.h"

namespace {

// Rows of (id, name, the six reference ids); NULL references read as 0.
void fetch_events(sqlite3_statement_t& stmt, std::vector<event_t>& events) {
    while (stmt.execute() == db_row)
        stmt.fetch_part_row<uint64_t, std::string, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t,
                            uint64_t>(
            0, [&](uint64_t id, std::string name, uint64_t associated_event_source_id, uint64_t hotkey_id,
                   uint64_t camera_event_reaction_id, uint64_t output_event_reaction_id,
                   uint64_t email_event_reaction_id, uint64_t lorivant_event_reaction_id) {
                events.push_back({id, std::move(name), associated_event_source_id, hotkey_id,
                                  camera_event_reaction_id, output_event_reaction_id, email_event_reaction_id,
                                  lorivant_event_reaction_id});
            });
}

} // namespace

std::shared_ptr<event_dao_t>
dao_implementation<event_dao_t>::create(std::shared_ptr<dao_sqlite3_c> database) {
    return std::make_shared<event_dao_sqlite3_t>(std::move(database));
}

bool event_dao_sqlite3_t::get_event(uint64_t id, event_t& event) {
    auto stmt = statements_.prepare(
        *database_, "select name, associated_event_source_id, hotkey_id, "
                    "camera_event_reaction_id,output_event_reaction_id, email_event_reaction_id, "
                    "lorivant_event_reaction_id from event where id=?");
    stmt.reset();
    stmt.bind(1, id);
    if (stmt.execute() != db_row) return false;
    stmt.fetch_part_row<std::string, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t>(
        0, [&](std::string name, uint64_t associated_event_source_id, uint64_t hotkey_id,
               uint64_t camera_event_reaction_id, uint64_t output_event_reaction_id,
               uint64_t email_event_reaction_id, uint64_t lorivant_event_reaction_id) {
            event = {id,
                     std::move(name),
                     associated_event_source_id,
                     hotkey_id,
                     camera_event_reaction_id,
                     output_event_reaction_id,
                     email_event_reaction_id,
                     lorivant_event_reaction_id};
        });
    return true;
}

void event_dao_sqlite3_t::get_events(std::vector<event_t>& events) {
    auto stmt = statements_.prepare(
        *database_, "select id, name, associated_event_source_id, hotkey_id, "
                    "camera_event_reaction_id,output_event_reaction_id, email_event_reaction_id, "
                    "lorivant_event_reaction_id from event");
    stmt.reset();
    fetch_events(stmt, events);
}

void event_dao_sqlite3_t::get_events_of_event_source(uint64_t event_source_id, std::vector<event_t>& events) {
    // Configured events store the language-independent id; matching the rows of every language
    // through IN (not a join) also finds events that stored a row id, and lists none twice.
    auto stmt = statements_.prepare(
        *database_, "select event.id, name, associated_event_source_id, hotkey_id, "
                    "camera_event_reaction_id,output_event_reaction_id, email_event_reaction_id, "
                    "lorivant_event_reaction_id from event inner join associated_event_source on "
                    "associated_event_source.id=associated_event_source_id where "
                    "associated_event_source.event_source_id in (     select event_source.id     from "
                    "event_source     where event_source.id%?=? )");
    stmt.reset();
    stmt.bind(1, event_source_id_modulus, event_source_id);
    fetch_events(stmt, events);
}

void event_dao_sqlite3_t::update_event(const event_t& event) {
    auto stmt =
        statements_.prepare(*database_, "update event set name=?, associated_event_source_id=?, hotkey_id=?, "
                                        "camera_event_reaction_id=?,output_event_reaction_id=?, "
                                        "email_event_reaction_id=?, lorivant_event_reaction_id=? where id=?");
    stmt.reset();
    stmt.bind(1, event.name, event.associated_event_source_id, event.hotkey_id,
              event.camera_event_reaction_id, event.output_event_reaction_id, event.email_event_reaction_id,
              event.lorivant_event_reaction_id, event.id);
    stmt.execute();
}

bool event_dao_sqlite3_t::get_event_settings(event_settings_t& settings) {
    auto stmt = statements_.prepare(
        *database_, "select lid_tamper, back_tamper, repeater_tamper from event_settings where id=1");
    stmt.reset();
    if (stmt.execute() != db_row) return false;
    stmt.fetch_part_row<int32_t, int32_t, int32_t>(
        0, [&](int32_t lid_tamper, int32_t back_tamper, int32_t repeater_tamper) {
            settings = {lid_tamper, back_tamper, repeater_tamper};
        });
    return true;
}

void event_dao_sqlite3_t::set_event_settings(const event_settings_t& settings) {
    auto stmt = statements_.prepare(
        *database_, "update event_settings set lid_tamper=?, back_tamper=?, repeater_tamper=? where id=1");
    stmt.reset();
    stmt.bind(1, settings.lid_tamper, settings.back_tamper, settings.repeater_tamper);
    stmt.execute();
}

void event_dao_sqlite3_t::get_input_event_sources(std::vector<input_event_source_t>& sources) {
    auto stmt = statements_.prepare(
        *database_,
        "SELECT c.id, c.direction, c.number, c.current_state, GROUP_CONCAT(DISTINCT "
        "ca.application), ies.activate_signal FROM event e          INNER JOIN "
        "associated_event_source aes ON e.id = aes.event_id          INNER JOIN input_event_source "
        "ies ON aes.id = ies.associated_event_source_id          INNER JOIN connector c ON "
        "ies.connector_id = c.id          INNER JOIN connector_application_assoc caa on c.id = "
        "caa.connector_id          INNER JOIN connector_application ca on "
        "caa.connector_application = ca.application GROUP BY c.id");
    stmt.reset();
    while (stmt.execute() == db_row)
        stmt.fetch_part_row<uint64_t, std::string, uint64_t, uint64_t, std::string, uint64_t>(
            0, [&](uint64_t id, std::string direction, uint64_t number, uint64_t current_state,
                   std::string applications, uint64_t activate_signal) {
                sources.push_back({id, std::move(direction), number, current_state, std::move(applications),
                                   activate_signal});
            });
}
