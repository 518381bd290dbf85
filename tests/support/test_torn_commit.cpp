#include "tests/support/test_torn_commit.h"

#include "tests/support/test_files.h"

#include <sqlite3.h>

#include <stdexcept>

namespace {

long long query_number(const std::string& path, const std::string& sql) {
    sqlite3* db = nullptr;
    sqlite3_stmt* stmt = nullptr;
    long long value = -1;
    if (sqlite3_open(path.c_str(), &db) == SQLITE_OK &&
        sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr) == SQLITE_OK &&
        sqlite3_step(stmt) == SQLITE_ROW)
        value = sqlite3_column_int64(stmt, 0);
    sqlite3_finalize(stmt);
    sqlite3_close(db);
    if (value < 0) throw std::runtime_error("tear_commit: " + sql + " failed on " + path);
    return value;
}

} // namespace

void tear_commit(const std::string& path, const std::string& commit_sql, const std::string& index,
                 torn_e how) {
    const std::string before = read_file(path);
    sqlite3* db = nullptr;
    sqlite3_open(path.c_str(), &db);
    const int result = sqlite3_exec(db, commit_sql.c_str(), nullptr, nullptr, nullptr);
    sqlite3_close(db);
    if (result != SQLITE_OK) throw std::runtime_error("tear_commit: " + commit_sql + " failed");
    const std::string after = read_file(path);
    const auto page_size = static_cast<size_t>(query_number(path, "PRAGMA page_size"));
    const auto root = static_cast<size_t>(
        query_number(path, "SELECT rootpage FROM sqlite_master WHERE type='index' AND name='" + index + "'"));
    const size_t at = (root - 1) * page_size;
    std::string torn = how == torn_e::index_behind ? after : before;
    torn.replace(at, page_size, (how == torn_e::index_behind ? before : after).substr(at, page_size));
    // The header's change counters as the commit wrote them, so that open connections drop
    // their page cache and read the torn file.
    torn.replace(24, 4, after.substr(24, 4));
    torn.replace(92, 4, after.substr(92, 4));
    write_file(path, torn);
}
