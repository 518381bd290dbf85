#pragma once
// transaction_dao_t over one dao_sqlite3_c; the transaction state lives in the connection, so a
// "BEGIN IMMEDIATE" while one is open on the same connection fails (and is retried until it throws).
#include "db/dao_sqlite3.h"
#include "db/transaction_dao.h"

#include <memory>

class transaction_dao_sqlite3_t : public transaction_dao_t {
public:
    explicit transaction_dao_sqlite3_t(std::shared_ptr<dao_sqlite3_c> database)
        : database_(std::move(database)) {}

    using transaction_dao_t::begin_transaction;
    using transaction_dao_t::commit_transaction;
    void begin_transaction(uint32_t retries) override;
    void commit_transaction(uint32_t retries) override;
    void rollback_transaction() override;

private:
    std::shared_ptr<dao_sqlite3_c> database_;
};
