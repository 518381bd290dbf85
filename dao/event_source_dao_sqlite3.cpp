#include "dao/event_source_dao_sqlite3.h"

#include "db/db_exception.h"
#include "db/sqlite3_statement.h"

namespace {

// Rows of (reduced id, name, type), collected first so that a corrupt type appends nothing.
void fetch_event_sources(sqlite3_statement_t& stmt, std::vector<event_source_t>& sources) {
    std::vector<event_source_t> read;
    while (stmt.execute() == db_row)
        stmt.fetch_part_row<uint64_t, std::string, std::string>(
            0, [&](uint64_t id, std::string name, std::string type) {
                read.emplace_back(id, std::move(name), std::move(type));
            });
    sources.insert(sources.end(), read.begin(), read.end());
}

bool fetch_event_source(sqlite3_statement_t& stmt, event_source_t& source) {
    if (stmt.execute() != db_row) return false;
    stmt.fetch_part_row<uint64_t, std::string, std::string>(
        0, [&](uint64_t id, std::string name, std::string type) {
            source.fill(id, std::move(name), std::move(type));
        });
    return true;
}

} // namespace

std::shared_ptr<event_source_dao_t>
dao_implementation<event_source_dao_t>::create(std::shared_ptr<dao_sqlite3_c> database) {
    return std::make_shared<event_source_dao_sqlite3_t>(std::move(database));
}

void event_source_dao_sqlite3_t::get_event_sources(const std::string& lang,
                                                   std::vector<event_source_t>& sources) {
    auto stmt = statements_.prepare(
        *database_, "SELECT event_source.id%?,        event_source.name,        event_source.type "
                    "FROM event_source INNER JOIN language   ON event_source.lang_code = "
                    "language.id WHERE language.code=?ORDER BY event_source.id");
    stmt.reset();
    stmt.bind(1, event_source_id_modulus, lang);
    fetch_event_sources(stmt, sources);
}

void event_source_dao_sqlite3_t::get_event_sources_by_type(const std::string& lang, const std::string& type,
                                                           std::vector<event_source_t>& sources) {
    auto stmt = statements_.prepare(
        *database_, "SELECT event_source.id%?,        event_source.name,        event_source.type "
                    "FROM event_source INNER JOIN language   ON event_source.lang_code = "
                    "language.id WHERE language.code=?  AND event_source.type=?ORDER BY "
                    "event_source.id");
    stmt.reset();
    stmt.bind(1, event_source_id_modulus, lang, type);
    fetch_event_sources(stmt, sources);
}

bool event_source_dao_sqlite3_t::get_event_source_by_name(const std::string& lang, const std::string& name,
                                                          event_source_t& source) {
    auto stmt = statements_.prepare(
        *database_, "SELECT event_source.id%?,        event_source.name,        event_source.type "
                    "FROM event_source INNER JOIN language   ON event_source.lang_code = "
                    "language.id WHERE language.code=? AND event_source.name=?");
    stmt.reset();
    stmt.bind(1, event_source_id_modulus, lang, name);
    return fetch_event_source(stmt, source);
}

bool event_source_dao_sqlite3_t::get_event_source_by_name_and_type(const std::string& lang,
                                                                   const std::string& name,
                                                                   const std::string& type,
                                                                   event_source_t& source) {
    auto stmt = statements_.prepare(
        *database_, "SELECT event_source.id%?,        event_source.name,        event_source.type "
                    "FROM event_source INNER JOIN language   ON event_source.lang_code = "
                    "language.id WHERE language.code=? AND event_source.name=? AND "
                    "event_source.type=? ");
    stmt.reset();
    stmt.bind(1, event_source_id_modulus, lang, name, type);
    return fetch_event_source(stmt, source);
}

