#pragma once
// The catalogue of event source kinds (names per language) and the associated event sources of
// configured events with their per-type details. Operations that fill a vector append to it;
// "bool get_..." returns false and leaves the record untouched when no row was found.
//
// One object per thread. SQLite failures throw db_exception_t; a row whose type is none of the
// five kinds throws std::logic_error "invalid value for sourceType", failing the whole call.
#include "db/dao.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

// event_source keeps one row per source and language: source k in the language with id j has
// row id k + 1000 * (j - 1). Row id % this modulus is the language-independent id that the DAOs
// return, that configured events store and that callers pass back.
constexpr uint64_t event_source_id_modulus = 1000;

// "lorivant", "repeater", "externalInput", "alarmsystem" or "general".
inline bool is_event_source_type(const std::string& type) {
    return type == "lorivant" || type == "repeater" || type == "externalInput" || type == "alarmsystem" ||
           type == "general";
}

inline void check_event_source_type(const std::string& type) {
    if (!is_event_source_type(type)) throw std::logic_error("invalid value for sourceType");
}

// One source kind in one language. Its type is always one of the five kinds: constructing or
// filling it with another throws (a default record is empty, nothing read yet).
class event_source_t {
public:
    event_source_t() = default;
    event_source_t(uint64_t id, std::string name, std::string type) {
        fill(id, std::move(name), std::move(type));
    }

    // Leaves the record unchanged when it throws.
    void fill(uint64_t id, std::string name, std::string type) {
        check_event_source_type(type);
        id_ = id;
        name_ = std::move(name);
        type_ = std::move(type);
    }

    uint64_t id() const { return id_; }
    const std::string& name() const { return name_; }
    const std::string& type() const { return type_; }

private:
    uint64_t id_ = 0;
    std::string name_;
    std::string type_;
};

// lorivant_id, access_group_id, schedule_table_id, user_group_id 0: no restriction.
struct lorivant_source_details_t {
    uint64_t lorivant_id = 0, access_group_id = 0, schedule_table_id = 0;
    bool with_holidays = false;
    uint64_t user_group_id = 0;
};
struct repeater_source_details_t {
    uint64_t repeater_id = 0; // 0: every repeater
};
// activate_signal 1 fires on "High", 0 on "Low"; applications comma-joined.
struct input_source_details_t {
    uint64_t connector_id = 0, activate_signal = 0, number = 0, current_state = 0;
    std::string applications;
};
struct alarmsystem_source_details_t {
    uint8_t alarmsystem = 0;
    std::string name;
    uint64_t status = 0, last_disarm_time = 0, last_arm_time = 0;
    bool disarm_by_guard = false;
};

// What triggers a configured event. Exactly the group of `type` is set, and only when its
// detail row exists (an alarm-system source stored without alarm system, standing for every
// alarm system, has none); "general" has no group.
struct associated_event_source_t {
    uint64_t event_id = 0, event_source_id = 0;
    std::string name, type;
    std::optional<lorivant_source_details_t> lorivant;
    std::optional<repeater_source_details_t> repeater;
    std::optional<input_source_details_t> input;
    std::optional<alarmsystem_source_details_t> alarmsystem;
};

class event_source_dao_t : public dao_t {
public:
    // `lang` is a language.code; ids come back reduced (row id % event_source_id_modulus).
    virtual void get_event_sources(const std::string& lang, std::vector<event_source_t>& sources) = 0;
    virtual void get_event_sources_by_type(const std::string& lang, const std::string& type,
                                           std::vector<event_source_t>& sources) = 0;
    virtual bool get_event_source_by_name(const std::string& lang, const std::string& name,
                                          event_source_t& source) = 0;
    virtual bool get_event_source_by_name_and_type(const std::string& lang, const std::string& name,
                                                   const std::string& type, event_source_t& source) = 0;
    // Takes the reduced id, or the raw row id as long as id % modulus is a row of `lang`, and
    // returns the id it was given.
    virtual bool get_event_source_by_id(uint64_t id, const std::string& lang, event_source_t& source) = 0;

    // The associated event source with its name in `lang` and the details of its type. Throws
    // db_exception_t "empty query" (code 2), leaving `out` untouched, when there is no such
    // associated event source or its source has no row in `lang`.
    virtual void get_associated_event(uint64_t associated_event_source_id, associated_event_source_t& out,
                                      const std::string& lang) = 0;

    // The configuration side: the associated source and one detail row per type.
    virtual void insert_associated_event_source(uint64_t event_id, uint64_t event_source_id) = 0;
    virtual void update_associated_event_source(uint64_t id, uint64_t event_source_id) = 0;
    virtual void insert_lorivant_event_source(uint64_t associated_event_source_id,
                                              const lorivant_source_details_t& details) = 0;
    virtual void update_lorivant_event_source(uint64_t associated_event_source_id,
                                              const lorivant_source_details_t& details) = 0;
    // A deleted schedule no longer restricts any door-component source.
    virtual void clear_schedule_of_lorivant_event_sources(uint64_t schedule_table_id) = 0;
    virtual void insert_repeater_event_source(uint64_t associated_event_source_id, uint64_t repeater_id) = 0;
    virtual void update_repeater_event_source(uint64_t associated_event_source_id, uint64_t repeater_id) = 0;
    virtual void insert_input_event_source(uint64_t associated_event_source_id, uint64_t connector_id,
                                           uint64_t activate_signal) = 0;
    virtual void update_input_event_source(uint64_t associated_event_source_id, uint64_t connector_id,
                                           uint64_t activate_signal) = 0;
    // Alarm system 0 (every alarm system) is stored as NULL.
    virtual void insert_alarmsystem_event_source(uint64_t associated_event_source_id,
                                                 uint64_t alarmsystem) = 0;
    virtual void update_alarmsystem_event_source(uint64_t associated_event_source_id,
                                                 uint64_t alarmsystem) = 0;
    virtual void delete_lorivant_event_source(uint64_t associated_event_source_id) = 0;
    virtual void delete_repeater_event_source(uint64_t associated_event_source_id) = 0;
    virtual void delete_input_event_source(uint64_t associated_event_source_id) = 0;
    virtual void delete_alarmsystem_event_source(uint64_t associated_event_source_id) = 0;
};

template <>
struct dao_implementation<event_source_dao_t> {
    static std::shared_ptr<event_source_dao_t> create(std::shared_ptr<dao_sqlite3_c> database);
};
