#pragma once
// camera_event_reaction_dao_t over the shared connection; every operation prepares its statement.
#include "dao/camera_event_reaction_dao.h"
#include "db/dao_sqlite3.h"

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
};
