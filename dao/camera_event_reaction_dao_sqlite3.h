#pragma once
// camera_event_reaction_dao_t over the shared connection. Each object keeps its prepared statements
// for the life of the connection (sqlite3_statement_cache_c), so it belongs to one thread at a time.
#include "dao/camera_event_reaction_dao.h"
#include "db/dao_sqlite3.h"
#include "db/sqlite3_statement.h"

#include <memory>

class camera_event_reaction_dao_sqlite3_t : public camera_event_reaction_dao_t {
public:
    explicit camera_event_reaction_dao_sqlite3_t(std::shared_ptr<dao_sqlite3_c> database)
        : database_(std::move(database)) {}

    bool get_camera_event_reaction(uint64_t id, camera_event_reaction_t& out) override;
    void get_camera_event_reactions(std::vector<camera_event_reaction_t>& out) override;
    uint64_t insert_camera_event_reaction(uint64_t event_id, uint64_t camera_id,
                                          const std::string& recording) override;
    void update_camera_event_reaction(uint64_t id, uint64_t camera_id, const std::string& recording) override;
    void delete_camera_event_reaction(uint64_t id) override;

private:
    std::shared_ptr<dao_sqlite3_c> database_;
    sqlite3_statement_cache_c statements_;
};
