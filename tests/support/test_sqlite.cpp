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

std::string db_failures(std::initializer_list<std::function<void()>> actions) {
    std::string lines;
    for (const auto& action : actions)
        lines += db_failure(action) + "\n";
    return lines;
}