bool event_source_dao_sqlite3_t::get_event_source_by_id(uint64_t id, const std::string& lang,
                                                        event_source_t& source) {
    // The first half finds the row of a raw id, the second that of a reduced one; of the
    // candidates the highest raw id wins, and the caller's id is echoed as the first column.
    auto stmt = statements_.prepare(
        *database_, "WITH base_table( source_id, source_name, source_type ) AS (    SELECT event_source.id "
                    "as source_id, event_source.name as source_name, event_source.type as source_type    "
                    "FROM event_source    INNER JOIN language      ON event_source.lang_code = "
                    "language.id    WHERE language.code=?   AND event_source.id=?%?  UNION    SELECT "
                    "event_source.id as source_id, event_source.name as source_name, event_source.type as "
                    "source_type    FROM event_source    INNER JOIN language      ON event_source.lang_code "
                    "= language.id    WHERE language.code=?   AND event_source.id%?=?) SELECT ?,        "
                    "outer_bt.source_name,        outer_bt.source_type FROM base_table as outer_bt WHERE "
                    "outer_bt.source_id = (     SELECT max(inner_bt.source_id)     FROM base_table as "
                    "inner_bt)");
    stmt.reset();
    stmt.bind(1, lang, id, event_source_id_modulus, lang, event_source_id_modulus, id, id);
    return fetch_event_source(stmt, source);
}

void event_source_dao_sqlite3_t::get_associated_event(uint64_t associated_event_source_id,
                                                      associated_event_source_t& out,
                                                      const std::string& lang) {
    associated_event_source_t source;
    auto stmt = statements_.prepare(
        *database_, "SELECT associated_event_source.event_id,       "
                    "associated_event_source.event_source_id,       event_source.name,       "
                    "event_source.type FROM associated_event_source INNER JOIN event_source    ON "
                    "associated_event_source.event_source_id=event_source.id%? INNER JOIN "
                    "language  ON event_source.lang_code = language.id WHERE language.code=?   "
                    "AND associated_event_source.id=?");
    stmt.reset();
    stmt.bind(1, event_source_id_modulus, lang, associated_event_source_id);
    if (stmt.execute() != db_row) throw db_exception_t("empty query", db_code_empty_query);
    stmt.fetch_part_row<uint64_t, uint64_t, std::string, std::string>(
        0, [&](uint64_t event_id, uint64_t event_source_id, std::string name, std::string type) {
            source.event_id = event_id;
            source.event_source_id = event_source_id;
            source.name = std::move(name);
            source.type = std::move(type);
        });
    check_event_source_type(source.type);

    if (source.type == "lorivant")
        source.lorivant = get_lorivant_details(associated_event_source_id);
    else if (source.type == "repeater")
        source.repeater = get_repeater_details(associated_event_source_id);
    else if (source.type == "externalInput")
        source.input = get_input_details(associated_event_source_id);
    else if (source.type == "alarmsystem")
        source.alarmsystem = get_alarmsystem_details(associated_event_source_id);
    out = std::move(source);
}

std::optional<lorivant_source_details_t>
event_source_dao_sqlite3_t::get_lorivant_details(uint64_t associated_event_source_id) {
    lorivant_source_details_t details;
    bool found = read_row<uint64_t, uint64_t, uint64_t, bool, uint64_t>(
        "SELECT lorivant_id,       access_group_id,       schedule_table_id,       "
        "with_holidays,user_group_id FROM lorivant_event_source WHERE "
        "associated_event_source_id=?",
        associated_event_source_id,
        [&](uint64_t lorivant_id, uint64_t access_group_id, uint64_t schedule_table_id, bool with_holidays,
            uint64_t user_group_id) {
            details = {lorivant_id, access_group_id, schedule_table_id, with_holidays, user_group_id};
        });
    if (!found) return std::nullopt;
    return details;
}

std::optional<repeater_source_details_t>
event_source_dao_sqlite3_t::get_repeater_details(uint64_t associated_event_source_id) {
    repeater_source_details_t details;
    bool found =
        read_row<uint64_t>("SELECT repeater_id FROM repeater_event_source WHERE associated_event_source_id=?",
                           associated_event_source_id, [&](uint64_t id) { details.repeater_id = id; });
    if (!found) return std::nullopt;
    return details;
}

