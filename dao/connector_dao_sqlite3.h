#pragma once
// connector_dao_c over the shared connection. Each object keeps its prepared statements
// for the life of the connection (sqlite3_statement_cache_c), so it belongs to one thread at a time.
#include "dao/connector_dao.h"
#include "db/dao_sqlite3.h"
#include "db/sqlite3_statement.h"

#include <memory>

class connector_dao_sqlite3_c : public connector_dao_c {
public:
    explicit connector_dao_sqlite3_c(std::shared_ptr<dao_sqlite3_c> database)
        : database_(std::move(database)) {}

    bool get_connector(uint64_t id, connector_t& out) override;
    void get_connectors(std::vector<connector_t>& out) override;

private:
    std::shared_ptr<dao_sqlite3_c> database_;
    sqlite3_statement_cache_c statements_;
};
