#include "db/dao_sqlite3.h"

#include "db/cas_broadcast_hook_helper.h"
#include "db/db_exception.h"
#include "db/sqlite3_statement.h"
#include "utils/ac_log.h"

#include <sched.h>
#include <sqlite3.h>

#include <fstream>
#include <iomanip>
#include <sstream>
#include <type_traits>

static_assert(
    std::is_same<db_update_hook_t, void (*)(void*, int, const char*, const char*, sqlite3_int64)>::value,
    "db_update_hook_t must be the callback type of sqlite3_update_hook");

namespace {

// The path as std::quoted writes it, so that odd names stay readable in messages.
std::string quoted(const std::string& text) {
    std::ostringstream out;
    out << std::quoted(text);
    return out.str();
}

std::string read_script(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream script;
    if (in) script << in.rdbuf();
    // An empty script would leave an empty database that fails only at the first query.
    if (script.str().empty()) throw db_exception_t("could not read source sql file: " + quoted(path));
    return script.str();
}

} // namespace

void dao_sqlite3_c::open(const std::filesystem::path& file, const db_open_options_t& options) {
    const std::string path = file.string();
    if (!options.allow_missing && !is_memory_database(path)) {
        std::error_code error;
        auto type = std::filesystem::status(file, error).type();
        if (type == std::filesystem::file_type::not_found || type == std::filesystem::file_type::none)
            throw db_exception_t("db " + quoted(path) + " doesn't exist in filesystem");
    }
    close(); // opening again replaces the connection

    sqlite3* opened = nullptr;
    int result = sqlite3_open(path.c_str(), &opened);
    db_.reset(opened); // even a failed open gives a handle to close
    try {
        // No separator after the quoted path: the texts stay as the rest of the system knows them.
        if (result != SQLITE_OK)
            throw make_db_exception("failed to open db: " + quoted(path), result, db_code_open);
        result = sqlite3_enable_load_extension(db_.get(), 1);
        if (result != SQLITE_OK)
            throw make_db_exception("failed to configure db: " + quoted(path), result, db_code_open);
        if (options.load_extension) {
            result = sqlite3_load_extension(db_.get(), sha_extension_path, "sqlite3_sha_init", nullptr);
            if (result != SQLITE_OK)
                throw make_db_exception("failed to load extension db: " + quoted(path), result, db_code_open);
        }
        configure();
    } catch (...) {
        close();
        throw;
    }

    // The hooks get the connection, not this wrapper: they serve any connection of the process.
    if (update_hook_) sqlite3_update_hook(db_.get(), update_hook_, db_.get());
    if (rollback_hook_) sqlite3_rollback_hook(db_.get(), rollback_hook_, db_.get());
    if (commit_hook_) sqlite3_commit_hook(db_.get(), commit_hook_, db_.get());
    path_ = path;
}

void dao_sqlite3_c::open_database(const std::string& path, bool load_extension) {
    if (path.find(".sql") == std::string::npos) {
        open(path, db_open_options_t::with_extension(load_extension));
        return;
    }
    const std::string script = read_script(path);
    open(":memory:", db_open_options_t::with_extension(load_extension));
    try {
        exec_sql_script(script);
    } catch (...) {
        close();
        throw;
    }
}

void dao_sqlite3_c::close() {
    finalize_transaction_statements();
    db_.reset();
    path_.clear();
}

sqlite3* dao_sqlite3_c::get_handle() const {
    if (!db_) throw db_exception_t("invalid state: db isnt open yet");
    return db_.get();
}

bool dao_sqlite3_c::is_memory_database(const std::string& name) {
    return name == "file::memory:" || name == ":memory:";
}

void dao_sqlite3_c::limit_heap(int64_t bytes) {
    sqlite3_soft_heap_limit64(bytes);
}

bool dao_sqlite3_c::is_open(const std::filesystem::path& name) const {
    if (is_memory_database(name.string())) return db_ != nullptr;
    std::error_code error;
    return std::filesystem::exists(name, error) && db_ != nullptr;
}

void dao_sqlite3_c::exec_with_retry(const std::string& sql, uint32_t retries, int32_t error_code) {
    get_handle(); // a closed connection throws before the first attempt
    attempt_state_t state{error_code, false};
    for (uint64_t attempt = 0; attempt <= retries; ++attempt) {
        if (attempt_succeeded(sql, state)) return;
        sched_yield();
    }
    throw failed_attempts(sql, state);
}

std::unique_lock<std::recursive_mutex> dao_sqlite3_c::begin_immediate(uint32_t retries) {
    get_handle();
    attempt_state_t state{db_code_busy, false};
    for (uint64_t attempt = 0; attempt <= retries; ++attempt) {
        // The turn for this attempt only: between attempts another thread's reads may run.
        std::unique_lock<std::recursive_mutex> turn(transaction_mutex_);
        if (attempt_succeeded("BEGIN IMMEDIATE", state)) return turn;
        turn.unlock();
        sched_yield();
    }
    throw failed_attempts("BEGIN IMMEDIATE", state);
}

