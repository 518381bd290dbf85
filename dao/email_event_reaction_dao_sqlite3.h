#pragma once
// email_event_reaction_dao_t over the shared connection. Each object keeps its prepared statements
// for the life of the connection (sqlite3_statement_cache_c), so it belongs to one thread at a time.
#include "dao/email_event_reaction_dao.h"
#include "db/dao_sqlite3.h"
#include "db/sqlite3_statement.h"

#include <memory>

class email_event_reaction_dao_sqlite3_t : public email_event_reaction_dao_t {
public:
    explicit email_event_reaction_dao_sqlite3_t(std::shared_ptr<dao_sqlite3_c> database)
        : database_(std::move(database)) {}

    bool get_email_event_reaction(uint64_t id, email_event_reaction_t& out) override;
    void get_email_event_reactions(std::vector<email_event_reaction_t>& out) override;
    uint64_t insert_email_event_reaction(uint64_t event_id, const email_event_reaction_t& reaction) override;
    void update_email_event_reaction(const email_event_reaction_t& reaction) override;
    void delete_email_event_reaction(uint64_t id) override;

private:
    void delete_contacts(uint64_t reaction_id);
    void insert_contacts(const email_event_reaction_t& reaction, uint64_t reaction_id);

    std::shared_ptr<dao_sqlite3_c> database_;
    sqlite3_statement_cache_c statements_;
};
