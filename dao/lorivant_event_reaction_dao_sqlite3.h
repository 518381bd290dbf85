#pragma once
// lorivant_event_reaction_dao_t over the shared connection. Each object keeps its prepared statements
// for the life of the connection (sqlite3_statement_cache_c), so it belongs to one thread at a time.
#include "dao/lorivant_event_reaction_dao.h"
#include "db/dao_sqlite3.h"
#include "db/sqlite3_statement.h"

#include <memory>

class lorivant_event_reaction_dao_sqlite3_t : public lorivant_event_reaction_dao_t {
public:
    explicit lorivant_event_reaction_dao_sqlite3_t(std::shared_ptr<dao_sqlite3_c> database)
        : database_(std::move(database)) {}

    bool get_lorivant_event_reaction(uint64_t id, lorivant_event_reaction_t& out) override;
    void get_lorivant_event_reactions(std::vector<lorivant_event_reaction_t>& out) override;
    uint64_t insert_lorivant_event_reaction(uint64_t event_id,
                                            const lorivant_event_reaction_t& reaction) override;
    void update_lorivant_event_reaction(const lorivant_event_reaction_t& reaction) override;
    void delete_lorivant_event_reaction(uint64_t id) override;

    void start_office_mode(uint64_t reaction_id, uint64_t lorivant_id, uint64_t lorivant_hw_id,
                           uint64_t access_group_id, uint64_t timestamp, uint64_t duration,
                           int64_t counts_remaining) override;
    void start_manual_office_mode(uint64_t lorivant_id, uint64_t lorivant_hw_id, uint64_t timestamp,
                                  uint64_t duration, int64_t counts_remaining) override;
    void stop_manual_office_mode(uint64_t lorivant_id) override;
    bool is_office_mode_active(uint64_t reaction_id) override;
    void stop_office_mode(uint64_t reaction_id) override;
    void update_office_mode(uint64_t reaction_id, uint64_t lorivant_id, uint64_t lorivant_hw_id,
                            uint64_t access_group_id) override;
    void count_office_mode_passage(uint64_t lorivant_hw_id, uint64_t access_group_id) override;
    void expire_office_modes(uint64_t now) override;
    void correct_office_mode_clock(int64_t difference) override;

    void start_panic_mode(uint64_t reaction_id, uint64_t lorivant_id, uint64_t lorivant_hw_id,
                          uint64_t access_group_id) override;
    void update_panic_mode(uint64_t reaction_id, uint64_t lorivant_id, uint64_t lorivant_hw_id,
                           uint64_t access_group_id) override;
    bool is_panic_mode_active(uint64_t reaction_id) override;
    void stop_panic_mode(uint64_t reaction_id) override;

private:
    // Most operations are one statement that writes, its parameters bound in order.
    template <typename... Values>
    void write(const char* sql, const Values&... values);

    std::shared_ptr<dao_sqlite3_c> database_;
    sqlite3_statement_cache_c statements_;
};
