#include "db/db_repair.h"

#include "utils/ac_log.h"

#include <sqlite3.h>

#include <mutex>
#include <set>

namespace {

struct index_t {
    std::string name;
    std::string table;
    std::vector<std::string> columns;
    std::vector<bool> descending;
};

// What was given up on, per file: REINDEX that failed ("path|index"), and damage reported.
std::mutex given_up_mutex;
std::set<std::string> given_up;

bool give_up_once(const std::string& key) {
    std::lock_guard<std::mutex> lock(given_up_mutex);
    return given_up.insert(key).second;
}

bool gave_up(const std::string& key) {
    std::lock_guard<std::mutex> lock(given_up_mutex);
    return given_up.count(key) != 0;
}

std::string sql_name(const std::string& name) {
    std::string out = "\"";
    for (char c : name)
        out += c == '"' ? std::string("\"\"") : std::string(1, c);
    return out + "\"";
}

// Every row of `sql` as texts; empty when it cannot be prepared or run.
std::vector<std::vector<std::string>> query(sqlite3* db, const std::string& sql, bool* failed = nullptr) {
    std::vector<std::vector<std::string>> rows;
    sqlite3_stmt* stmt = nullptr;
    int result = sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr);
    if (result == SQLITE_OK)
        while ((result = sqlite3_step(stmt)) == SQLITE_ROW) {
            rows.emplace_back();
            for (int i = 0; i < sqlite3_column_count(stmt); ++i) {
                const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, i));
                rows.back().push_back(text ? text : "");
            }
        }
    sqlite3_finalize(stmt);
    if (failed) *failed = result != SQLITE_DONE;
    return rows;
}

std::vector<index_t> checkable_indexes(sqlite3* db) {
    std::vector<index_t> indexes;
    for (const auto& table : query(db, "SELECT name FROM sqlite_master WHERE type='table' AND "
                                       "name NOT LIKE 'sqlite_%' ORDER BY name")) {
        // index_list: seq, name, unique, origin, partial
        for (const auto& listed : query(db, "PRAGMA index_list(" + sql_name(table[0]) + ")")) {
            if (listed.size() < 5 || listed[4] != "0") continue;
            index_t index{listed[1], table[0], {}, {}};
            bool expression = false;
            // index_xinfo: seqno, cid, name, desc, coll, key
            for (const auto& column : query(db, "PRAGMA index_xinfo(" + sql_name(index.name) + ")")) {
                if (column[5] != "1") continue;
                if (column[1] == "-2") expression = true;
                index.columns.push_back(column[2]);
                index.descending.push_back(column[3] == "1");
            }
            if (!expression && !index.columns.empty()) indexes.push_back(index);
        }
    }
    return indexes;
}

// Rows of the tail of `from` (ordered by `order`) that `to` does not hold with the same values.
std::string mismatch_query(const index_t& index, const std::string& from, const std::string& order,
                           const std::string& to) {
    std::string select = "rowid AS r";
    std::string match = "rowid = tail.r";
    for (size_t i = 0; i < index.columns.size(); ++i) {
        select += ", " + sql_name(index.columns[i]) + " AS k" + std::to_string(i);
        match += " AND " + sql_name(index.columns[i]) + " IS tail.k" + std::to_string(i);
    }
    const std::string table = sql_name(index.table);
    return "SELECT count(*) FROM (SELECT " + select + " FROM " + table + " " + from + " ORDER BY " + order +
           " LIMIT " + std::to_string(db_repair_c::tail_rows) + ") AS tail WHERE NOT EXISTS (SELECT 1 FROM " +
           table + " " + to + " WHERE " + match + ")";
}

bool out_of_step(sqlite3* db, const index_t& index) {
    std::string index_order;
    for (size_t i = 0; i < index.columns.size(); ++i)
        index_order += sql_name(index.columns[i]) + (index.descending[i] ? " ASC, " : " DESC, ");
    const std::string by_index = "INDEXED BY " + sql_name(index.name);
    // The newest rows of the table must be in the index, the last entries of the index in the table.
    for (const auto& sql : {mismatch_query(index, "NOT INDEXED", "rowid DESC", by_index),
                            mismatch_query(index, by_index, index_order + "rowid DESC", "NOT INDEXED")}) {
        bool failed = false;
        auto rows = query(db, sql, &failed);
        // A query the index cannot serve (another collation) tells nothing; a corrupt read does.
        if (failed) {
            if (db_result_means_damage(sqlite3_errcode(db))) return true;
            continue;
        }
        if (!rows.empty() && rows[0][0] != "0") return true;
    }
    return false;
}

std::string joined(const std::vector<std::string>& names) {
    std::string out;
    for (const auto& name : names)
        out += (out.empty() ? "" : ", ") + name;
    return out;
}

} // namespace

std::vector<std::string> db_repair_c::damaged_indexes() {
    std::lock_guard<std::recursive_mutex> turn(database_.transaction_mutex());
    std::vector<std::string> damaged;
    sqlite3* db = database_.get_handle();
    for (const auto& index : checkable_indexes(db))
        if (out_of_step(db, index)) damaged.push_back(index.name);
    return damaged;
}

bool db_repair_c::repair(uint32_t begin_retries, uint32_t commit_retries, bool statement_failed) {
    try {
        std::lock_guard<std::recursive_mutex> turn(database_.transaction_mutex());
        const std::string file = database_.path();
        std::vector<std::string> rebuilt, failed;
        for (const auto& name : damaged_indexes()) {
            if (gave_up(file + "|" + name)) {
                failed.push_back(name);
                continue;
            }
            try {
                auto write_turn = database_.begin_immediate(begin_retries);
                try {
                    database_.exec_with_retry("REINDEX " + sql_name(name), 0, db_code_statement);
                    database_.exec_with_retry("COMMIT", commit_retries, db_code_commit);
                } catch (const db_exception_t&) {
                    database_.rollback_transaction();
                    throw;
                }
                rebuilt.push_back(name);
            } catch (const db_exception_t& e) {
                if (give_up_once(file + "|" + name))
                    ac_log(AC_LOG_ERROR, AC_LOG_CAT_MODEL, "repair", "database damage: REINDEX %s failed: %s",
                           name.c_str(), e.what());
                failed.push_back(name);
            }
        }
        if (!rebuilt.empty())
            ac_log(AC_LOG_ERROR, AC_LOG_CAT_MODEL, "repair",
                   "database damage found: index %s out of step with its table, rebuilt with REINDEX",
                   joined(rebuilt).c_str());
        const bool remains =
            !failed.empty() || !damaged_indexes().empty() || (statement_failed && rebuilt.empty());
        if (remains && give_up_once(file + "|"))
            ac_log(AC_LOG_ERROR, AC_LOG_CAT_MODEL, "repair",
                   "database damage that REINDEX cannot repair: restore %s from a backup", file.c_str());
        return !remains;
    } catch (const db_exception_t& e) {
        ac_log(AC_LOG_ERROR, AC_LOG_CAT_MODEL, "repair", "database check failed: %s", e.what());
        return false;
    }
}
