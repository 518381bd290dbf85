#pragma once
// Alarm systems coupled to the controller and their arm/disarm state, as the alarm-system
// service keeps it. One thread per object; throws db_exception_t.
#include "db/dao.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct alarmsystem_t {
    uint64_t id = 0;
    std::string name;
    uint64_t status = 0, last_disarm_time = 0, last_arm_time = 0;
    bool disarm_by_guard = false;
};

class alarmsystem_dao_c : public dao_t {
public:
    // False when there is no such alarm system (out untouched).
    virtual bool get_alarmsystem(uint64_t id, alarmsystem_t& out) = 0;
    // Appends every alarm system, ordered by id.
    virtual void get_alarmsystems(std::vector<alarmsystem_t>& out) = 0;
};

template <>
struct dao_implementation<alarmsystem_dao_c> {
    static std::shared_ptr<alarmsystem_dao_c> create(std::shared_ptr<dao_sqlite3_c> database);
};
