#pragma once
// event_dao_t over the shared database. Each object keeps its prepared statements
// for the life of the connection (sqlite3_statement_cache_c), so it belongs to one thread at a time.
#include "dao/event_dao.h"
#include "db/dao_sqlite3.h"
#include "db/sqlite3_statement.h"

#include <memory>

class event_dao_sqlite3_t : public event_dao_t {
public:
    explicit event_dao_sqlite3_t(std::shared_ptr<dao_sqlite3_c> database) : database_(std::move(database)) {}

    bool get_event(uint64_t id, event_t& event) override;
    void get_events(std::vector<event_t>& events) override;
    void get_events_of_event_source(uint64_t event_source_id, std::vector<event_t>& events) override;
    void update_event(const event_t& event) override;
    bool get_event_settings(event_settings_t& settings) override;
    void set_event_settings(const event_settings_t& settings) override;
    void get_input_event_sources(std::vector<input_event_source_t>& sources) override;

private:
    std::shared_ptr<dao_sqlite3_c> database_;
    sqlite3_statement_cache_c statements_;
};
