#pragma once
// repeater_dao_c over the shared connection. Each object keeps its prepared statements
// for the life of the connection (sqlite3_statement_cache_c), so it belongs to one thread at a time.
#include "dao/repeater_dao.h"
#include "db/dao_sqlite3.h"
#include "db/sqlite3_statement.h"

#include <memory>

class repeater_dao_sqlite3_c : public repeater_dao_c {
public:
    explicit repeater_dao_sqlite3_c(std::shared_ptr<dao_sqlite3_c> database)
        : database_(std::move(database)) {}

    bool get_repeater_by_serial_number(uint64_t serial_number, repeater_t& out) override;
    bool get_repeater(uint64_t id, repeater_t& out) override;
    void get_repeaters(std::vector<repeater_t>& out) override;
    void set_supervision_missing(uint64_t id, bool missing) override;

private:
    std::shared_ptr<dao_sqlite3_c> database_;
    sqlite3_statement_cache_c statements_;
};
