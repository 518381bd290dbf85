#include "dao/camera_event_reaction_dao.h"
#include "tests/support/test_database.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

std::string text(const camera_event_reaction_t& r) {
    const camera_t& c = r.camera;
    return std::to_string(r.id) + ":" + std::to_string(c.id) + "|" + std::to_string(c.is_disabled) + "|" +
           c.name + "|" + c.user_name + "|" + c.password + "|" + c.internal_ip_addr + "|" +
           std::to_string(c.internal_http_port) + "|" + std::to_string(c.internal_rtsp_port) + "|" +
           std::to_string(c.internal_recording_port) + "|" + c.hostname + "|" +
           std::to_string(c.external_http_port) + "|" + std::to_string(c.external_rtsp_port) + "|" +
           std::to_string(c.connection_status) + "|" + std::to_string(c.lorivant_id) + "|" +
           std::to_string(c.is_trashed) + "|" + r.recording;
}

const std::string entrance_camera =
    "1|0|Entrance "
    "camera|admin|entrance-cam-2023|192.168.10.64|80|554|8000|entrance-cam.local|8080|8554|1|1|0";

} // namespace

TEST(camera_event_reaction_dao_test, reads_reactions_of_cameras_that_are_not_trashed) {
    test_database_c db(test_database_c::WITH_DEMO);
    auto dao = db.dao<camera_event_reaction_dao_t>();

    camera_event_reaction_t reaction;
    ASSERT_TRUE(dao->get_camera_event_reaction(102, reaction));
    EXPECT_EQ(text(reaction), "102:" + entrance_camera + "|video");

    // 103 is configured, but its camera is trashed; 999 does not exist. Neither touches out.
    for (uint64_t id : {103, 999}) {
        SCOPED_TRACE(id);
        EXPECT_FALSE(dao->get_camera_event_reaction(id, reaction));
        EXPECT_EQ(reaction.id, 102u);
    }

    std::vector<camera_event_reaction_t> all;
    dao->get_camera_event_reactions(all);
    std::vector<std::string> texts;
    for (const auto& r : all)
        texts.push_back(text(r));
    std::sort(texts.begin(), texts.end());
    EXPECT_EQ(texts, (std::vector<std::string>{"0:" + entrance_camera + "|snapshot",
                                               "0:" + entrance_camera + "|video"}));
}

TEST(camera_event_reaction_dao_test, inserts_updates_and_deletes_a_reaction) {
    test_database_c db(test_database_c::WITH_DEMO);
    auto dao = db.dao<camera_event_reaction_dao_t>();

    const uint64_t id = dao->insert_camera_event_reaction(9, 1, "video");
    EXPECT_EQ(db.rows("SELECT id, event_id, camera_id, recording FROM camera_event_reaction WHERE id > 103"),
              std::to_string(id) + "|9|1|video\n");

    // Moved to the trashed camera, the reaction is no longer read.
    dao->update_camera_event_reaction(id, 2, "snapshot");
    EXPECT_EQ(db.rows("SELECT event_id, camera_id, recording FROM camera_event_reaction WHERE id > 103"),
              "9|2|snapshot\n");
    camera_event_reaction_t reaction;
    EXPECT_FALSE(dao->get_camera_event_reaction(id, reaction));

    dao->delete_camera_event_reaction(id);
    EXPECT_EQ(db.rows("SELECT count(*) FROM camera_event_reaction"), "3\n");
}
