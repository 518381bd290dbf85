#pragma once
// alarmsystem_dao_c over the shared connection. Each object keeps its prepared statements
// for the life of the connection (sqlite3_statement_cache_c), so it belongs to one thread at a time.
#include "dao/alarmsystem_dao.h"
#include "db/dao_sqlite3.h"
#include "db/sqlite3_statement.h"

#include <memory>

class alarmsystem_dao_sqlite3_c : public alarmsystem_dao_c {
public:
    explicit alarmsystem_dao_sqlite3_c(std::shared_ptr<dao_sqlite3_c> database)
        : database_(std::move(database)) {}

    bool get_alarmsystem(uint64_t id, alarmsystem_t& out) override;
    void get_alarmsystems(std::vector<alarmsystem_t>& out) override;

private:
    std::shared_ptr<dao_sqlite3_c> database_;
    sqlite3_statement_cache_c statements_;
};
