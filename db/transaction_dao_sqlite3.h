#pragma once
// transaction_dao_t over one dao_sqlite3_c; the transaction state lives in the connection, so a
// "BEGIN IMMEDIATE" while one is open on the same connection fails (and is retried until it throws).
// Threads sharing the connection take turns: a begin waits for another thread's transaction on
// the connection to end, so neither commits nor rolls back the other's writes.
#include "db/dao_sqlite3.h"
#include "db/transaction_dao.h"

#include <memory>
#include <mutex>

class transaction_dao_sqlite3_t : public transaction_dao_t {
public:
    explicit transaction_dao_sqlite3_t(std::shared_ptr<dao_sqlite3_c> database)
        : database_(std::move(database)) {}

    using transaction_dao_t::begin_transaction;
    using transaction_dao_t::commit_transaction;
    void begin_transaction(uint32_t retries) override;
    void commit_transaction(uint32_t retries) override;
    void rollback_transaction() override;
    // Takes the connection's turn like a write transaction, so that the other thread never
    // begins, commits or rolls back inside it.
    bool begin_read_transaction() override;
    void end_read_transaction() override;
    bool repair_damage(uint32_t begin_retries, uint32_t commit_retries, bool statement_failed) override;

private:
    std::shared_ptr<dao_sqlite3_c> database_;
    std::unique_lock<std::recursive_mutex> turn_;      // held from a successful begin to commit/rollback
    std::unique_lock<std::recursive_mutex> read_turn_; // held while a read transaction is open
};
