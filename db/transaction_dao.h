#pragma once
// Groups a handler's writes into one SQLite transaction on the DAO's database. Transactions are
// immediate: a writer takes the write reservation at its start and retries there (busy), rather
// than failing in the middle of its writes. One object per thread; begin and commit throw
// db_exception_t ("\"BEGIN IMMEDIATE\" failed" code 6, "\"COMMIT\" failed" code 7 or 6 when busy).
#include "db/dao.h"

#include <cstdint>
#include <memory>

class transaction_dao_t : public dao_t {
public:
    virtual void begin_transaction() { begin_transaction(50); }
    virtual void begin_transaction(uint32_t retries) = 0;
    virtual void commit_transaction() { commit_transaction(50); }
    virtual void commit_transaction(uint32_t retries) = 0;
    // Logs a failure (e.g. no transaction open) and never throws, so it is safe on every error path.
    virtual void rollback_transaction() = 0;

    // A deferred transaction around a series of reads: SQLite takes the shared lock of the file
    // once for all of them instead of once per statement, and they see one state of the file.
    // Never writes, so no commit hook fires. False (nothing begun, the reads run on their own as
    // before) when it cannot begin; never throws. end_read_transaction ends what began.
    virtual bool begin_read_transaction() = 0;
    virtual void end_read_transaction() = 0;

    // Finds what a torn commit left damaged in the newest rows of the file and rebuilds what
    // REINDEX can, logging what it found and did (db/db_repair.h); `statement_failed` when a
    // statement has just failed as corrupt. True when the file passes the check afterwards.
    // Call it with no transaction of this object open; never throws.
    virtual bool repair_damage(uint32_t begin_retries, uint32_t commit_retries, bool statement_failed) = 0;
};

template <>
struct dao_implementation<transaction_dao_t> {
    static std::shared_ptr<transaction_dao_t> create(std::shared_ptr<dao_sqlite3_c> database);
};
