#include "db/sqlite3_statement.h"

#include "db/cas_broadcast_hook_helper.h"
#include "db/dao_sqlite3.h"
#include "utils/ac_log.h"

#include <sqlite3.h>

#include <algorithm>
#include <cstring>

static_assert(db_ok == SQLITE_OK && db_row == SQLITE_ROW && db_done == SQLITE_DONE,
              "db_ok, db_row and db_done must equal SQLite's results");

namespace {

// Callers tell duplicates (5) and lock contention (6) from other failures (4) by the code.
int32_t step_failure_code(int result) {
    switch (result & 0xff) {
    case SQLITE_CONSTRAINT:
        return db_code_constraint;
    case SQLITE_BUSY:
        return db_code_busy;
    default:
        return db_code_statement;
    }
}

void check_bind(int column, int result) {
    if (result != SQLITE_OK)
        throw make_db_exception("failed to bind col(" + std::to_string(column) + ")->", result, result);
}

} // namespace

sqlite3_statement_holder_t::sqlite3_statement_holder_t(dao_sqlite3_c& database, const std::string& sql) {
    const int result = sqlite3_prepare_v2(database.get_handle(), sql.c_str(), -1, &stmt, nullptr);
    if (result != SQLITE_OK) {
        ac_log(AC_LOG_ERROR, AC_LOG_CAT_MODEL, "sqlite3_statement_holder_t", "prepare statement failed: %s",
               sqlite3_errstr(result));
        throw make_db_exception("db statement failed: ", result, db_code_statement);
    }
}

sqlite3_statement_holder_t::~sqlite3_statement_holder_t() {
    sqlite3_finalize(stmt);
}

sqlite3_statement_t prepare(dao_sqlite3_c& database, const std::string& sql) {
    return sqlite3_statement_t(std::make_shared<sqlite3_statement_holder_t>(database, sql));
}

sqlite3_cached_statement_t sqlite3_statement_cache_c::prepare(dao_sqlite3_c& database, const char* sql) {
    return prepare(database, sql, std::strlen(sql));
}

sqlite3_cached_statement_t sqlite3_statement_cache_c::prepare(dao_sqlite3_c& database, const char* sql,
                                                              size_t length) {
    sqlite3* connection = database.get_handle(); // a closed connection fails here, as prepare() does
    size_t slot = 0;
    while (slot < slots_.size() &&
           (slots_[slot].sql.size() != length || std::memcmp(slots_[slot].sql.data(), sql, length) != 0))
        ++slot;
    if (slot == slots_.size()) {
        auto holder = std::make_shared<sqlite3_statement_holder_t>(database, std::string(sql, length));
        slots_.push_back({std::string(sql, length), holder, false});
    } else if (slots_[slot].lent) {
        // Still in use further up the call: this use gets a statement of its own.
        return sqlite3_cached_statement_t(
            std::make_shared<sqlite3_statement_holder_t>(database, std::string(sql, length)), nullptr, 0);
    } else if (sqlite3_db_handle(slots_[slot].holder->stmt) != connection) {
        // Prepared on an earlier connection (closed, then opened again), which lives on as a
        // zombie only until this statement is finalized.
        slots_[slot].holder = std::make_shared<sqlite3_statement_holder_t>(database, slots_[slot].sql);
    }
    slots_[slot].lent = true;
    return sqlite3_cached_statement_t(slots_[slot].holder, this, slot);
}

sqlite3_cached_statement_t::~sqlite3_cached_statement_t() {
    if (cache_ == nullptr) return;
    // The result repeats a failed step's error, which the operation has already thrown.
    sqlite3_reset(holder->stmt);
    cache_->slots_[slot_].lent = false;
}

int sqlite3_statement_t::execute() {
    const int result = sqlite3_step(holder->stmt);
    // Outside a transaction the statement commits itself: its changes are announced only now.
    cas_broadcast_hook_helper_c::settle(sqlite3_db_handle(holder->stmt), result);
    if (result == SQLITE_OK || result == SQLITE_ROW || result == SQLITE_DONE) return result;
    ac_log(AC_LOG_ERROR, AC_LOG_CAT_MODEL, "execute", "db statement failed: %s", sqlite3_errstr(result));
    throw make_db_exception("db statement failed: ", result, step_failure_code(result));
}

