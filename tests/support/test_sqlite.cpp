#include "tests/support/test_sqlite.h"

#include <stdexcept>

std::string sql_rows(sqlite3* db, const std::string& sql) {
    std::string out;
    auto append_row = [](void* text, int count, char** values, char**) {
        for (int i = 0; i < count; ++i)
            *static_cast<std::string*>(text) += std::string(i ? "|" : "") + (values[i] ? values[i] : "NULL");
        *static_cast<std::string*>(text) += "\n";
        return 0;
    };
    char* message = nullptr;
    if (sqlite3_exec(db, sql.c_str(), append_row, &out, &message) == SQLITE_OK) return out;
    const std::string text = message != nullptr ? message : "?";
    sqlite3_free(message);
    throw std::runtime_error(sql + ": " + text);
}

std::string fresh_value(const std::string& path, const std::string& sql) {
    sqlite3* db = nullptr;
    sqlite3_stmt* stmt = nullptr;
    std::string first = "?";
    if (sqlite3_open(path.c_str(), &db) == SQLITE_OK &&
        sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr) == SQLITE_OK &&
        sqlite3_step(stmt) == SQLITE_ROW)
        first = reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0));
    sqlite3_finalize(stmt);
    sqlite3_close(db);
    return first;
}

std::string db_failures(std::initializer_list<std::function<void()>> actions) {
    std::string lines;
    for (const auto& action : actions)
        lines += db_failure(action) + "\n";
    return lines;
}
