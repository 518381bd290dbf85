#pragma once
// External input and output connectors of the controller and their applications. A connector
// without an application takes part in no reaction, so it is not read back either.
// One thread per object; throws db_exception_t.
#include "db/dao.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct connector_t {
    uint64_t id = 0;
    std::string direction; // "input" or "output"
    uint64_t number = 0, current_state = 0;
    std::string applications; // comma-joined
};

class connector_dao_c : public dao_t {
public:
    // False when there is no such connector or it has no application (out untouched).
    virtual bool get_connector(uint64_t id, connector_t& out) = 0;
    // Appends every connector that has an application, ordered by id.
    virtual void get_connectors(std::vector<connector_t>& out) = 0;
};

template <>
struct dao_implementation<connector_dao_c> {
    static std::shared_ptr<connector_dao_c> create(std::shared_ptr<dao_sqlite3_c> database);
};
