#pragma once
// Output reactions: which external output switches, how (the action) and for how long. A
// reaction is read together with its connector and the connector's applications; a connector
// without an application takes part in no reaction, so such a reaction reads as absent.
// One thread per object; throws db_exception_t.
#include "db/dao.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct output_event_reaction_t {
    uint64_t id = 0, connector_id = 0, connector_number = 0, connector_current_state = 0;
    std::string applications; // comma-joined
    uint64_t action = 0, delay = 0, duration = 0;
};

// The name of an output action (the `action` column): 0 "undefined", 1 "Open Latched (NO)",
// 2 "Closed Latched (NC)", 3 "Open Timed", 4 "Closed Timed"; any other value is "undefined",
// not an error. Safe from any thread.
const std::string& output_action_name(uint64_t action);

class output_event_reaction_dao_t : public dao_t {
public:
    // False when the reaction does not exist or its connector has no application (out untouched).
    virtual bool get_output_event_reaction(uint64_t id, output_event_reaction_t& out) = 0;
    // Appends the reactions, grouped by connector as the installation's other tools read them:
    // reactions that share a connector come back as one record (one of their ids and settings),
    // whose applications repeat once per reaction.
    virtual void get_output_event_reactions(std::vector<output_event_reaction_t>& out) = 0;
    // Writes connector_id, action, delay and duration; returns the new reaction's id.
    virtual uint64_t insert_output_event_reaction(uint64_t event_id,
                                                  const output_event_reaction_t& reaction) = 0;
    // Writes connector_id, action, delay and duration of `reaction.id`.
    virtual void update_output_event_reaction(const output_event_reaction_t& reaction) = 0;
    virtual void delete_output_event_reaction(uint64_t id) = 0;
};

template <>
struct dao_implementation<output_event_reaction_dao_t> {
    static std::shared_ptr<output_event_reaction_dao_t> create(std::shared_ptr<dao_sqlite3_c> database);
};
