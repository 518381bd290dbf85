#pragma once
// A real database file for DAO and handler tests, built from sql/schema.sql (and, on request,
// sql/demo.sql), registered as "acs_db" with every DAO type in a registry of the test's own, the
// way the service registers it. A second, raw connection stands for the controller's other
// processes: it sets up rows, reads them back as text and provokes contention.
#include "db/dao_registry.h"
#include "tests/support/test_files.h"

#include <memory>
#include <string>

struct sqlite3;

class test_database_c {
public:
    enum content_e { SCHEMA_ONLY, WITH_DEMO };
    explicit test_database_c(content_e content = SCHEMA_ONLY);
    ~test_database_c();
    test_database_c(const test_database_c&) = delete;
    test_database_c& operator=(const test_database_c&) = delete;

    const std::string& path() const { return path_; }
    dao_registry_c& registry() { return *registry_; }
    template <typename T>
    std::shared_ptr<T> dao() {
        return registry_->get_dao<T>();
    }

    // Through the raw connection; throws std::runtime_error with SQLite's message on failure.
    void exec(const std::string& sql);
    // Every row as "a|b\n"; NULL as "NULL".
    std::string rows(const std::string& sql);
    sqlite3* raw() const { return raw_; }

    // The same rows in the layout another tool of the controller may create: every table with
    // its columns reversed, INTEGER as NUMERIC, TEXT as VARCHAR, an extra column first and no
    // foreign keys, unique constraints or indexes. Only the primary keys stay, which the DAOs
    // rely on (rowid aliases, event_log's AUTOINCREMENT, the office-mode key).
    void rebuild_foreign_layout();

    static std::string schema_sql();
    static std::string demo_sql();

private:
    temp_dir_c dir_;
    std::string path_;
    sqlite3* raw_ = nullptr;
    std::unique_ptr<dao_registry_c> registry_;
};
