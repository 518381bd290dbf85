#pragma once
// lorivant_dao_c over the shared connection. Each object keeps its prepared statements
// for the life of the connection (sqlite3_statement_cache_c), so it belongs to one thread at a time.
#include "dao/lorivant_dao.h"
#include "db/dao_sqlite3.h"
#include "db/sqlite3_statement.h"

#include <memory>

class lorivant_dao_sqlite3_c : public lorivant_dao_c {
public:
    explicit lorivant_dao_sqlite3_c(std::shared_ptr<dao_sqlite3_c> database)
        : database_(std::move(database)) {}

    bool get_lorivant_by_hardware_id(uint64_t hardware_id, lorivant_t& out) override;
    bool get_lorivant(uint64_t id, lorivant_t& out) override;
    void get_lorivants(std::vector<lorivant_t>& out) override;
    void set_supervision_missing(uint64_t id, bool missing) override;
    void set_office_mode(uint64_t id, bool on, uint64_t reaction_id, uint64_t timestamp, uint64_t duration,
                         int64_t counts_remaining) override;
    void set_panic_mode(uint64_t id, bool active) override;

private:
    std::shared_ptr<dao_sqlite3_c> database_;
    sqlite3_statement_cache_c statements_;
};
