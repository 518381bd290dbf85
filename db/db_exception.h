#pragma once
// The one exception of the database layer. `code` tells callers what went wrong without parsing
// the text (the db_code_* list below); 0 for failures that have no SQLite result (missing file,
// closed connection, failed SQL script).
#include <cstdint>
#include <stdexcept>
#include <string>

class db_exception_t : public std::runtime_error {
public:
    explicit db_exception_t(const std::string& what, int32_t error_code = 0)
        : std::runtime_error(what), code(error_code) {}

    int32_t code = 0;
    // SQLite found the file damaged (SQLITE_CORRUPT): a torn commit, which a repair may undo.
    bool file_damaged = false;
};

// Codes of the database layer; SQLite's own result is the code of reset and bind failures.
constexpr int32_t db_code_empty_query = 2; // a DAO read that must find a row found none
constexpr int32_t db_code_open = 3;
constexpr int32_t db_code_statement = 4;
constexpr int32_t db_code_constraint = 5;
constexpr int32_t db_code_busy = 6;
constexpr int32_t db_code_commit = 7;

// The single way a SQLite result becomes an exception: `prefix` followed directly by SQLite's
// generic text of `sqlite_result` (sqlite3_errstr, never the connection's detailed message, so
// texts stay stable whatever the connection did before).
// SQLITE_CORRUPT and its extended codes mark the exception as file_damaged.
db_exception_t make_db_exception(const std::string& prefix, int sqlite_result, int32_t code);
bool db_result_means_damage(int sqlite_result);
