#include "tests/support/test_database.h"

#include "dao/dao_registration.h"
#include "tests/support/test_sqlite.h"

#include <sqlite3.h>

#include <stdexcept>

std::string test_database_c::schema_sql() {
    return read_file(EHS_SOURCE_DIR "/sql/schema.sql");
}
std::string test_database_c::demo_sql() {
    return read_file(EHS_SOURCE_DIR "/sql/demo.sql");
}

test_database_c::test_database_c(content_e content) : path_(dir_.file("acs.db")) {
    if (sqlite3_open(path_.c_str(), &raw_) != SQLITE_OK) throw std::runtime_error("cannot create " + path_);
    sqlite3_busy_timeout(raw_, 5000);
    exec(schema_sql());
    if (content == WITH_DEMO) exec(demo_sql());
    registry_ = std::make_unique<dao_registry_c>();
    uint32_t index = registry_->add_database("acs_db", path_,
                                             {"foreign_keys=ON", "journal_mode=MEMORY", "synchronous=OFF"},
                                             nullptr, nullptr, nullptr, false);
    register_all_dao_types(*registry_, index);
}

test_database_c::~test_database_c() {
    registry_.reset();
    sqlite3_close_v2(raw_);
}

void test_database_c::exec(const std::string& sql) {
    sql_rows(raw_, sql);
}

std::string test_database_c::rows(const std::string& sql) {
    return sql_rows(raw_, sql);
}

void test_database_c::rebuild_foreign_layout() {
    // One CREATE, INSERT ... SELECT, DROP and RENAME per table, generated from its table_info.
    const std::string names = "(SELECT group_concat(name) FROM pragma_table_info(m.name))";
    exec(
        "BEGIN; CREATE TEMP TABLE seq AS SELECT * FROM sqlite_sequence;" +
        rows("SELECT 'CREATE TABLE copy(other_tool TEXT NOT NULL DEFAULT ''x'', ' || (SELECT group_concat(c, "
             "', ') "
             "FROM (SELECT name || ' ' || iif(pk, type, iif(type = 'INTEGER', 'NUMERIC', 'VARCHAR(64)')) || "
             "iif(\"notnull\", ' NOT NULL', '') || iif(dflt_value IS NULL, '', ' DEFAULT ' || dflt_value) AS "
             "c "
             "FROM pragma_table_info(m.name) ORDER BY cid DESC)) || ', PRIMARY KEY (' || (SELECT "
             "group_concat(name) FROM (SELECT name FROM pragma_table_info(m.name) WHERE pk ORDER BY pk)) || "
             "iif(sql LIKE '%AUTOINCREMENT%', ' AUTOINCREMENT', '') || ')); INSERT INTO copy(' || " +
             names + " || ') SELECT ' || " + names +
             " || ' FROM ' || name || '; DROP TABLE ' || name || '; ALTER TABLE copy RENAME TO ' || name || "
             "';' FROM sqlite_master m WHERE type = 'table' AND name NOT LIKE 'sqlite%'") +
        "DELETE FROM sqlite_sequence; INSERT INTO sqlite_sequence SELECT * FROM seq; DROP TABLE seq; COMMIT");
}
