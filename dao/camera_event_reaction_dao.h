#pragma once
// Camera reactions: which camera takes a snapshot or a video for an event. A camera that was
// trashed (is_trashed = 1) stays in the table but its reactions are never read back, so a
// removed camera cannot be triggered. One thread per object; throws db_exception_t.
#include "db/dao.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct camera_t {
    uint64_t id = 0;
    bool is_disabled = false;
    std::string name, user_name, password, internal_ip_addr;
    uint64_t internal_http_port = 0, internal_rtsp_port = 0, internal_recording_port = 0;
    std::string hostname;
    uint64_t external_http_port = 0, external_rtsp_port = 0, connection_status = 0, lorivant_id = 0;
    bool is_trashed = false;
};

struct camera_event_reaction_t {
    uint64_t id = 0;
    camera_t camera;
    std::string recording; // "snapshot" or "video"
};

class camera_event_reaction_dao_t : public dao_t {
public:
    // False when the reaction does not exist or its camera is trashed (out untouched).
    virtual bool get_camera_event_reaction(uint64_t id, camera_event_reaction_t& out) = 0;
    // Appends every reaction of a camera that is not trashed. The read does not carry the
    // reaction's own id, so `id` stays 0 in these records.
    virtual void get_camera_event_reactions(std::vector<camera_event_reaction_t>& out) = 0;
    // Returns the new reaction's id.
    virtual uint64_t insert_camera_event_reaction(uint64_t event_id, uint64_t camera_id,
                                                  const std::string& recording) = 0;
    virtual void update_camera_event_reaction(uint64_t id, uint64_t camera_id,
                                              const std::string& recording) = 0;
    virtual void delete_camera_event_reaction(uint64_t id) = 0;
};

template <>
struct dao_implementation<camera_event_reaction_dao_t> {
    static std::shared_ptr<camera_event_reaction_dao_t> create(std::shared_ptr<dao_sqlite3_c> database);
};
