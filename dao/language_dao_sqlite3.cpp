#include "dao/language_dao_sqlite3.h"

#include "db/sqlite3_statement.h"

std::shared_ptr<language_dao_c>
dao_implementation<language_dao_c>::create(std::shared_ptr<dao_sqlite3_c> database) {
    return std::make_shared<language_dao_sqlite3_c>(std::move(database));
}

bool language_dao_sqlite3_c::get_language_by_code(const std::string& code, language_t& language) {
    auto stmt = statements_.prepare(*database_, "SELECT id, code, name FROM language WHERE code = ?");
    stmt.reset();
    stmt.bind(1, code);
    if (stmt.execute() != db_row) return false;
    stmt.fetch_part_row<uint64_t, std::string, std::string>(
        0, [&](uint64_t id, std::string found_code, std::string name) {
            language = {id, std::move(found_code), std::move(name)};
        });
    return true;
}

void language_dao_sqlite3_c::get_languages(std::vector<language_t>& languages) {
    auto stmt = statements_.prepare(*database_, "SELECT id, code, name FROM language ORDER BY id");
    stmt.reset();
    while (stmt.execute() == db_row)
        stmt.fetch_part_row<uint64_t, std::string, std::string>(
            0, [&](uint64_t id, std::string code, std::string name) {
                languages.push_back({id, std::move(code), std::move(name)});
            });
}
