#pragma once
// Helpers of the database tests: a second, raw connection to provoke contention, rows rendered
// as text, and a counter of statement runs (each attempt of a retried statement is one run).
#include "db/db_exception.h"

#include <sqlite3.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <utility>

inline void exec(sqlite3* db, const std::string& sql) {
    char* message = nullptr;
    if (sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &message) == SQLITE_OK) return;
    std::string text = message ? message : "?";
    sqlite3_free(message);
    throw std::runtime_error(sql + ": " + text);
}

// Every row as "a|b\n"; NULL as "NULL".
inline std::string rows(sqlite3* db, const std::string& sql) {
    std::string out;
    auto callback = [](void* text, int count, char** values, char**) {
        auto& result = *static_cast<std::string*>(text);
        for (int i = 0; i < count; ++i)
            result += std::string(i ? "|" : "") + (values[i] ? values[i] : "NULL");
        result += "\n";
        return 0;
    };
    char* message = nullptr;
    if (sqlite3_exec(db, sql.c_str(), callback, &out, &message) != SQLITE_OK) {
        std::string text = message ? message : "?";
        sqlite3_free(message);
        throw std::runtime_error(sql + ": " + text);
    }
    return out;
}

// A connection of "another process": opened without any of the wrapper's configuration.
class raw_connection_c {
public:
    explicit raw_connection_c(const std::string& path) {
        if (sqlite3_open(path.c_str(), &db_) != SQLITE_OK) throw std::runtime_error("cannot open " + path);
    }
    ~raw_connection_c() { sqlite3_close_v2(db_); }
    raw_connection_c(const raw_connection_c&) = delete;
    raw_connection_c& operator=(const raw_connection_c&) = delete;

    sqlite3* get() const { return db_; }
    void exec(const std::string& sql) const { ::exec(db_, sql); }

private:
    sqlite3* db_ = nullptr;
};

// Counts how often `sql` starts running on `db` from now on; must not outlive the connection.
struct statement_counter_t {
    statement_counter_t(sqlite3* db, std::string sql) : db(db), sql(std::move(sql)) {
        sqlite3_trace_v2(db, SQLITE_TRACE_STMT, &on_statement, this);
    }
    ~statement_counter_t() { sqlite3_trace_v2(db, 0, nullptr, nullptr); }
    statement_counter_t(const statement_counter_t&) = delete;
    statement_counter_t& operator=(const statement_counter_t&) = delete;

    static int on_statement(unsigned, void* self, void*, void* text) {
        auto* counter = static_cast<statement_counter_t*>(self);
        if (counter->sql == static_cast<const char*>(text)) ++counter->count;
        return 0;
    }
    sqlite3* db;
    std::string sql;
    int count = 0;
};

// Runs `action` and returns "text|code" of the db_exception_t it throws.
inline std::string failure(const std::function<void()>& action) {
    try {
        action();
    } catch (const db_exception_t& e) {
        return std::string(e.what()) + "|" + std::to_string(e.code);
    }
    return "no exception";
}
