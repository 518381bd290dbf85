#pragma once
// Door components: identity, supervision state and the office/panic mode a reaction switched
// on. The handlers look components up by hardware id (the id in the radio messages), the
// supervision walks all of them. One thread per object; throws db_exception_t.
#include "db/dao.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct lorivant_t {
    uint64_t id = 0, hardware_id = 0;
    std::string name;
    uint64_t repeater_id = 0; // 0: talks to the controller directly
    uint64_t supervision_period = 0, supervision_time = 0;
    bool supervision_missing = false;
    bool office_mode = false;
    uint64_t office_mode_event_reaction_id = 0, office_mode_event_timestamp = 0,
             office_mode_event_duration = 0;
    int64_t office_mode_event_counts_remaining = 0;
    bool panic_mode_active = false;
};

class lorivant_dao_c : public dao_t {
public:
    // False when there is no such component (out untouched). NULL columns read as 0 / "".
    virtual bool get_lorivant_by_hardware_id(uint64_t hardware_id, lorivant_t& out) = 0;
    virtual bool get_lorivant(uint64_t id, lorivant_t& out) = 0;
    // Appends every component, ordered by id.
    virtual void get_lorivants(std::vector<lorivant_t>& out) = 0;
    virtual void set_supervision_missing(uint64_t id, bool missing) = 0;
    // The office-mode columns; reaction id 0 (a manual mode, or none) is stored as NULL.
    virtual void set_office_mode(uint64_t id, bool on, uint64_t reaction_id, uint64_t timestamp,
                                 uint64_t duration, int64_t counts_remaining) = 0;
    virtual void set_panic_mode(uint64_t id, bool active) = 0;
};

template <>
struct dao_implementation<lorivant_dao_c> {
    static std::shared_ptr<lorivant_dao_c> create(std::shared_ptr<dao_sqlite3_c> database);
};
