#pragma once
// Finds and repairs what a torn commit leaves in the shared file. The controller's pragmas
// (journal_mode=MEMORY, synchronous=OFF) keep the rollback journal in the memory of the
// process, so a kill or a power cut between the page writes of a commit can leave the newest
// rows of a table out of step with its indexes. SQLite goes on inserting, but queries that walk
// such an index answer wrong and deletes that touch it fail as corrupt, until a REINDEX.
//
// A torn commit touches only the newest rows, so the check reads the tail of every table: its
// newest rows looked up through each index, and the last entries of each index looked up in the
// table. It never reads a whole table: on the controller a whole-file check holds the read lock
// for seconds, and the other processes could not commit meanwhile.
//
// Takes the connection's turn (transaction_mutex) for the whole run; call it when no
// transaction of this thread is open. Never throws.
#include "db/dao_sqlite3.h"

#include <cstdint>
#include <string>
#include <vector>

class db_repair_c {
public:
    // Rows read at the end of each table and of each index.
    static constexpr int tail_rows = 100;

    explicit db_repair_c(dao_sqlite3_c& database) : database_(database) {}

    // The indexes whose tail is out of step with their table (partial and expression indexes,
    // and tables without rowid, are not checked).
    std::vector<std::string> damaged_indexes();

    // Checks, rebuilds each damaged index with REINDEX in an immediate transaction (busy
    // retries as a writer's), logs one ERROR line of what it found and did, and tells whether
    // the file now passes the check. What cannot be repaired is logged once per file, and an
    // index whose REINDEX failed is not tried again: a statement that keeps failing as corrupt
    // must not cost a rebuild per event. False when `statement_failed` (a statement failed as
    // corrupt) and the check finds nothing REINDEX could mend.
    bool repair(uint32_t begin_retries, uint32_t commit_retries, bool statement_failed);

private:
    dao_sqlite3_c& database_;
};
