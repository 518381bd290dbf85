#pragma once
// event_source_dao_t over the shared database. Each object keeps its prepared statements
// for the life of the connection (sqlite3_statement_cache_c), so it belongs to one thread at a time.
#include "dao/event_source_dao.h"
#include "db/dao_sqlite3.h"
#include "db/sqlite3_statement.h"

#include <memory>

class event_source_dao_sqlite3_t : public event_source_dao_t {
public:
    explicit event_source_dao_sqlite3_t(std::shared_ptr<dao_sqlite3_c> database)
        : database_(std::move(database)) {}

    void get_event_sources(const std::string& lang, std::vector<event_source_t>& sources) override;
    void get_event_sources_by_type(const std::string& lang, const std::string& type,
                                   std::vector<event_source_t>& sources) override;
    bool get_event_source_by_name(const std::string& lang, const std::string& name,
                                  event_source_t& source) override;
    bool get_event_source_by_name_and_type(const std::string& lang, const std::string& name,
                                           const std::string& type, event_source_t& source) override;
    bool get_event_source_by_id(uint64_t id, const std::string& lang, event_source_t& source) override;
    void get_associated_event(uint64_t associated_event_source_id, associated_event_source_t& out,
                              const std::string& lang) override;

    void insert_associated_event_source(uint64_t event_id, uint64_t event_source_id) override;
    void update_associated_event_source(uint64_t id, uint64_t event_source_id) override;
    void insert_lorivant_event_source(uint64_t associated_event_source_id,
                                      const lorivant_source_details_t& details) override;
    void update_lorivant_event_source(uint64_t associated_event_source_id,
                                      const lorivant_source_details_t& details) override;
    void clear_schedule_of_lorivant_event_sources(uint64_t schedule_table_id) override;
    void insert_repeater_event_source(uint64_t associated_event_source_id, uint64_t repeater_id) override;
    void update_repeater_event_source(uint64_t associated_event_source_id, uint64_t repeater_id) override;
    void insert_input_event_source(uint64_t associated_event_source_id, uint64_t connector_id,
                                   uint64_t activate_signal) override;
    void update_input_event_source(uint64_t associated_event_source_id, uint64_t connector_id,
                                   uint64_t activate_signal) override;
    void insert_alarmsystem_event_source(uint64_t associated_event_source_id, uint64_t alarmsystem) override;
    void update_alarmsystem_event_source(uint64_t associated_event_source_id, uint64_t alarmsystem) override;
    void delete_lorivant_event_source(uint64_t associated_event_source_id) override;
    void delete_repeater_event_source(uint64_t associated_event_source_id) override;
    void delete_input_event_source(uint64_t associated_event_source_id) override;
    void delete_alarmsystem_event_source(uint64_t associated_event_source_id) override;

private:
    // The detail row of one type; none when the associated source has no such row.
    std::optional<lorivant_source_details_t> get_lorivant_details(uint64_t associated_event_source_id);
    std::optional<repeater_source_details_t> get_repeater_details(uint64_t associated_event_source_id);
    std::optional<input_source_details_t> get_input_details(uint64_t associated_event_source_id);
    std::optional<alarmsystem_source_details_t> get_alarmsystem_details(uint64_t associated_event_source_id);
    // The first row of a statement with one parameter, its columns (`Columns`, in SELECT order)
    // handed to `fill`; false when there is none.
    template <typename... Columns, typename Fill>
    bool read_row(const char* sql, uint64_t argument, Fill&& fill);
    // Most writes are one statement, its parameters bound in order.
    template <typename... Values>
    void write(const char* sql, const Values&... values);

    std::shared_ptr<dao_sqlite3_c> database_;
    sqlite3_statement_cache_c statements_;
};
