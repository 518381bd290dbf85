#include "dao/output_event_reaction_dao_sqlite3.h"

#include "db/sqlite3_statement.h"

#include <unordered_map>

std::shared_ptr<output_event_reaction_dao_t>
dao_implementation<output_event_reaction_dao_t>::create(std::shared_ptr<dao_sqlite3_c> database) {
    return std::make_shared<output_event_reaction_dao_sqlite3_t>(std::move(database));
}

const std::string& output_action_name(uint64_t action) {
    // Built once and never changed afterwards, so any thread may read it.
    static const std::unordered_map<uint64_t, std::string> names = {{0, "undefined"},
                                                                    {1, "Open Latched (NO)"},
                                                                    {2, "Closed Latched (NC)"},
                                                                    {3, "Open Timed"},
                                                                    {4, "Closed Timed"}};
    auto name = names.find(action);
    return name != names.end() ? name->second : names.at(0);
}

namespace {

// The columns after the reaction's id, the same in both reads.
void fetch_output_reaction(sqlite3_statement_t& stmt, int column, output_event_reaction_t& out) {
    stmt.fetch_part_row<uint64_t, uint64_t, uint64_t, std::string, uint64_t, uint64_t, uint64_t>(
        column, [&](uint64_t connector_id, uint64_t number, uint64_t current_state, std::string applications,
                    uint64_t action, uint64_t delay, uint64_t duration) {
            out.connector_id = connector_id;
            out.connector_number = number;
            out.connector_current_state = current_state;
            out.applications = std::move(applications);
            out.action = action;
            out.delay = delay;
            out.duration = duration;
        });
}

} // namespace

bool output_event_reaction_dao_sqlite3_t::get_output_event_reaction(uint64_t id,
                                                                    output_event_reaction_t& out) {
    auto stmt = statements_.prepare(
        *database_,
        "SELECT oer.connector_id,        connector.number,        connector.current_state,        "
        "GROUP_CONCAT(ca.application),        action,        delay,        duration "
        "FROM output_event_reaction oer          "
        "INNER JOIN connector on connector.id = oer.connector_id          "
        "INNER JOIN connector_application_assoc caa on connector.id = caa.connector_id          "
        "INNER JOIN connector_application ca on caa.connector_application = ca.application "
        "WHERE oer.id = ? GROUP BY oer.connector_id;");
    stmt.reset();
    stmt.bind(1, id);
    if (stmt.execute() != db_row) return false;
    fetch_output_reaction(stmt, 0, out);
    out.id = id;
    return true;
}

void output_event_reaction_dao_sqlite3_t::get_output_event_reactions(
    std::vector<output_event_reaction_t>& out) {
    auto stmt = statements_.prepare(
        *database_,
        "SELECT oer.id, oer.connector_id,        connector.number,        connector.current_state,  "
        "      GROUP_CONCAT(ca.application),        action,        delay,        duration "
        "FROM output_event_reaction oer          "
        "INNER JOIN connector on connector.id = oer.connector_id          "
        "INNER JOIN connector_application_assoc caa on connector.id = caa.connector_id          "
        "INNER JOIN connector_application ca on caa.connector_application = ca.application "
        "GROUP BY oer.connector_id;");
    stmt.reset();
    while (stmt.execute() == db_row) {
        output_event_reaction_t reaction;
        stmt.fetch_part_row<uint64_t>(0, [&](uint64_t id) { reaction.id = id; });
        fetch_output_reaction(stmt, 1, reaction);
        out.push_back(std::move(reaction));
    }
}

uint64_t
output_event_reaction_dao_sqlite3_t::insert_output_event_reaction(uint64_t event_id,
                                                                  const output_event_reaction_t& reaction) {
    auto stmt = statements_.prepare(
        *database_, "INSERT INTO output_event_reaction(event_id, connector_id, action, delay, "
                    "duration) values(?,?,?,?,?)");
    stmt.reset();
    stmt.bind(1, event_id, reaction.connector_id, reaction.action, reaction.delay, reaction.duration);
    stmt.execute();
    return database_->last_insert_rowid();
}

void output_event_reaction_dao_sqlite3_t::update_output_event_reaction(
    const output_event_reaction_t& reaction) {
    auto stmt = statements_.prepare(
        *database_,
        "UPDATE output_event_reaction SET connector_id=?, action=?, delay=?, duration=? where id=?");
    stmt.reset();
    stmt.bind(1, reaction.connector_id, reaction.action, reaction.delay, reaction.duration, reaction.id);
    stmt.execute();
}

void output_event_reaction_dao_sqlite3_t::delete_output_event_reaction(uint64_t id) {
    auto stmt = statements_.prepare(*database_, "delete from output_event_reaction where id=?");
    stmt.reset();
    stmt.bind(1, id);
    stmt.execute();
}
