#pragma once
// Announces every committed change of the shared database to the controller's other processes:
// the update hook records the expanded SQL of each changing statement, the commit hook sends
// the records as messages on a System V queue, the rollback hook drops them. The three static
// hooks are installed on a connection with the connection handle as user data.
//
// Process-wide singleton. The containers carry no lock: the hooks run inside SQLite's
// connection mutex and rely on one connection using them at a time. init() throws
// std::runtime_error when the queue cannot be had; a failed send is logged and the commit
// goes on. msgsnd blocks while the queue is full, so someone must read it.
#include <sqlite3.h>

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

class cas_broadcast_hook_helper_c {
public:
    static cas_broadcast_hook_helper_c& instance();
    virtual ~cas_broadcast_hook_helper_c();
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

private:
    struct pending_change_t {
        std::string table;
        char* sql; // from sqlite3_expanded_sql, released with sqlite3_free
    };

    cas_broadcast_hook_helper_c() = default;
    void record(sqlite3* connection, const char* table_name) noexcept;
    void send_pending() noexcept;
    void discard_pending() noexcept;

    std::vector<pending_change_t> pending;
    std::deque<std::string> recent_sql; // the last texts recorded, so a multi-row statement is sent once
    int32_t msqid = -1;
};