std::optional<input_source_details_t>
event_source_dao_sqlite3_t::get_input_details(uint64_t associated_event_source_id) {
    input_source_details_t details;
    read_row<uint64_t, uint64_t, uint64_t, uint64_t, std::string>(
        "SELECT input_event_source.connector_id,        input_event_source.activate_signal,    "
        "    connector.number,        connector.current_state,        "
        "GROUP_CONCAT(caa.connector_application) FROM input_event_source INNER JOIN connector    "
        "ON input_event_source.connector_id = connector.id INNER JOIN "
        "connector_application_assoc caa    ON connector.id = caa.connector_id INNER JOIN "
        "connector_application ca   ON caa.connector_application = ca.application WHERE "
        "input_event_source.associated_event_source_id = ?",
        associated_event_source_id,
        [&](uint64_t connector_id, uint64_t activate_signal, uint64_t number, uint64_t current_state,
            std::string applications) {
            details = {connector_id, activate_signal, number, current_state, std::move(applications)};
        });
    // No row, or the one all-NULL row the aggregate yields when nothing matched: no connector has id 0.
    if (details.connector_id == 0) return std::nullopt;
    return details;
}

std::optional<alarmsystem_source_details_t>
event_source_dao_sqlite3_t::get_alarmsystem_details(uint64_t associated_event_source_id) {
    alarmsystem_source_details_t details;
    bool found = read_row<uint8_t, std::string, uint64_t, uint64_t, uint64_t, bool>(
        "SELECT alarmsystem_event_source.alarmsystem,       alarmsystem.name,       "
        "alarmsystem.status,       alarmsystem.last_disarm_time,       "
        "alarmsystem.last_arm_time,       alarmsystem.disarm_by_guard FROM "
        "alarmsystem_event_source INNER JOIN alarmsystem     ON "
        "alarmsystem_event_source.alarmsystem=alarmsystem.id WHERE "
        "alarmsystem_event_source.associated_event_source_id=?",
        associated_event_source_id,
        [&](uint8_t alarmsystem, std::string name, uint64_t status, uint64_t last_disarm_time,
            uint64_t last_arm_time, bool disarm_by_guard) {
            details = {alarmsystem,      std::move(name), status,
                       last_disarm_time, last_arm_time,   disarm_by_guard};
        });
    if (!found) return std::nullopt;
    return details;
}

void event_source_dao_sqlite3_t::insert_associated_event_source(uint64_t event_id, uint64_t event_source_id) {
    write("INSERT INTO associated_event_source(event_id,event_source_id) VALUES(?,?)", event_id,
          event_source_id);
}

void event_source_dao_sqlite3_t::update_associated_event_source(uint64_t id, uint64_t event_source_id) {
    write("UPDATE associated_event_source SET event_source_id=?WHERE id=?", event_source_id, id);
}

void event_source_dao_sqlite3_t::insert_lorivant_event_source(uint64_t associated_event_source_id,
                                                              const lorivant_source_details_t& details) {
    write("INSERT INTO lorivant_event_source( associated_event_source_id,           "
          "                         lorivant_id,                                    "
          "access_group_id,                                    schedule_table_id,    "
          "                                with_holidays,                            "
          "        user_group_id ) VALUES (?,        ?,        ?,        ?,        "
          "?,        ?)",
          associated_event_source_id, details.lorivant_id, details.access_group_id, details.schedule_table_id,
          details.with_holidays, details.user_group_id);
}

void event_source_dao_sqlite3_t::update_lorivant_event_source(uint64_t associated_event_source_id,
                                                              const lorivant_source_details_t& details) {
    write("UPDATE lorivant_event_source SET lorivant_id=?,     access_group_id=?,    "
          "schedule_table_id=?,    with_holidays=?,    user_group_id=?WHERE "
          "associated_event_source_id=?",
          details.lorivant_id, details.access_group_id, details.schedule_table_id, details.with_holidays,
          details.user_group_id, associated_event_source_id);
}

