#include "dao/lorivant_dao_sqlite3.h"

#include "db/sqlite3_statement.h"

std::shared_ptr<lorivant_dao_c>
dao_implementation<lorivant_dao_c>::create(std::shared_ptr<dao_sqlite3_c> database) {
    return std::make_shared<lorivant_dao_sqlite3_c>(std::move(database));
}

namespace {

// The three reads differ only in their WHERE and ORDER BY.
const std::string select_lorivants =
    "SELECT id, hardware_id, name, repeater_id, supervision_period, supervision_time, supervision_missing, "
    "office_mode, office_mode_event_reaction_id, office_mode_event_timestamp, office_mode_event_duration, "
    "office_mode_event_counts_remaining, panic_mode_active FROM lorivant ";

lorivant_t fetch_lorivant(sqlite3_statement_t& stmt) {
    lorivant_t l;
    stmt.fetch_part_row<uint64_t, uint64_t, std::string, uint64_t, uint64_t, uint64_t, bool, bool, uint64_t,
                        uint64_t, uint64_t, uint64_t, bool>(
        0, [&](uint64_t id, uint64_t hardware_id, std::string name, uint64_t repeater_id,
               uint64_t supervision_period, uint64_t supervision_time, bool supervision_missing,
               bool office_mode, uint64_t reaction_id, uint64_t timestamp, uint64_t duration,
               uint64_t counts_remaining, bool panic_mode_active) {
            l = {id,
                 hardware_id,
                 std::move(name),
                 repeater_id,
                 supervision_period,
                 supervision_time,
                 supervision_missing,
                 office_mode,
                 reaction_id,
                 timestamp,
                 duration,
                 static_cast<int64_t>(counts_remaining), // bit pattern kept: a negative count reads back
                 panic_mode_active};
        });
    return l;
}

} // namespace

bool lorivant_dao_sqlite3_c::get_lorivant_by_hardware_id(uint64_t hardware_id, lorivant_t& out) {
    auto stmt = statements_.prepare(*database_, select_lorivants + "WHERE hardware_id=?");
    stmt.reset();
    stmt.bind(1, hardware_id);
    if (stmt.execute() != db_row) return false;
    out = fetch_lorivant(stmt);
    return true;
}

bool lorivant_dao_sqlite3_c::get_lorivant(uint64_t id, lorivant_t& out) {
    auto stmt = statements_.prepare(*database_, select_lorivants + "WHERE id=?");
    stmt.reset();
    stmt.bind(1, id);
    if (stmt.execute() != db_row) return false;
    out = fetch_lorivant(stmt);
    return true;
}

void lorivant_dao_sqlite3_c::get_lorivants(std::vector<lorivant_t>& out) {
    auto stmt = statements_.prepare(*database_, select_lorivants + "ORDER BY id");
    stmt.reset();
    while (stmt.execute() == db_row)
        out.push_back(fetch_lorivant(stmt));
}

void lorivant_dao_sqlite3_c::set_supervision_missing(uint64_t id, bool missing) {
    auto stmt = statements_.prepare(*database_, "UPDATE lorivant SET supervision_missing=? WHERE id=?");
    stmt.reset();
    stmt.bind(1, missing, id);
    stmt.execute();
}

void lorivant_dao_sqlite3_c::set_office_mode(uint64_t id, bool on, uint64_t reaction_id, uint64_t timestamp,
                                             uint64_t duration, int64_t counts_remaining) {
    auto stmt = statements_.prepare(
        *database_, "UPDATE lorivant SET office_mode=?, office_mode_event_reaction_id=NULLIF(?,0), "
                    "office_mode_event_timestamp=?, office_mode_event_duration=?, "
                    "office_mode_event_counts_remaining=? WHERE id=?");
    stmt.reset();
    stmt.bind(1, on, reaction_id, timestamp, duration, static_cast<uint64_t>(counts_remaining), id);
    stmt.execute();
}

void lorivant_dao_sqlite3_c::set_panic_mode(uint64_t id, bool active) {
    auto stmt = statements_.prepare(*database_, "UPDATE lorivant SET panic_mode_active=? WHERE id=?");
    stmt.reset();
    stmt.bind(1, active, id);
    stmt.execute();
}
