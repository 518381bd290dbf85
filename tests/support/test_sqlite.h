#pragma once
// Raw SQLite for tests of the database layer: SQL on any connection with its rows as text, and
// the code that travels with a db_exception_t.
#include "db/db_exception.h"
#include "tests/support/test_expect.h"

#include <sqlite3.h>

#include <functional>
#include <string>

// Every row as "a|b\n"; NULL as "NULL". Throws std::runtime_error with SQLite's message.
std::string sql_rows(sqlite3* db, const std::string& sql);
// The first value of `sql` read through a connection of its own, as another process sees the file
// (a connection kept open may take a file changed behind its back for the one it knew); "?" when
// there is none.
std::string fresh_value(const std::string& path, const std::string& sql);

// "text|code" of the db_exception_t that `action` threw; "|-1" when it threw none.
template <typename Action>
std::string db_failure(Action&& action) {
    int32_t code = -1;
    const std::string text = thrown<db_exception_t>([&] {
        try {
            action();
        } catch (const db_exception_t& e) {
            code = e.code;
            throw;
        }
    });
    return text + "|" + std::to_string(code);
}
// db_failure of each action in turn, one line each.
std::string db_failures(std::initializer_list<std::function<void()>> actions);
