#include "dao/connector_dao_sqlite3.h"

#include "db/sqlite3_statement.h"

std::shared_ptr<connector_dao_c>
dao_implementation<connector_dao_c>::create(std::shared_ptr<dao_sqlite3_c> database) {
    return std::make_shared<connector_dao_sqlite3_c>(std::move(database));
}

namespace {

// Joined like the reaction reads, so that a connector is read here exactly when it can react.
const std::string select_connectors =
    "SELECT connector.id, connector.direction, connector.number, connector.current_state, "
    "GROUP_CONCAT(ca.application) FROM connector "
    "INNER JOIN connector_application_assoc caa ON connector.id = caa.connector_id "
    "INNER JOIN connector_application ca ON caa.connector_application = ca.application ";

connector_t fetch_connector(sqlite3_statement_t& stmt) {
    connector_t c;
    stmt.fetch_part_row<uint64_t, std::string, uint64_t, uint64_t, std::string>(
        0, [&](uint64_t id, std::string direction, uint64_t number, uint64_t current_state,
               std::string applications) {
            c = {id, std::move(direction), number, current_state, std::move(applications)};
        });
    return c;
}

} // namespace

bool connector_dao_sqlite3_c::get_connector(uint64_t id, connector_t& out) {
    auto stmt =
        statements_.prepare(*database_, select_connectors + "WHERE connector.id = ? GROUP BY connector.id");
    stmt.reset();
    stmt.bind(1, id);
    if (stmt.execute() != db_row) return false;
    out = fetch_connector(stmt);
    return true;
}

void connector_dao_sqlite3_c::get_connectors(std::vector<connector_t>& out) {
    auto stmt =
        statements_.prepare(*database_, select_connectors + "GROUP BY connector.id ORDER BY connector.id");
    stmt.reset();
    while (stmt.execute() == db_row)
        out.push_back(fetch_connector(stmt));
}
