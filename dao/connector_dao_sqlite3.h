#pragma once
// connector_dao_c over the shared connection; every operation prepares its statement.
#include "dao/connector_dao.h"
#include "db/dao_sqlite3.h"

#include <memory>

class connector_dao_sqlite3_c : public connector_dao_c {
public:
    explicit connector_dao_sqlite3_c(std::shared_ptr<dao_sqlite3_c> database)
        : database_(std::move(database)) {}

    bool get_connector(uint64_t id, connector_t& out) override;
    void get_connectors(std::vector<connector_t>& out) override;

private:
    std::shared_ptr<dao_sqlite3_c> database_;
};
