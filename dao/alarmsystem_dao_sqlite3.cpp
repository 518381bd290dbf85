#include "dao/alarmsystem_dao_sqlite3.h"

#include "db/sqlite3_statement.h"

std::shared_ptr<alarmsystem_dao_c>
dao_implementation<alarmsystem_dao_c>::create(std::shared_ptr<dao_sqlite3_c> database) {
    return std::make_shared<alarmsystem_dao_sqlite3_c>(std::move(database));
}

namespace {

const std::string select_alarmsystems =
    "SELECT id, name, status, last_disarm_time, last_arm_time, disarm_by_guard FROM alarmsystem ";

alarmsystem_t fetch_alarmsystem(sqlite3_statement_t& stmt) {
    alarmsystem_t a;
    stmt.fetch_part_row<uint64_t, std::string, uint64_t, uint64_t, uint64_t, bool>(
        0, [&](uint64_t id, std::string name, uint64_t status, uint64_t last_disarm_time,
               uint64_t last_arm_time, bool disarm_by_guard) {
            a = {id, std::move(name), status, last_disarm_time, last_arm_time, disarm_by_guard};
        });
    return a;
}

} // namespace

bool alarmsystem_dao_sqlite3_c::get_alarmsystem(uint64_t id, alarmsystem_t& out) {
    auto stmt = statements_.prepare(*database_, select_alarmsystems + "WHERE id=?");
    stmt.reset();
    stmt.bind(1, id);
    if (stmt.execute() != db_row) return false;
    out = fetch_alarmsystem(stmt);
    return true;
}

void alarmsystem_dao_sqlite3_c::get_alarmsystems(std::vector<alarmsystem_t>& out) {
    auto stmt = statements_.prepare(*database_, select_alarmsystems + "ORDER BY id");
    stmt.reset();
    while (stmt.execute() == db_row)
        out.push_back(fetch_alarmsystem(stmt));
}