void sqlite3_statement_t::reset() {
    int result = sqlite3_reset(holder->stmt);
    if (result != SQLITE_OK) throw make_db_exception("failed to reset statement->", result, result);
    result = sqlite3_clear_bindings(holder->stmt);
    if (result != SQLITE_OK) throw make_db_exception("failed to clear bindings->", result, result);
}

void sqlite3_statement_t::bind(int column, uint64_t value) {
    check_bind(column, sqlite3_bind_int64(holder->stmt, column, static_cast<sqlite3_int64>(value)));
}

void sqlite3_statement_t::bind(int column, int32_t value) {
    check_bind(column, sqlite3_bind_int(holder->stmt, column, value));
}

void sqlite3_statement_t::bind(int column, bool value) {
    check_bind(column, sqlite3_bind_int(holder->stmt, column, value ? 1 : 0));
}

void sqlite3_statement_t::bind(int column, uint8_t value) {
    bind(column, static_cast<uint64_t>(value));
}

void sqlite3_statement_t::bind(int column, uint16_t value) {
    bind(column, static_cast<uint64_t>(value));
}

void sqlite3_statement_t::bind(int column, uint32_t value) {
    bind(column, static_cast<uint64_t>(value));
}

void sqlite3_statement_t::bind(int column, const std::string& value) {
    bind(column, value.c_str());
}

void sqlite3_statement_t::bind(int column, const char* value) {
    check_bind(column, sqlite3_bind_text(holder->stmt, column, value, static_cast<int>(std::strlen(value)),
                                         SQLITE_TRANSIENT));
}

void sqlite3_statement_t::bind(int column, const ac_tag_uid_t& value) {
    check_bind(column, sqlite3_bind_blob(holder->stmt, column, value.data(), static_cast<int>(value.length()),
                                         SQLITE_TRANSIENT));
}

void sqlite3_statement_t::bind(int column, const std::array<uint8_t, 16>& value) {
    check_bind(column, sqlite3_bind_blob(holder->stmt, column, value.data(), static_cast<int>(value.size()),
                                         SQLITE_TRANSIENT));
}

void sqlite3_statement_t::read(int column, uint64_t& value) const {
    value = static_cast<uint64_t>(sqlite3_column_int64(holder->stmt, column));
}

void sqlite3_statement_t::read(int column, int32_t& value) const {
    value = sqlite3_column_int(holder->stmt, column);
}

void sqlite3_statement_t::read(int column, bool& value) const {
    value = sqlite3_column_int(holder->stmt, column) != 0;
}

void sqlite3_statement_t::read(int column, uint8_t& value) const {
    value = static_cast<uint8_t>(sqlite3_column_int64(holder->stmt, column));
}

void sqlite3_statement_t::read(int column, std::string& value) const {
    const unsigned char* text = sqlite3_column_text(holder->stmt, column);
    value = text ? reinterpret_cast<const char*>(text) : "";
}

void sqlite3_statement_t::read(int column, ac_tag_uid_t& value) const {
    // Blob before bytes, the order in which SQLite guarantees the pointer stays valid.
    const auto* bytes = static_cast<const uint8_t*>(sqlite3_column_blob(holder->stmt, column));
    const int length = sqlite3_column_bytes(holder->stmt, column);
    value = length >= 1 && length <= static_cast<int>(ac_tag_uid_t::max_length) && bytes
                ? ac_tag_uid_t(bytes, static_cast<size_t>(length))
                : ac_tag_uid_t();
}

void sqlite3_statement_t::read(int column, std::array<uint8_t, 16>& value) const {
    const auto* bytes = static_cast<const uint8_t*>(sqlite3_column_blob(holder->stmt, column));
    const int length = sqlite3_column_bytes(holder->stmt, column);
    if (length >= 1 && length <= static_cast<int>(value.size()) && bytes)
        std::copy(bytes, bytes + length, value.begin());
}
