#include "dao/repeater_dao_sqlite3.h"

#include "db/sqlite3_statement.h"

std::shared_ptr<repeater_dao_c>
dao_implementation<repeater_dao_c>::create(std::shared_ptr<dao_sqlite3_c> database) {
    return std::make_shared<repeater_dao_sqlite3_c>(std::move(database));
}

namespace {

// The three reads differ only in their WHERE and ORDER BY.
const std::string select_repeaters = "SELECT id, serial_number, name, supervision_period, supervision_time, "
                                     "supervision_missing FROM repeater ";

repeater_t fetch_repeater(sqlite3_statement_t& stmt) {
    repeater_t r;
    stmt.fetch_part_row<uint64_t, uint64_t, std::string, uint64_t, uint64_t, bool>(
        0, [&](uint64_t id, uint64_t serial_number, std::string name, uint64_t supervision_period,
               uint64_t supervision_time, bool supervision_missing) {
            r = {id,
                 serial_number,
                 std::move(name),
                 supervision_period,
                 supervision_time,
                 supervision_missing};
        });
    return r;
}

} // namespace

bool repeater_dao_sqlite3_c::get_repeater_by_serial_number(uint64_t serial_number, repeater_t& out) {
    auto stmt = statements_.prepare(*database_, select_repeaters + "WHERE serial_number=?");
    stmt.reset();
    stmt.bind(1, serial_number);
    if (stmt.execute() != db_row) return false;
    out = fetch_repeater(stmt);
    return true;
}

bool repeater_dao_sqlite3_c::get_repeater(uint64_t id, repeater_t& out) {
    auto stmt = statements_.prepare(*database_, select_repeaters + "WHERE id=?");
    stmt.reset();
    stmt.bind(1, id);
    if (stmt.execute() != db_row) return false;
    out = fetch_repeater(stmt);
    return true;
}

void repeater_dao_sqlite3_c::get_repeaters(std::vector<repeater_t>& out) {
    auto stmt = statements_.prepare(*database_, select_repeaters + "ORDER BY id");
    stmt.reset();
    while (stmt.execute() == db_row)
        out.push_back(fetch_repeater(stmt));
}

void repeater_dao_sqlite3_c::set_supervision_missing(uint64_t id, bool missing) {
    auto stmt = statements_.prepare(*database_, "UPDATE repeater SET supervision_missing=? WHERE id=?");
    stmt.reset();
    stmt.bind(1, missing, id);
    stmt.execute();
}
