#pragma once
// Announces every committed change of the shared database to the controller's other processes:
// the update hook records the expanded SQL of each changing statement, the commit hook sets the
// records aside, and once the step that committed has returned, settle() sends them as
// messages on a System V queue when the commit succeeded, or drops them when it failed (SQLite
// calls the commit hook before it writes, so a full or read-only file fails the commit after
// the hook). The rollback hook drops the records. The hooks are installed on a connection with
// the connection handle as user data.
//
// A full queue (its reader dead or hung) must never stop the service: a send waits for room at
// most send_wait_ms, then the changes that do not fit are dropped without waiting, with one
// ERROR line when it starts, one a minute while it lasts, one with the count when the queue has
// room again; announcements resume by themselves.
//
// Process-wide singleton. The records carry no lock: the hooks run inside SQLite's connection
// mutex and rely on one connection writing at a time; what a commit set aside belongs to the
// committing thread until its settle(). init() throws std::runtime_error when the queue cannot
// be had; any other failed send is logged and loses that one message.
#include "db/cas_broadcast_message.h"

#include <sqlite3.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

class cas_broadcast_hook_helper_c {
public:
    // How long one send may wait for room in a full queue: a slow reader (a busy controller)
    // keeps up, a dead one costs the service this much once.
    static constexpr int send_wait_ms = 500;

    static cas_broadcast_hook_helper_c& instance();
    virtual ~cas_broadcast_hook_helper_c() = default;
    cas_broadcast_hook_helper_c(const cas_broadcast_hook_helper_c&) = delete;
    cas_broadcast_hook_helper_c& operator=(const cas_broadcast_hook_helper_c&) = delete;

    // Creates or opens the queue; called once at start, before any database is opened.
    void init();

    // Signatures of sqlite3_update_hook, sqlite3_commit_hook and sqlite3_rollback_hook;
    // `connection` is the sqlite3* the hook is installed on.
    static void update_hook(void* connection, int operation, const char* database_name,
                            const char* table_name, sqlite3_int64 rowid);
    static int commit_hook(void* connection); // always 0: never turns a commit into a rollback
    static void rollback_hook(void* connection);

    // Called by the database layer after every step on `connection` that may have committed
    // (COMMIT, a statement outside a transaction, a script), with the step's result: sends what
    // this thread's commit set aside when the step succeeded, gives it back to the open
    // transaction when the commit failed but the transaction is still open (a busy COMMIT is
    // tried again), drops it otherwise. Does nothing when no commit happened.
    static void settle(sqlite3* connection, int step_result) noexcept;

private:
    struct sql_free_t {
        void operator()(char* sql) const { sqlite3_free(sql); }
    };
    struct pending_change_t {
        std::string table;
        std::unique_ptr<char, sql_free_t> sql; // from sqlite3_expanded_sql
    };
    using changes_t = std::vector<pending_change_t>;

    cas_broadcast_hook_helper_c() = default;
    void record(sqlite3* connection, const char* table_name) noexcept;
    void set_aside() noexcept;
    void send(changes_t& changes) noexcept;
    bool send_one(const pending_change_t& change) noexcept;
    void note_full_queue() noexcept;

    // This thread's committed changes between its commit hook and the end of the step.
    static changes_t& set_aside_changes();

    changes_t pending;
    std::deque<std::string> recent_sql; // the last texts recorded, so a multi-row statement is sent once
    int32_t msqid = -1;

    // Sends of both threads, and the state of a full queue.
    std::mutex send_mutex_;
    bool queue_full_ = false;
    uint64_t dropped_ = 0;
    std::chrono::steady_clock::time_point last_full_report_;
};
