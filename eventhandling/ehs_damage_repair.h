#pragma once
// A write or a lookup that fails because the shared file is damaged (a torn commit, see
// db/db_repair.h) gets the damage repaired and one more try, so that an event still gets its
// row and its reactions; any other failure, or damage that stays, reaches the caller as before.
#include "db/db_exception.h"
#include "db/transaction_dao.h"
#include "eventhandling/ehs_busy_retries.h"

// Runs `action`, which must undo its own transaction when it throws (transaction_guard_c).
template <typename Action>
void ehs_retry_repaired(transaction_dao_t& transactions, const ehs_busy_retries_t& retries, Action&& action) {
    try {
        action();
        return;
    } catch (const db_exception_t& e) {
        if (!e.file_damaged || !transactions.repair_damage(retries.begin, retries.commit, true)) throw;
    }
    action();
}
