#pragma once
// Repeaters: identity and supervision state. The radio messages name a repeater by its serial
// number, the supervision walks all of them. One thread per object; throws db_exception_t.
#include "db/dao.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct repeater_t {
    uint64_t id = 0, serial_number = 0;
    std::string name;
    uint64_t supervision_period = 0, supervision_time = 0;
    bool supervision_missing = false;
};

class repeater_dao_c : public dao_t {
public:
    // False when there is no such repeater (out untouched).
    virtual bool get_repeater_by_serial_number(uint64_t serial_number, repeater_t& out) = 0;
    virtual bool get_repeater(uint64_t id, repeater_t& out) = 0;
    // Appends every repeater, ordered by id.
    virtual void get_repeaters(std::vector<repeater_t>& out) = 0;
    virtual void set_supervision_missing(uint64_t id, bool missing) = 0;
};

template <>
struct dao_implementation<repeater_dao_c> {
    static std::shared_ptr<repeater_dao_c> create(std::shared_ptr<dao_sqlite3_c> database);
};