void event_source_dao_sqlite3_t::clear_schedule_of_lorivant_event_sources(uint64_t schedule_table_id) {
    write("UPDATE lorivant_event_source SET schedule_table_id=0 WHERE schedule_table_id=?;",
          schedule_table_id);
}

void event_source_dao_sqlite3_t::insert_repeater_event_source(uint64_t associated_event_source_id,
                                                              uint64_t repeater_id) {
    write("INSERT INTO repeater_event_source(associated_event_source_id, repeater_id ) VALUES (?,?)",
          associated_event_source_id, repeater_id);
}

void event_source_dao_sqlite3_t::update_repeater_event_source(uint64_t associated_event_source_id,
                                                              uint64_t repeater_id) {
    write("UPDATE repeater_event_source SET repeater_id=? WHERE associated_event_source_id=?", repeater_id,
          associated_event_source_id);
}

void event_source_dao_sqlite3_t::insert_input_event_source(uint64_t associated_event_source_id,
                                                           uint64_t connector_id, uint64_t activate_signal) {
    write("INSERT INTO input_event_source(associated_event_source_id, connector_id, "
          "activate_signal ) VALUES (?,?,?)",
          associated_event_source_id, connector_id, activate_signal);
}

void event_source_dao_sqlite3_t::update_input_event_source(uint64_t associated_event_source_id,
                                                           uint64_t connector_id, uint64_t activate_signal) {
    write("UPDATE input_event_source SET connector_id=?,    activate_signal=? WHERE "
          "associated_event_source_id=?",
          connector_id, activate_signal, associated_event_source_id);
}

void event_source_dao_sqlite3_t::insert_alarmsystem_event_source(uint64_t associated_event_source_id,
                                                                 uint64_t alarmsystem) {
    auto stmt =
        statements_.prepare(*database_, "INSERT INTO alarmsystem_event_source( associated_event_source_id, "
                                        "alarmsystem ) VALUES (?,?)");
    stmt.reset();
    stmt.bind(1, associated_event_source_id);
    // This statement has no NULLIF: a parameter left unbound after reset() is NULL, which stands
    // for every alarm system.
    if (alarmsystem != 0) stmt.bind(2, alarmsystem);
    stmt.execute();
}

void event_source_dao_sqlite3_t::update_alarmsystem_event_source(uint64_t associated_event_source_id,
                                                                 uint64_t alarmsystem) {
    write("UPDATE alarmsystem_event_source SET alarmsystem=NULLIF(?,0) WHERE "
          "associated_event_source_id=?",
          alarmsystem, associated_event_source_id);
}

void event_source_dao_sqlite3_t::delete_lorivant_event_source(uint64_t associated_event_source_id) {
    write("DELETE FROM lorivant_event_source WHERE associated_event_source_id=?", associated_event_source_id);
}

void event_source_dao_sqlite3_t::delete_repeater_event_source(uint64_t associated_event_source_id) {
    write("DELETE FROM repeater_event_source WHERE associated_event_source_id=?", associated_event_source_id);
}

void event_source_dao_sqlite3_t::delete_input_event_source(uint64_t associated_event_source_id) {
    write("DELETE FROM input_event_source WHERE associated_event_source_id=?", associated_event_source_id);
}

void event_source_dao_sqlite3_t::delete_alarmsystem_event_source(uint64_t associated_event_source_id) {
    write("DELETE FROM alarmsystem_event_source WHERE associated_event_source_id=?",
          associated_event_source_id);
}

template <typename... Values>
void event_source_dao_sqlite3_t::write(const char* sql, const Values&... values) {
    auto stmt = statements_.prepare(*database_, sql);
    stmt.reset();
    stmt.bind(1, values...);
    stmt.execute();
}

template <typename... Columns, typename Fill>
bool event_source_dao_sqlite3_t::read_row(const char* sql, uint64_t argument, Fill&& fill) {
    auto stmt = statements_.prepare(*database_, sql);
    stmt.reset();
    stmt.bind(1, argument);
    if (stmt.execute() != db_row) return false;
    stmt.fetch_part_row<Columns...>(0, std::forward<Fill>(fill));
    return true;
}
