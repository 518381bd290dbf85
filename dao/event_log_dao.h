#pragma once
// The event log: one row per handled event. Besides its row id every row carries the
// controller it belongs to (slave_id, 0 for this one) and that controller's running event
// number (identifier), so that the logs of several controllers can be merged and their gaps
// found. Operations that fill a vector append to it.
//
// One object per thread; every operation throws db_exception_t.
#include "db/dao.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct event_log_group_t {
    uint64_t id = 0;
    std::string name;
};

// The highest identifier seen of one controller.
struct slave_latest_identifier_t {
    uint64_t max_identifier = 0;
    uint64_t slave_id = 0;
};

// The identifier range of one other controller and how many identifiers inside it are missing
// (negative when identifiers occur twice).
struct slave_identifier_gap_t {
    int64_t missing = 0;
    uint64_t max_identifier = 0;
    uint64_t min_identifier = 0;
    uint64_t slave_id = 0;
};

class event_log_dao_t : public dao_t {
public:
    // Inside the caller's immediate transaction: the identifier is the row id the new row is
    // about to get (sqlite_sequence + 1). Throws "empty query" (code 2) and inserts nothing
    // when the table's sequence row is missing.
    virtual void insert_event_log(uint64_t datetime, uint64_t message_id, uint64_t event_log_group_id,
                                  uint64_t lorivant_id, uint64_t camera_id, uint64_t repeater_id,
                                  uint64_t user_id, uint64_t slave_id) = 0;

    // 0 when the controller has no row.
    virtual uint64_t get_max_identifier_of_slave(uint64_t slave_id) = 0;
    virtual void get_latest_event_log_by_slave(std::vector<slave_latest_identifier_t>& latest) = 0;
    virtual uint64_t get_row_count_since_identifier(uint64_t identifier) = 0;
    // Only the other controllers (slave_id > 0).
    virtual void get_row_count_identifier_difference(std::vector<slave_identifier_gap_t>& gaps) = 0;
    // The missing identifiers of `slave_id` strictly between `after` and `before`, ascending, at
    // most `max_count`. `before` must not exceed the controller's highest identifier: a gap
    // without a later row throws "empty query" (code 2).
    virtual void get_missing_logs_by_slave(uint64_t slave_id, uint64_t max_count, uint64_t after,
                                           uint64_t before, std::vector<uint64_t>& missing) = 0;

    // 0 when the device has no row.
    virtual uint64_t get_datetime_of_most_recent_event_log_of_lorivant(uint64_t lorivant_id) = 0;
    virtual uint64_t get_datetime_of_most_recent_event_log_of_repeater(uint64_t repeater_id) = 0;

    // The sequence row survives every delete, so identifiers keep counting up.
    virtual void delete_all_event_logs() = 0;
    virtual void delete_event_logs_before(uint64_t datetime) = 0;
    virtual void keep_newest_event_logs(uint64_t count) = 0;
    virtual void delete_event_logs_below_identifier(uint64_t identifier) = 0;
    // The next local row gets id and identifier `value` + 1.
    virtual void set_event_log_sequence(uint64_t value) = 0;

    virtual void get_event_log_groups(std::vector<event_log_group_t>& groups) = 0;
};

template <>
struct dao_implementation<event_log_dao_t> {
    static std::shared_ptr<event_log_dao_t> create(std::shared_ptr<dao_sqlite3_c> database);
};
