#pragma once
// Configured events: what triggers them (an associated event source) and which reactions follow
// (0 or NULL: none); also the global tamper settings. Operations that fill a vector append to it;
// "bool get_..." returns false and leaves the record untouched when no row was found.
//
// One object per thread; every operation throws db_exception_t.
#include "db/dao.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct event_t {
    uint64_t id = 0;
    std::string name;
    uint64_t associated_event_source_id = 0, hotkey_id = 0, camera_event_reaction_id = 0,
             output_event_reaction_id = 0, email_event_reaction_id = 0, lorivant_event_reaction_id = 0;
};

// Switches (0 off, non-zero on); the table keeps them in its row with id 1.
struct event_settings_t {
    int32_t lid_tamper = 0, back_tamper = 0, repeater_tamper = 0;
};

// An input connector that some event listens to; applications are distinct and comma-joined.
struct input_event_source_t {
    uint64_t id = 0;
    std::string direction;
    uint64_t number = 0, current_state = 0;
    std::string applications;
    uint64_t activate_signal = 0;
};

class event_dao_t : public dao_t {
public:
    virtual bool get_event(uint64_t id, event_t& event) = 0;
    virtual void get_events(std::vector<event_t>& events) = 0;
    // Every event whose associated source is `event_source_id` (the language-independent id),
    // whether the event stored that id or the row id of one of its languages; none twice.
    virtual void get_events_of_event_source(uint64_t event_source_id, std::vector<event_t>& events) = 0;
    // Writes every field of the row `event.id`, ids as given (0 stays 0).
    virtual void update_event(const event_t& event) = 0;

    virtual bool get_event_settings(event_settings_t& settings) = 0;
    virtual void set_event_settings(const event_settings_t& settings) = 0;

    // One entry per input connector that a configured event uses.
    virtual void get_input_event_sources(std::vector<input_event_source_t>& sources) = 0;
};

template <>
struct dao_implementation<event_dao_t> {
    static std::shared_ptr<event_dao_t> create(std::shared_ptr<dao_sqlite3_c> database);
};
