#include "dao/hotkey_dao_sqlite3.h"

#include "db/sqlite3_statement.h"

std::shared_ptr<hotkey_dao_t>
dao_implementation<hotkey_dao_t>::create(std::shared_ptr<dao_sqlite3_c> database) {
    return std::make_shared<hotkey_dao_sqlite3_t>(std::move(database));
}

bool hotkey_dao_sqlite3_t::get_hotkey(uint64_t id, hotkey_t& hotkey) {
    auto stmt = statements_.prepare(*database_, "SELECT id, name FROM hotkey WHERE id = ?");
    stmt.reset();
    stmt.bind(1, id);
    if (stmt.execute() != db_row) return false;
    stmt.fetch_part_row<uint64_t, std::string>(0, [&](uint64_t found_id, std::string name) {
        hotkey = {found_id, std::move(name)};
    });
    return true;
}

void hotkey_dao_sqlite3_t::get_hotkeys(std::vector<hotkey_t>& hotkeys) {
    auto stmt = statements_.prepare(*database_, "SELECT id, name FROM hotkey ORDER BY id");
    stmt.reset();
    while (stmt.execute() == db_row)
        stmt.fetch_part_row<uint64_t, std::string>(0, [&](uint64_t id, std::string name) {
            hotkeys.push_back({id, std::move(name)});
        });
}
