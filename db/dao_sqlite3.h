#pragma once
// The one place where a connection to a SQLite database is opened, configured and closed. Every
// DAO of a database shares one object of this class (through a shared pointer); statements and
// transactions take the raw handle from get_handle().
//
// The database file is shared with the controller's other services, so open() first waits for
// the write lock and then leaves the connection with a short busy timeout; writers retry their
// "BEGIN IMMEDIATE" instead (exec_with_retry).
//
// Threads: SQLite serialises single calls on one connection, but a transaction is the
// connection's, not a thread's: transaction_mutex() keeps the transactions of two threads
// (event handling and supervision) from running into each other. Failures throw
// db_exception_t; close(), set_busy_timeout() and rollback_transaction() only log.
#include "db/db_exception.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

// The callback types of sqlite3_update_hook, sqlite3_rollback_hook and sqlite3_commit_hook
// (long long is sqlite3_int64), spelled out so that users of this header need no <sqlite3.h>.
using db_update_hook_t = void (*)(void* connection, int operation, const char* database, const char* table,
                                  long long rowid);
using db_rollback_hook_t = void (*)(void* connection);
using db_commit_hook_t = int (*)(void* connection);

// How a database is opened; the defaults are the service's own: an existing file, no extension.
struct db_open_options_t {
    // A missing file is created instead of refused. Off for the shared database, so that a wrong
    // path never leaves an empty file behind for the other services to find.
    bool allow_missing = false;
    // Loads dao_sqlite3_c::sha_extension_path (SQL's SHA hash functions); a failed load fails the open.
    bool load_extension = false;

    static db_open_options_t with_extension(bool load_extension) {
        db_open_options_t options;
        options.load_extension = load_extension;
        return options;
    }
    static db_open_options_t allowing_missing() {
        db_open_options_t options;
        options.allow_missing = true;
        return options;
    }
};

class dao_sqlite3_c {
public:
    // The optional extension that gives SQL its SHA hash functions.
    static constexpr const char* sha_extension_path = "/usr/lib/libsqlite3-sha.so";

    dao_sqlite3_c(db_update_hook_t update_hook, db_rollback_hook_t rollback_hook,
                  db_commit_hook_t commit_hook)
        : update_hook_(update_hook), rollback_hook_(rollback_hook), commit_hook_(commit_hook) {}
    dao_sqlite3_c() : dao_sqlite3_c(nullptr, nullptr, nullptr) {}
    ~dao_sqlite3_c() { close(); }
    dao_sqlite3_c(const dao_sqlite3_c&) = delete;
    dao_sqlite3_c& operator=(const dao_sqlite3_c&) = delete;

    // Memory names skip the file check. On failure the object stays closed.
    void open(const std::filesystem::path& path, const db_open_options_t& options = {});

    // How the registry opens a database: a path containing ".sql" names a script that fills a
    // fresh in-memory database (tests, demo installations); any other path is a file that must exist.
    void open_database(const std::string& path, bool load_extension);

    // Idempotent; a statement still alive keeps the connection until it is finalized.
    void close();

    sqlite3* get_handle() const;
    // Takes effect at the next open; run in insertion order as "PRAGMA " + body.
    void add_pragma(const std::string& body) { pragmas_.push_back(body); }
    const std::string& path() const { return path_; }

    static bool is_memory_database(const std::string& name);
    // Bounds the heap of SQLite in the whole process (all connections), softly: near the bound
    // the page caches reuse their pages instead of growing, and no allocation fails.
    static void limit_heap(int64_t bytes);
    // A file database counts as open only while its file is still there.
    bool is_open(const std::filesystem::path& name) const;

    // Runs `sql` up to retries + 1 times, yielding in between; the busy timeout does the waiting.
    // Throws "\"<sql>\" failed" with code 6 when any attempt was busy, else `error_code`.
    // "BEGIN", "BEGIN IMMEDIATE", "COMMIT" and "ROLLBACK" run as statements compiled once per
    // connection (every event runs them), anything else through sqlite3_exec.
    void exec_with_retry(const std::string& sql, uint32_t retries, int32_t error_code);
    // "BEGIN IMMEDIATE" as exec_with_retry(.., retries, 6) does it, holding the connection's
    // turn (transaction_mutex) during each attempt only, and returning it held once the begin
    // succeeded: while another process holds the write lock, the other thread's reads wait for
    // one attempt (one busy timeout) at most, not for the whole retry loop.
    std::unique_lock<std::recursive_mutex> begin_immediate(uint32_t retries);
    void exec_sql_script(const std::string& sql);
    void set_busy_timeout(int milliseconds);
    // "ROLLBACK" once; a failure (e.g. no transaction open) is logged, never thrown.
    void rollback_transaction();

    // True while a transaction is open on the connection (false when closed).
    bool in_transaction() const;

    // Rowid of the connection's most recent successful INSERT: the id of a row just created.
    // The connection's, not the thread's: meaningful only to the thread that inserted.
    uint64_t last_insert_rowid() const;

    // Held by a transaction object from its "BEGIN IMMEDIATE" until its commit or rollback.
    // Recursive, so that a second begin on the same thread still reaches SQLite and fails there.
    std::recursive_mutex& transaction_mutex() { return transaction_mutex_; }

private:
    struct attempt_state_t {
        int32_t code; // thrown when every attempt failed
        bool damaged; // some attempt found the file damaged
    };
    bool attempt_succeeded(const std::string& sql, attempt_state_t& state);
    static db_exception_t failed_attempts(const std::string& sql, const attempt_state_t& state);
    void configure();
    // One run of `sql`: SQLITE_OK or SQLite's failure, whose text is left in `message` when asked for.
    int run(const std::string& sql, std::string* message);
    void finalize_transaction_statements();

    // The transaction statements of the connection, compiled on first use (null until then).
    static constexpr std::array<const char*, 4> transaction_sql = {"BEGIN", "BEGIN IMMEDIATE", "COMMIT",
                                                                   "ROLLBACK"};
    struct finalizer_t {
        void operator()(sqlite3_stmt* stmt) const;
    };
    struct closer_t {
        void operator()(sqlite3* db) const;
    };
    std::array<std::unique_ptr<sqlite3_stmt, finalizer_t>, transaction_sql.size()> transaction_statements_;

    std::unique_ptr<sqlite3, closer_t> db_;
    std::string path_;
    db_update_hook_t update_hook_;
    db_rollback_hook_t rollback_hook_;
    db_commit_hook_t commit_hook_;
    std::vector<std::string> pragmas_;
    std::recursive_mutex transaction_mutex_;
};
