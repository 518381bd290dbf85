#pragma once
// Prepared statements for the DAOs: prepare, reset, bind by type, execute, fetch the row into a
// typed callback. DAOs need nothing else of SQLite (db_row / db_done replace SQLITE_ROW /
// SQLITE_DONE), and including this header does not pull in <sqlite3.h>. A DAO keeps its
// statements in a sqlite3_statement_cache_c, so that each text is compiled once per DAO object.
//
// Threads: a statement is used by one thread at a time; copies share one prepared statement for
// ownership only. A statement must not outlive the connection it was prepared on.
// Failures throw db_exception_t (db/db_exception.h).
#include "db/ac_tag_uid.h"
#include "db/db_exception.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

struct sqlite3_stmt;
class dao_sqlite3_c;

// Results of execute(), equal to SQLITE_OK, SQLITE_ROW and SQLITE_DONE.
constexpr int db_ok = 0;
constexpr int db_row = 100;
constexpr int db_done = 101;

// Owns one prepared statement and finalizes it; always created by make_shared.
struct sqlite3_statement_holder_t {
    // Prepares the first statement of `sql`; throws "db statement failed: ..." with code 4.
    sqlite3_statement_holder_t(dao_sqlite3_c& database, const std::string& sql);
    ~sqlite3_statement_holder_t();
    sqlite3_statement_holder_t(const sqlite3_statement_holder_t&) = delete;
    sqlite3_statement_holder_t& operator=(const sqlite3_statement_holder_t&) = delete;

    sqlite3_stmt* stmt = nullptr;
};

class sqlite3_statement_t {
public:
    explicit sqlite3_statement_t(std::shared_ptr<sqlite3_statement_holder_t> holder)
        : holder(std::move(holder)) {}

    // One step: db_ok, db_row or db_done. Throws "db statement failed: " + SQLite's text with
    // code 5 for a constraint violation, 6 when busy, 4 otherwise, after logging that same text
    // at ERROR (function "execute"): callers need not log the failure again.
    int execute();
    // Back to the start with all bindings cleared; code = SQLite's result on failure (a reset
    // after a failed step reports that step's failure again).
    void reset();

    // Binds at a 1-based parameter index; throws "failed to bind col(<n>)->..." with SQLite's
    // result as code. Texts end at their first zero byte; all values are copied into SQLite.
    void bind(int column, uint64_t value);
    void bind(int column, int32_t value);
    void bind(int column, bool value);
    void bind(int column, uint8_t value);
    void bind(int column, uint16_t value);
    void bind(int column, uint32_t value);
    void bind(int column, const std::string& value);
    void bind(int column, const char* value); // keeps a literal from binding as bool
    void bind(int column, const ac_tag_uid_t& value);
    void bind(int column, const std::array<uint8_t, 16>& value);

    // Binds the values to consecutive parameters from `column`, stopping at the first failure.
    template <typename First, typename Second, typename... Rest>
    void bind(int column, const First& first, const Second& second, const Rest&... rest) {
        bind(column, first);
        bind(column + 1, second, rest...);
    }

    // Reads the current row from `column` on, one column per type, left to right, and then
    // calls `callback` once with all values. The SELECT's column order is the callback's
    // parameter order. `callback` is a std::function<void(T, Rest...)> or anything convertible:
    //     stmt.fetch_part_row<uint64_t, std::string>(0, [&](uint64_t id, std::string name) { ... });
    // Readable types: uint64_t, int32_t, bool, uint8_t (low 8 bits), std::string (NULL reads ""),
    // ac_tag_uid_t (only 1..10 bytes, else empty), std::array<uint8_t, 16> (1..16 bytes copied
    // to the front, else all zero).
    template <typename T, typename... Rest, typename F>
    void fetch_part_row(int column, F&& callback) {
        fetch_columns<T, Rest...>(column, std::function<void(T, Rest...)>(std::forward<F>(callback)));
    }

    std::shared_ptr<sqlite3_statement_holder_t> holder;

private:
    // One step of the recursion per column, so one template serves rows of any width.
    template <typename T>
    void fetch_columns(int column, const std::function<void(T)>& callback) {
        T value{};
        read(column, value);
        callback(std::move(value));
    }
    template <typename T, typename Next, typename... Rest>
    void fetch_columns(int column, const std::function<void(T, Next, Rest...)>& callback) {
        T value{};
        read(column, value);
        // The callback runs once, so each value moves on instead of being copied.
        fetch_columns<Next, Rest...>(column + 1,
                                     std::function<void(Next, Rest...)>([&](Next next, Rest... rest) {
                                         callback(std::move(value), std::move(next), std::move(rest)...);
                                     }));
    }

    void read(int column, uint64_t& value) const;
    void read(int column, int32_t& value) const;
    void read(int column, bool& value) const;
    void read(int column, uint8_t& value) const;
    void read(int column, std::string& value) const;
    void read(int column, ac_tag_uid_t& value) const;
    void read(int column, std::array<uint8_t, 16>& value) const;
};

// Prepares `sql` (its first statement) on `database`'s connection.
sqlite3_statement_t prepare(dao_sqlite3_c& database, const std::string& sql);

class sqlite3_statement_cache_c;

// A statement lent by a sqlite3_statement_cache_c for one operation. Used like any statement
// (reset, bind, execute, fetch); when it goes out of scope it is reset, so that it keeps no
// read lock on the shared file and no half-read result, and it goes back to the cache.
class sqlite3_cached_statement_t : public sqlite3_statement_t {
public:
    ~sqlite3_cached_statement_t();
    sqlite3_cached_statement_t(const sqlite3_cached_statement_t&) = delete;
    sqlite3_cached_statement_t& operator=(const sqlite3_cached_statement_t&) = delete;

private:
    friend class sqlite3_statement_cache_c;
    // `cache` null: a statement of its own, finalized instead of returned.
    sqlite3_cached_statement_t(std::shared_ptr<sqlite3_statement_holder_t> holder,
                               sqlite3_statement_cache_c* cache, size_t slot)
        : sqlite3_statement_t(std::move(holder)), cache_(cache), slot_(slot) {}

    sqlite3_statement_cache_c* cache_;
    size_t slot_;
};

// The prepared statements of one DAO object, kept for the life of its connection: compiling a
// statement costs more than running most of them. The DAO still calls reset() before binding,
// so a statement starts every operation unbound, exactly as a freshly prepared one.
//
// Keyed by the SQL text (texts may be assembled at run time). A statement still lent out (an
// operation that runs another one of the same text while reading) gets a fresh statement of
// its own instead. After the connection was closed and opened again, the statements of the
// old one are prepared anew. One thread at a time, like the DAO that owns it; throws what
// prepare() throws.
class sqlite3_statement_cache_c {
public:
    sqlite3_statement_cache_c() = default;
    sqlite3_statement_cache_c(const sqlite3_statement_cache_c&) = delete;
    sqlite3_statement_cache_c& operator=(const sqlite3_statement_cache_c&) = delete;

    sqlite3_cached_statement_t prepare(dao_sqlite3_c& database, const std::string& sql) {
        return prepare(database, sql.data(), sql.size());
    }
    sqlite3_cached_statement_t prepare(dao_sqlite3_c& database, const char* sql);

    size_t size() const { return slots_.size(); }

private:
    friend class sqlite3_cached_statement_t;
    struct slot_t {
        std::string sql;
        std::shared_ptr<sqlite3_statement_holder_t> holder;
        bool lent = false;
    };

    sqlite3_cached_statement_t prepare(dao_sqlite3_c& database, const char* sql, size_t length);

    std::vector<slot_t> slots_;
};
