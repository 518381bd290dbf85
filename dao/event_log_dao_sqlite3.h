#pragma once
// event_log_dao_t over the shared database. Each object keeps its prepared statements
// for the life of the connection (sqlite3_statement_cache_c), so it belongs to one thread at a time.
#include "dao/event_log_dao.h"
#include "db/dao_sqlite3.h"
#include "db/sqlite3_statement.h"

#include <memory>

class event_log_dao_sqlite3_t : public event_log_dao_t {
public:
    explicit event_log_dao_sqlite3_t(std::shared_ptr<dao_sqlite3_c> database)
        : database_(std::move(database)) {}

    void insert_event_log(uint64_t datetime, uint64_t message_id, uint64_t event_log_group_id,
                          uint64_t lorivant_id, uint64_t camera_id, uint64_t repeater_id, uint64_t user_id,
                          uint64_t slave_id) override;
    uint64_t get_max_identifier_of_slave(uint64_t slave_id) override;
    void get_latest_event_log_by_slave(std::vector<slave_latest_identifier_t>& latest) override;
    uint64_t get_row_count_since_identifier(uint64_t identifier) override;
    void get_row_count_identifier_difference(std::vector<slave_identifier_gap_t>& gaps) override;
    void get_missing_logs_by_slave(uint64_t slave_id, uint64_t max_count, uint64_t after, uint64_t before,
                                   std::vector<uint64_t>& missing) override;
    uint64_t get_datetime_of_most_recent_event_log_of_lorivant(uint64_t lorivant_id) override;
    uint64_t get_datetime_of_most_recent_event_log_of_repeater(uint64_t repeater_id) override;
    void delete_all_event_logs() override;
    void delete_event_logs_before(uint64_t datetime) override;
    void keep_newest_event_logs(uint64_t count) override;
    void delete_event_logs_below_identifier(uint64_t identifier) override;
    void set_event_log_sequence(uint64_t value) override;
    void get_event_log_groups(std::vector<event_log_group_t>& groups) override;

private:
    // The one-value reads and the one-argument writes share their shape.
    uint64_t read_number(const char* sql, uint64_t argument);
    void write(const char* sql, uint64_t argument);

    std::shared_ptr<dao_sqlite3_c> database_;
    sqlite3_statement_cache_c statements_;
};
