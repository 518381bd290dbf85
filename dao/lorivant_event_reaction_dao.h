#pragma once
// Door-component reactions and the modes they switch on. A reaction puts door components into
// office mode (open for a while or for a number of passages) or panic mode (open until ended),
// for one component, an access group, or every component. While a mode runs, its association
// row says whom it concerns, since when, for how long and for how many more passages.
//
// Ids of 0 ("none") are stored as NULL. Times are seconds of the system clock, like the
// timestamps the office-mode rows carry. One thread per object; throws db_exception_t.
#include "db/dao.h"

#include <cstdint>
#include <memory>
#include <vector>

struct lorivant_event_reaction_t {
    struct mode_t {
        virtual ~mode_t() = default;
    };
    struct office_mode_t : mode_t {
        uint64_t duration = 0;
        int64_t counts = -1; // -1: no passage limit
    };
    struct panic_mode_t : mode_t {
        int64_t panic_mode = -1;
    };
    uint64_t id = 0, lorivant_id = 0, access_group_id = 0;
    std::shared_ptr<mode_t> mode; // office_mode_t when panic_mode reads -1, else panic_mode_t
};

class lorivant_event_reaction_dao_t : public dao_t {
public:
    // A NULL duration reads 0, NULL counts and panic_mode read -1. False when there is no row.
    virtual bool get_lorivant_event_reaction(uint64_t id, lorivant_event_reaction_t& out) = 0;
    virtual void get_lorivant_event_reactions(std::vector<lorivant_event_reaction_t>& out) = 0;
    // The mode's columns are written and the other mode's cleared; a reaction without a mode
    // object throws std::invalid_argument. Insert returns the new reaction's id.
    virtual uint64_t insert_lorivant_event_reaction(uint64_t event_id,
                                                    const lorivant_event_reaction_t& reaction) = 0;
    virtual void update_lorivant_event_reaction(const lorivant_event_reaction_t& reaction) = 0;
    virtual void delete_lorivant_event_reaction(uint64_t id) = 0;

    // Office mode of a reaction; starting it again replaces the running one.
    virtual void start_office_mode(uint64_t reaction_id, uint64_t lorivant_id, uint64_t lorivant_hw_id,
                                   uint64_t access_group_id, uint64_t timestamp, uint64_t duration,
                                   int64_t counts_remaining) = 0;
    // Office mode of one door component without a reaction; a second one replaces the first.
    virtual void start_manual_office_mode(uint64_t lorivant_id, uint64_t lorivant_hw_id, uint64_t timestamp,
                                          uint64_t duration, int64_t counts_remaining) = 0;
    virtual void stop_manual_office_mode(uint64_t lorivant_id) = 0;
    virtual bool is_office_mode_active(uint64_t reaction_id) = 0;
    virtual void stop_office_mode(uint64_t reaction_id) = 0;
    virtual void update_office_mode(uint64_t reaction_id, uint64_t lorivant_id, uint64_t lorivant_hw_id,
                                    uint64_t access_group_id) = 0;
    // A passage of the door component `lorivant_hw_id` by a member of `access_group_id`: every
    // office mode for all components, for this component or for this group counts one down,
    // never below 0 (a negative count has no limit and stays as it is).
    virtual void count_office_mode_passage(uint64_t lorivant_hw_id, uint64_t access_group_id) = 0;
    // Ends the office modes whose passages are used up or whose time ran out before `now`.
    virtual void expire_office_modes(uint64_t now) = 0;
    // Shifts every start time by `difference` seconds after the system clock was set, so that
    // the correction neither ends nor extends a running office mode.
    virtual void correct_office_mode_clock(int64_t difference) = 0;

    // Panic mode has no time or passage limit: it runs until stopped.
    virtual void start_panic_mode(uint64_t reaction_id, uint64_t lorivant_id, uint64_t lorivant_hw_id,
                                  uint64_t access_group_id) = 0;
    virtual void update_panic_mode(uint64_t reaction_id, uint64_t lorivant_id, uint64_t lorivant_hw_id,
                                   uint64_t access_group_id) = 0;
    virtual bool is_panic_mode_active(uint64_t reaction_id) = 0;
    virtual void stop_panic_mode(uint64_t reaction_id) = 0;
};

template <>
struct dao_implementation<lorivant_event_reaction_dao_t> {
    static std::shared_ptr<lorivant_event_reaction_dao_t> create(std::shared_ptr<dao_sqlite3_c> database);
};
