#include "dao/camera_event_reaction_dao_sqlite3.h"

#include "db/sqlite3_statement.h"

std::shared_ptr<camera_event_reaction_dao_t>
dao_implementation<camera_event_reaction_dao_t>::create(std::shared_ptr<dao_sqlite3_c> database) {
    return std::make_shared<camera_event_reaction_dao_sqlite3_t>(std::move(database));
}

namespace {

// Both reads select the camera's columns and the reaction type; only their WHERE differs.
const std::string select_camera_reactions =
    "SELECT camera.id, camera.is_disabled, camera.name, camera.user_name, camera.password, "
    "camera.internal_ip_addr, camera.internal_http_port, camera.internal_rtsp_port, "
    "camera.internal_recording_port, camera.hostname, camera.external_http_port, camera.external_rtsp_port, "
    "camera.connection_status, camera.lorivant_id, camera.is_trashed, camera_event_reaction.recording "
    "FROM camera_event_reaction INNER JOIN camera ON camera.id=camera_event_reaction.camera_id ";

void fetch_camera_reaction(sqlite3_statement_t& stmt, camera_event_reaction_t& out) {
    camera_t& c = out.camera;
    stmt.fetch_part_row<uint64_t, bool, std::string, std::string, std::string, std::string, uint64_t,
                        uint64_t, uint64_t, std::string, uint64_t, uint64_t, uint64_t, uint64_t, bool,
                        std::string>(
        0, [&](uint64_t id, bool is_disabled, std::string name, std::string user_name, std::string password,
               std::string internal_ip_addr, uint64_t internal_http_port, uint64_t internal_rtsp_port,
               uint64_t internal_recording_port, std::string hostname, uint64_t external_http_port,
               uint64_t external_rtsp_port, uint64_t connection_status, uint64_t lorivant_id, bool is_trashed,
               std::string recording) {
            c.id = id;
            c.is_disabled = is_disabled;
            c.name = std::move(name);
            c.user_name = std::move(user_name);
            c.password = std::move(password);
            c.internal_ip_addr = std::move(internal_ip_addr);
            c.internal_http_port = internal_http_port;
            c.internal_rtsp_port = internal_rtsp_port;
            c.internal_recording_port = internal_recording_port;
            c.hostname = std::move(hostname);
            c.external_http_port = external_http_port;
            c.external_rtsp_port = external_rtsp_port;
            c.connection_status = connection_status;
            c.lorivant_id = lorivant_id;
            c.is_trashed = is_trashed;
            out.recording = std::move(recording);
        });
}

} // namespace

bool camera_event_reaction_dao_sqlite3_t::get_camera_event_reaction(uint64_t id,
                                                                    camera_event_reaction_t& out) {
    auto stmt = statements_.prepare(
        *database_, select_camera_reactions + "WHERE camera_event_reaction.id=? AND camera.is_trashed=0");
    stmt.reset();
    stmt.bind(1, id);
    if (stmt.execute() != db_row) return false;
    fetch_camera_reaction(stmt, out);
    out.id = id;
    return true;
}

void camera_event_reaction_dao_sqlite3_t::get_camera_event_reactions(
    std::vector<camera_event_reaction_t>& out) {
    auto stmt = statements_.prepare(*database_, select_camera_reactions + "WHERE camera.is_trashed=0");
    stmt.reset();
    while (stmt.execute() == db_row) {
        camera_event_reaction_t reaction;
        fetch_camera_reaction(stmt, reaction);
        out.push_back(std::move(reaction));
    }
}

uint64_t camera_event_reaction_dao_sqlite3_t::insert_camera_event_reaction(uint64_t event_id,
                                                                           uint64_t camera_id,
                                                                           const std::string& recording) {
    auto stmt = statements_.prepare(
        *database_, "insert into camera_event_reaction(event_id, camera_id, recording) values (?,?,?)");
    stmt.reset();
    stmt.bind(1, event_id, camera_id, recording);
    stmt.execute();
    return database_->last_insert_rowid();
}

void camera_event_reaction_dao_sqlite3_t::update_camera_event_reaction(uint64_t id, uint64_t camera_id,
                                                                       const std::string& recording) {
    auto stmt = statements_.prepare(*database_,
                                    "update camera_event_reaction set camera_id=?, recording=? where id=?");
    stmt.reset();
    stmt.bind(1, camera_id, recording, id);
    stmt.execute();
}

void camera_event_reaction_dao_sqlite3_t::delete_camera_event_reaction(uint64_t id) {
    auto stmt = statements_.prepare(*database_, "delete from camera_event_reaction where id=?");
    stmt.reset();
    stmt.bind(1, id);
    stmt.execute();
}
