#pragma once
// Rolls a transaction back unless it was committed, so every early return and every exception
// of a handler's writes undoes them. A failed begin throws out of the constructor, and then
// nothing is rolled back: callers that must also roll back then do so explicitly.
#include "db/transaction_dao.h"

#include <cstdint>

class transaction_guard_c {
public:
    transaction_guard_c(transaction_dao_t& tx, uint32_t retries) : tx_(tx) { tx_.begin_transaction(retries); }
    ~transaction_guard_c() {
        if (!done_) tx_.rollback_transaction(); // logs, never throws
    }
    transaction_guard_c(const transaction_guard_c&) = delete;
    transaction_guard_c& operator=(const transaction_guard_c&) = delete;

    void commit(uint32_t retries) {
        tx_.commit_transaction(retries);
        done_ = true;
    }

private:
    transaction_dao_t& tx_;
    bool done_ = false;
};

// A read transaction for the life of the scope (transaction_dao_t::begin_read_transaction); when
// it could not begin, the reads inside the scope simply run on their own.
class read_transaction_guard_c {
public:
    explicit read_transaction_guard_c(transaction_dao_t& tx) : tx_(tx), open_(tx.begin_read_transaction()) {}
    ~read_transaction_guard_c() {
        if (open_) tx_.end_read_transaction(); // never throws
    }
    read_transaction_guard_c(const read_transaction_guard_c&) = delete;
    read_transaction_guard_c& operator=(const read_transaction_guard_c&) = delete;

    bool open() const { return open_; }

private:
    transaction_dao_t& tx_;
    bool open_;
};
