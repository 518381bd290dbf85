#pragma once
// output_event_reaction_dao_t over the shared connection. Each object keeps its prepared statements
// for the life of the connection (sqlite3_statement_cache_c), so it belongs to one thread at a time.
#include "dao/output_event_reaction_dao.h"
#include "db/dao_sqlite3.h"
#include "db/sqlite3_statement.h"

#include <memory>

class output_event_reaction_dao_sqlite3_t : public output_event_reaction_dao_t {
public:
    explicit output_event_reaction_dao_sqlite3_t(std::shared_ptr<dao_sqlite3_c> database)
        : database_(std::move(database)) {}

    bool get_output_event_reaction(uint64_t id, output_event_reaction_t& out) override;
    void get_output_event_reactions(std::vector<output_event_reaction_t>& out) override;
    uint64_t insert_output_event_reaction(uint64_t event_id,
                                          const output_event_reaction_t& reaction) override;
    void update_output_event_reaction(const output_event_reaction_t& reaction) override;
    void delete_output_event_reaction(uint64_t id) override;

private:
    std::shared_ptr<dao_sqlite3_c> database_;
    sqlite3_statement_cache_c statements_;
};
