#include "db/cas_broadcast_hook_helper.h"

#include "utils/ac_log.h"

#include <sys/ipc.h>
#include <sys/msg.h>
#include <systemd/sd-daemon.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <thread>

namespace {

constexpr size_t recent_sql_limit = 5;
constexpr size_t watchdog_interval = 10; // messages; a long commit must not starve the watchdog
constexpr char ignored_table_prefix[] = "table_hashes";
constexpr auto full_queue_report_interval = std::chrono::minutes(1);
constexpr auto full_queue_poll = std::chrono::milliseconds(2);

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

bool step_succeeded(int result) {
    return result == SQLITE_OK || result == SQLITE_DONE || result == SQLITE_ROW;
}

} // namespace

cas_broadcast_hook_helper_c& cas_broadcast_hook_helper_c::instance() {
    static cas_broadcast_hook_helper_c helper;
    return helper;
}

cas_broadcast_hook_helper_c::changes_t& cas_broadcast_hook_helper_c::set_aside_changes() {
    thread_local changes_t changes;
    return changes;
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
    // The limits tell from the log how many messages fit before the queue is full.
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
    instance().set_aside();
    return 0;
}

void cas_broadcast_hook_helper_c::rollback_hook(void*) {
    auto& helper = instance();
    helper.pending.clear();
    helper.recent_sql.clear();
}

void cas_broadcast_hook_helper_c::settle(sqlite3* connection, int step_result) noexcept {
    changes_t& committed = set_aside_changes();
    if (committed.empty()) return;
    auto& helper = instance();
    if (step_succeeded(step_result)) {
        helper.send(committed);
    } else if (sqlite3_get_autocommit(connection) == 0) {
        // The COMMIT failed but left the transaction open: its changes wait for the next COMMIT.
        helper.pending.insert(helper.pending.begin(), std::make_move_iterator(committed.begin()),
                              std::make_move_iterator(committed.end()));
    }
    committed.clear();
}

void cas_broadcast_hook_helper_c::record(sqlite3* connection, const char* table_name) noexcept {
    if (strncmp(table_name, ignored_table_prefix, sizeof ignored_table_prefix - 1) == 0) return;
    sqlite3_stmt* stmt = changing_statement(connection);
    if (stmt == nullptr) return;
    std::unique_ptr<char, sql_free_t> sql(sqlite3_expanded_sql(stmt));
    if (sql == nullptr) return;
    // One statement that touches many rows calls the hook once per row but is sent once.
    if (std::find(recent_sql.begin(), recent_sql.end(), sql.get()) != recent_sql.end()) return;
    recent_sql.emplace_back(sql.get());
    pending.push_back({table_name, std::move(sql)});
    if (recent_sql.size() > recent_sql_limit) recent_sql.pop_front();
}

void cas_broadcast_hook_helper_c::set_aside() noexcept {
    changes_t& committed = set_aside_changes();
    std::move(pending.begin(), pending.end(), std::back_inserter(committed));
    pending.clear();
    recent_sql.clear();
}

void cas_broadcast_hook_helper_c::send(changes_t& changes) noexcept {
    std::lock_guard<std::mutex> lock(send_mutex_);
    size_t counter = 0;
    for (const auto& change : changes) {
        if (counter % watchdog_interval == 0) sd_notify(0, "WATCHDOG=1");
        if (!send_one(change)) note_full_queue();
        ++counter;
    }
}

// False only when the queue stayed full: every other failure is logged here and loses the message.
bool cas_broadcast_hook_helper_c::send_one(const pending_change_t& change) noexcept {
    cas_broadcast_message_t message{};
    copy_cut(message.table, sizeof message.table, change.table.c_str());
    copy_cut(message.sql, sizeof message.sql, change.sql.get());
    // Once the queue was found full, no send waits until it has room again.
    const auto deadline =
        std::chrono::steady_clock::now() +
        (queue_full_ ? std::chrono::milliseconds(0) : std::chrono::milliseconds(send_wait_ms));
    for (;;) {
        if (msgsnd(msqid, &message, cas_broadcast_payload_size, IPC_NOWAIT) == 0) break;
        if (errno == EINTR) continue;
        if (errno != EAGAIN) {
            ac_log(AC_LOG_ERROR, AC_LOG_CAT_CASCADINGSERVICE, "operator()", "failed to msgsnd: %s",
                   strerror(errno));
            return true;
        }
        if (std::chrono::steady_clock::now() >= deadline) return false;
        std::this_thread::sleep_for(full_queue_poll);
    }
    if (queue_full_) {
        ac_log(AC_LOG_ERROR, AC_LOG_CAT_CASCADINGSERVICE, "operator()",
               "msgsnd: queue has room again, %llu changes were not announced",
               static_cast<unsigned long long>(dropped_));
        queue_full_ = false;
        dropped_ = 0;
    }
    return true;
}

void cas_broadcast_hook_helper_c::note_full_queue() noexcept {
    ++dropped_;
    const auto now = std::chrono::steady_clock::now();
    if (!queue_full_) {
        queue_full_ = true;
        last_full_report_ = now;
        ac_log(AC_LOG_ERROR, AC_LOG_CAT_CASCADINGSERVICE, "operator()",
               "failed to msgsnd: queue full for %d ms, changes are not announced until it has room",
               send_wait_ms);
    } else if (now - last_full_report_ >= full_queue_report_interval) {
        last_full_report_ = now;
        ac_log(AC_LOG_ERROR, AC_LOG_CAT_CASCADINGSERVICE, "operator()",
               "failed to msgsnd: queue still full, %llu changes not announced so far",
               static_cast<unsigned long long>(dropped_));
    }
}
