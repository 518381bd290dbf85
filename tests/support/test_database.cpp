#include "tests/support/test_database.h"

#include "dao/dao_registration.h"

#include <sqlite3.h>

#include <stdexcept>

namespace {

void exec_on(sqlite3* db, const std::string& sql) {
    char* message = nullptr;
    if (sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &message) == SQLITE_OK) return;
    std::string text = message != nullptr ? message : "?";
    sqlite3_free(message);
    throw std::runtime_error(sql.substr(0, 200) + ": " + text);
}

} // namespace

std::string test_database_c::schema_sql() {
    return read_file(EHS_SOURCE_DIR "/sql/schema.sql");
}
std::string test_database_c::demo_sql() {
    return read_file(EHS_SOURCE_DIR "/sql/demo.sql");
}

test_database_c::test_database_c(content_e content) : path_(dir_.file("acs.db")) {
    if (sqlite3_open(path_.c_str(), &raw_) != SQLITE_OK) throw std::runtime_error("cannot create " + path_);
    sqlite3_busy_timeout(raw_, 5000);
    exec_on(raw_, schema_sql());
    if (content == WITH_DEMO) exec_on(raw_, demo_sql());
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
    exec_on(raw_, sql);
}

std::string test_database_c::rows(const std::string& sql) {
    std::string out;
    auto callback = [](void* text, int count, char** values, char**) {
        auto& result = *static_cast<std::string*>(text);
        for (int i = 0; i < count; ++i)
            result += std::string(i ? "|" : "") + (values[i] ? values[i] : "NULL");
        result += "\n";
        return 0;
    };
    char* message = nullptr;
    if (sqlite3_exec(raw_, sql.c_str(), callback, &out, &message) != SQLITE_OK) {
        std::string text = message != nullptr ? message : "?";
        sqlite3_free(message);
        throw std::runtime_error(sql + ": " + text);
    }
    return out;
}
