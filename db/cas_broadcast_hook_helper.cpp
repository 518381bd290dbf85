#include "db/cas_broadcast_hook_helper.h"

#include "db/cas_broadcast_message.h"
#include "utils/ac_log.h"

#include <sys/ipc.h>
#include <sys/msg.h>
#include <systemd/sd-daemon.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace {

constexpr size_t recent_sql_limit = 5;
constexpr size_t watchdog_interval = 10; // messages; a long commit must not starve the watchdog
constexpr char ignored_table_prefix[] = "table_hashes";

// The statement that made the change: during an update hook it is the one being stepped that
// writes. Only one statement writes on a connection at a time, while any number of others may
// be prepared, finished-but-not-reset or in the middle of reading, so the first statement of the
// connection's list is not a safe pick. Changes made by triggers report the statement that fired
// them. A writing statement with RETURNING left half-read keeps counting as busy, so a second
// write during that time could be reported under its text; our DAOs use no RETURNING.
// Null when none is found.
sqlite3_stmt* changing_statement(sqlite3* connection) {
    for (sqlite3_stmt* stmt = sqlite3_next_stmt(connection, nullptr); stmt != nullptr;
         stmt = sqlite3_next_stmt(connection, stmt)) {
        if (sqlite3_stmt_busy(stmt) && sqlite3_stmt_readonly(stmt) == 0) return stmt;
    }
    return nullptr;
}

void copy_cut(char* target, size_t target_size, const char* text) {
    size_t length = std::min(strlen(text), target_size - 1);
    memcpy(target, text, length);
    target[length] = '\0';
}

} // namespace

cas_broadcast_hook_helper_c& cas_broadcast_hook_helper_c::instance() {
    static cas_broadcast_hook_helper_c helper;
    return helper;
}

cas_broadcast_hook_helper_c::~cas_broadcast_hook_helper_c() {
    discard_pending();
}

void cas_broadcast_hook_helper_c::init() {
    key_t key = ftok(cas_broadcast_queue_file, cas_broadcast_queue_id);
    if (key == -1) {
        ac_log(AC_LOG_ERROR, AC_LOG_CAT_CASCADINGSERVICE, "init", "failed to ftok: %s", strerror(errno));
        throw std::runtime_error("failed to init database hooks");
    }
    msqid = msgget(key, IPC_CREAT | 0644);
    if (msqid == -1) {
        ac_log(AC_LOG_ERROR, AC_LOG_CAT_CASCADINGSERVICE, "init", "failed to msgget: %s", strerror(errno));
        throw std::runtime_error("failed to init database hooks");
    }
    // The limits tell from the log how many messages fit before msgsnd starts to block.
    msginfo limits{};
    if (msgctl(0, IPC_INFO, reinterpret_cast<msqid_ds*>(&limits)) != -1) {
        ac_log(AC_LOG_INFO, AC_LOG_CAT_CASCADINGSERVICE, "init", "msgq max bytes of message %d",
               limits.msgmax);
        ac_log(AC_LOG_INFO, AC_LOG_CAT_CASCADINGSERVICE, "init", "msgq max message %d", limits.msgmnb);
    }
}

void cas_broadcast_hook_helper_c::update_hook(void* connection, int, const char*, const char* table_name,
                                              sqlite3_int64) {
    instance().record(static_cast<sqlite3*>(connection), table_name);
}

int cas_broadcast_hook_helper_c::commit_hook(void*) {
    instance().send_pending();
    return 0;
}

void cas_broadcast_hook_helper_c::rollback_hook(void*) {
    instance().discard_pending();
}

void cas_broadcast_hook_helper_c::record(sqlite3* connection, const char* table_name) noexcept {
    if (strncmp(table_name, ignored_table_prefix, sizeof ignored_table_prefix - 1) == 0) return;
    sqlite3_stmt* stmt = changing_statement(connection);
    if (stmt == nullptr) return;
    char* sql = sqlite3_expanded_sql(stmt);
    if (sql == nullptr) return;
    // One statement that touches many rows calls the hook once per row but is sent once.
    if (std::find(recent_sql.begin(), recent_sql.end(), sql) != recent_sql.end()) {
        sqlite3_free(sql);
        return;
    }
    recent_sql.emplace_back(sql);
    pending.push_back({table_name, sql});
    if (recent_sql.size() > recent_sql_limit) recent_sql.pop_front();
}

void cas_broadcast_hook_helper_c::send_pending() noexcept {
    size_t counter = 0;
    for (auto& change : pending) {
        if (counter % watchdog_interval == 0) sd_notify(0, "WATCHDOG=1");
        cas_broadcast_message_t message{};
        copy_cut(message.table, sizeof message.table, change.table.c_str());
        copy_cut(message.sql, sizeof message.sql, change.sql);
        if (msgsnd(msqid, &message, cas_broadcast_payload_size, 0) == -1)
            ac_log(AC_LOG_ERROR, AC_LOG_CAT_CASCADINGSERVICE, "operator()", "failed to msgsnd: %s",
                   strerror(errno));
        sqlite3_free(change.sql);
        change.sql = nullptr;
        ++counter;
    }
    pending.clear();
    recent_sql.clear();
}

void cas_broadcast_hook_helper_c::discard_pending() noexcept {
    for (auto& change : pending)
        sqlite3_free(change.sql);
    pending.clear();
    recent_sql.clear();
}