bool dao_sqlite3_c::attempt_succeeded(const std::string& sql, attempt_state_t& state) {
    const int result = run(sql, nullptr);
    if (result == SQLITE_OK) return true;
    // Once another process held the lock, callers should see "busy" and try again later,
    // whatever the last attempt reported.
    if ((result & 0xff) == SQLITE_BUSY) state.code = db_code_busy;
    if (db_result_means_damage(result)) state.damaged = true;
    return false;
}

db_exception_t dao_sqlite3_c::failed_attempts(const std::string& sql, const attempt_state_t& state) {
    db_exception_t exception("\"" + sql + "\" failed", state.code);
    exception.file_damaged = state.damaged;
    return exception;
}

int dao_sqlite3_c::run(const std::string& sql, std::string* message) {
    sqlite3* handle = get_handle();
    size_t index = 0;
    while (index < transaction_sql.size() && sql != transaction_sql[index])
        ++index;
    if (index == transaction_sql.size()) {
        char* text = nullptr;
        const int result = sqlite3_exec(handle, sql.c_str(), nullptr, nullptr, &text);
        cas_broadcast_hook_helper_c::settle(handle, result);
        if (result != SQLITE_OK && message && text) *message = text;
        sqlite3_free(text);
        return result;
    }
    // Both threads of the connection run these statements; one run at a time.
    std::lock_guard<std::recursive_mutex> turn(transaction_mutex_);
    auto& compiled = transaction_statements_[index];
    int result = SQLITE_OK;
    if (!compiled) {
        sqlite3_stmt* prepared = nullptr;
        result = sqlite3_prepare_v2(handle, sql.c_str(), -1, &prepared, nullptr);
        compiled.reset(prepared);
    }
    sqlite3_stmt* stmt = compiled.get();
    if (result == SQLITE_OK) {
        result = sqlite3_step(stmt);
        if (result == SQLITE_DONE) result = SQLITE_OK;
        // A COMMIT's changes are announced only now that it has written them.
        cas_broadcast_hook_helper_c::settle(handle, result);
    }
    if (result != SQLITE_OK && message) *message = sqlite3_errmsg(handle);
    // Reset at once: a statement left running would count as busy on the connection.
    if (stmt) sqlite3_reset(stmt);
    return result;
}

void dao_sqlite3_c::finalize_transaction_statements() {
    std::lock_guard<std::recursive_mutex> turn(transaction_mutex_);
    for (auto& stmt : transaction_statements_)
        stmt.reset();
}

void dao_sqlite3_c::finalizer_t::operator()(sqlite3_stmt* stmt) const {
    sqlite3_finalize(stmt);
}

void dao_sqlite3_c::closer_t::operator()(sqlite3* db) const {
    // close_v2: a statement that outlives the wrapper keeps the connection as a zombie until it
    // is finalized, instead of leaking it.
    sqlite3_close_v2(db);
}

void dao_sqlite3_c::exec_sql_script(const std::string& sql) {
    char* message = nullptr;
    const int result = sqlite3_exec(get_handle(), sql.c_str(), nullptr, nullptr, &message);
    cas_broadcast_hook_helper_c::settle(get_handle(), result);
    if (result == SQLITE_OK) return;
    const std::string text = message ? message : sqlite3_errstr(result);
    sqlite3_free(message);
    throw db_exception_t("could not initialize database from source sql file: " + text);
}

void dao_sqlite3_c::set_busy_timeout(int milliseconds) {
    const int result = db_ ? sqlite3_busy_timeout(db_.get(), milliseconds) : SQLITE_MISUSE;
    if (result != SQLITE_OK)
        ac_log(AC_LOG_ERROR, AC_LOG_CAT_MODEL, "set_busy_timeout", "failed set sqlite3 busy timeout: %d",
               result);
}

void dao_sqlite3_c::rollback_transaction() {
    if (!db_) return; // nothing can be open without a connection
    std::string message;
    const int result = run("ROLLBACK", &message);
    if (result != SQLITE_OK && !message.empty())
        ac_log(AC_LOG_ERROR, AC_LOG_CAT_MODEL, "rollback_transaction", "SQLite Error %d: %s", result,
               message.c_str());
}

// The file is shared with other services: first wait (long) for the write lock so that the
// pragmas run on a quiet database, then leave the connection with a short busy timeout, since
// writers retry their "BEGIN IMMEDIATE" themselves.
void dao_sqlite3_c::configure() {
    exec_with_retry("BEGIN IMMEDIATE", 5000, db_code_busy);
    set_busy_timeout(5000);
    exec_with_retry("COMMIT", 50, db_code_commit);
    for (const auto& body : pragmas_) {
        try {
            prepare(*this, "PRAGMA " + body).execute();
        } catch (const db_exception_t&) {
            rollback_transaction();
            throw;
        }
    }
    exec_with_retry("BEGIN IMMEDIATE", 5000, db_code_busy);
    set_busy_timeout(50);
    exec_with_retry("COMMIT", 50, db_code_commit);
}

uint64_t dao_sqlite3_c::last_insert_rowid() const {
    return static_cast<uint64_t>(sqlite3_last_insert_rowid(get_handle()));
}

bool dao_sqlite3_c::in_transaction() const {
    return db_ != nullptr && sqlite3_get_autocommit(db_.get()) == 0;
}
