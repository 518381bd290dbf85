#include "bench/bench_database.h"

#include "bench/bench_system.h"

#include <sqlite3.h>

#include <stdexcept>

namespace {

void exec_script(sqlite3* db, const std::string& path) {
    const std::string script = bench_read_file(path);
    if (script.empty()) throw std::runtime_error("cannot read " + path);
    char* message = nullptr;
    if (sqlite3_exec(db, script.c_str(), nullptr, nullptr, &message) != SQLITE_OK) {
        std::string text = message ? message : "?";
        sqlite3_free(message);
        throw std::runtime_error(path + ": " + text);
    }
}

} // namespace

void bench_build_database(const std::string& db_path, bool scale) {
    sqlite3* db = nullptr;
    if (sqlite3_open(db_path.c_str(), &db) != SQLITE_OK) {
        sqlite3_close(db);
        throw std::runtime_error("cannot create " + db_path);
    }
    try {
        exec_script(db, EHS_SOURCE_DIR "/sql/schema.sql");
        exec_script(db, EHS_SOURCE_DIR "/bench/bench_config.sql");
        if (scale) exec_script(db, EHS_SOURCE_DIR "/bench/bench_scale.sql");
    } catch (...) {
        sqlite3_close(db);
        throw;
    }
    sqlite3_close(db);
}

uint64_t bench_count(const std::string& db_path, const char* sql) {
    sqlite3* db = nullptr;
    sqlite3_open_v2(db_path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
    sqlite3_busy_timeout(db, 5000);
    sqlite3_stmt* stmt = nullptr;
    uint64_t count = 0;
    if (sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr) == SQLITE_OK && sqlite3_step(stmt) == SQLITE_ROW)
        count = static_cast<uint64_t>(sqlite3_column_int64(stmt, 0));
    sqlite3_finalize(stmt);
    sqlite3_close(db);
    return count;
}
