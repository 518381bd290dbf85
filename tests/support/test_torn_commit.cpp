#include "tests/support/test_torn_commit.h"

#include "tests/support/test_files.h"
#include "tests/support/test_sqlite.h"

#include <sqlite3.h>

#include <stdexcept>

namespace {

size_t number(const std::string& path, const std::string& sql) {
    const std::string value = fresh_value(path, sql);
    if (value == "?") throw std::runtime_error("tear_commit: " + sql + " failed on " + path);
    return std::stoul(value);
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
    const size_t page_size = number(path, "PRAGMA page_size"),
                 root = number(path, "SELECT rootpage FROM sqlite_master WHERE type='index' AND name='" +
                                         index + "'");
    const size_t at = (root - 1) * page_size;
    std::string torn = how == torn_e::index_behind ? after : before;
    torn.replace(at, page_size, (how == torn_e::index_behind ? before : after).substr(at, page_size));
    // The header's change counters as the commit wrote them, so that open connections drop
    // their page cache and read the torn file.
    torn.replace(24, 4, after.substr(24, 4));
    torn.replace(92, 4, after.substr(92, 4));
    write_file(path, torn);
}
