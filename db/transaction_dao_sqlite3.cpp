#include "db/transaction_dao_sqlite3.h"

#include "db/db_exception.h"
#include "db/db_repair.h"

std::shared_ptr<transaction_dao_t>
dao_implementation<transaction_dao_t>::create(std::shared_ptr<dao_sqlite3_c> database) {
    return std::make_shared<transaction_dao_sqlite3_t>(std::move(database));
}

void transaction_dao_sqlite3_t::begin_transaction(uint32_t retries) {
    if (turn_.owns_lock()) { // already open here: SQLite refuses the nested begin
        database_->exec_with_retry("BEGIN IMMEDIATE", retries, db_code_busy);
        return;
    }
    turn_ = database_->begin_immediate(retries);
}

// A failed commit keeps the turn: the caller rolls back, which ends it.
void transaction_dao_sqlite3_t::commit_transaction(uint32_t retries) {
    database_->exec_with_retry("COMMIT", retries, db_code_commit);
    if (turn_.owns_lock()) turn_.unlock();
}

void transaction_dao_sqlite3_t::rollback_transaction() {
    if (turn_.owns_lock()) {
        // A COMMIT that failed writing (full or read-only file) has already rolled back: a
        // second error line would only hide the first.
        if (database_->in_transaction()) database_->rollback_transaction();
        turn_.unlock();
        return;
    }
    // Not ours: wait, so another thread's transaction is never undone. After a failed begin
    // nothing is open and there is nothing to roll back (and nothing worth an error line).
    std::lock_guard<std::recursive_mutex> turn(database_->transaction_mutex());
    if (database_->in_transaction()) database_->rollback_transaction();
}

bool transaction_dao_sqlite3_t::begin_read_transaction() {
    if (read_turn_.owns_lock()) return false; // already open: the reads are inside it
    try {
        std::unique_lock<std::recursive_mutex> turn(database_->transaction_mutex());
        // Inside a transaction of this thread the reads share it; a nested BEGIN would fail.
        if (database_->in_transaction()) return false;
        // Deferred: takes no lock yet, so another process's write reservation does not keep the
        // reads out, and there is nothing to retry.
        database_->exec_with_retry("BEGIN", 0, db_code_busy);
        read_turn_ = std::move(turn);
        return true;
    } catch (const db_exception_t&) {
        return false;
    }
}

void transaction_dao_sqlite3_t::end_read_transaction() {
    if (!read_turn_.owns_lock()) return;
    try {
        database_->exec_with_retry("COMMIT", 0, db_code_commit);
    } catch (const db_exception_t&) {
        // Nothing was written; what matters is that the connection leaves the transaction.
        if (database_->in_transaction()) database_->rollback_transaction();
    }
    read_turn_.unlock();
}

bool transaction_dao_sqlite3_t::repair_damage(uint32_t begin_retries, uint32_t commit_retries,
                                              bool statement_failed) {
    return db_repair_c(*database_).repair(begin_retries, commit_retries, statement_failed);
}
