#include "db/transaction_dao_sqlite3.h"

#include "db/db_exception.h"

std::shared_ptr<transaction_dao_t>
dao_implementation<transaction_dao_t>::create(std::shared_ptr<dao_sqlite3_c> database) {
    return std::make_shared<transaction_dao_sqlite3_t>(std::move(database));
}

void transaction_dao_sqlite3_t::begin_transaction(uint32_t retries) {
    database_->exec_with_retry("BEGIN IMMEDIATE", retries, db_code_busy);
}

void transaction_dao_sqlite3_t::commit_transaction(uint32_t retries) {
    database_->exec_with_retry("COMMIT", retries, db_code_commit);
}

void transaction_dao_sqlite3_t::rollback_transaction() {
    database_->rollback_transaction();
}
