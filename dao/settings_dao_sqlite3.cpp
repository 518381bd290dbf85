#include "dao/settings_dao_sqlite3.h"

#include "db/db_exception.h"
#include "db/sqlite3_statement.h"

std::shared_ptr<settings_dao_t>
dao_implementation<settings_dao_t>::create(std::shared_ptr<dao_sqlite3_c> database) {
    return std::make_shared<settings_dao_sqlite3_t>(std::move(database));
}

std::string settings_dao_sqlite3_t::get_default_language() {
    // Joined with language so that a code no text exists in fails here, not at every lookup.
    auto stmt = statements_.prepare(
        *database_, "SELECT language.code FROM settings INNER JOIN language "
                    "ON language.code = settings.value WHERE settings.key = 'default_language'");
    stmt.reset();
    if (stmt.execute() != db_row) throw db_exception_t("empty query", db_code_empty_query);
    std::string code;
    stmt.fetch_part_row<std::string>(0, [&](std::string value) { code = std::move(value); });
    return code;
}

bool settings_dao_sqlite3_t::get_supervision_mode() {
    auto stmt = statements_.prepare(*database_, "SELECT value FROM settings WHERE key = 'supervision_mode'");
    stmt.reset();
    std::string value;
    if (stmt.execute() == db_row)
        stmt.fetch_part_row<std::string>(0, [&](std::string v) { value = std::move(v); });
    return value == "1";
}
