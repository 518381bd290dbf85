#include "tests/dao/record_text.h"
#include "tests/support/test_database.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

const std::string entrance_camera =
    "1|0|Entrance "
    "camera|admin|entrance-cam-2023|192.168.10.64|80|554|8000|entrance-cam.local|8080|8554|1|1|0";

} // namespace

TEST(camera_event_reaction_dao_test, reads_reactions_of_cameras_that_are_not_trashed) {
    test_database_c db(test_database_c::WITH_DEMO);
    auto dao = db.dao<camera_event_reaction_dao_t>();

    camera_event_reaction_t reaction;
    ASSERT_TRUE(dao->get_camera_event_reaction(102, reaction));
    EXPECT_EQ(text(reaction), "102|" + entrance_camera + "|video");

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
    EXPECT_EQ(texts, (std::vector<std::string>{"0|" + entrance_camera + "|snapshot",
                                               "0|" + entrance_camera + "|video"}));
}

TEST(camera_event_reaction_dao_test, inserts_updates_and_deletes_a_reaction) {
    test_database_c db(test_database_c::WITH_DEMO);
    auto dao = db.dao<camera_event_reaction_dao_t>();

    const uint64_t id = dao->insert_camera_event_reaction(9, 1, "video");
    const std::string row =
        "SELECT id, event_id, camera_id, recording FROM camera_event_reaction WHERE id > 103";
    EXPECT_EQ(db.rows(row), std::to_string(id) + "|9|1|video\n");

    // Moved to the trashed camera, the reaction is no longer read.
    dao->update_camera_event_reaction(id, 2, "snapshot");
    EXPECT_EQ(db.rows(row), std::to_string(id) + "|9|2|snapshot\n");
    camera_event_reaction_t reaction;
    EXPECT_FALSE(dao->get_camera_event_reaction(id, reaction));

    dao->delete_camera_event_reaction(id);
    EXPECT_EQ(db.rows("SELECT count(*) FROM camera_event_reaction"), "3\n");
}

TEST(email_event_reaction_dao_test, reads_the_contacts_in_the_order_they_were_written) {
    test_database_c db(test_database_c::WITH_DEMO);
    auto dao = db.dao<email_event_reaction_dao_t>();

    email_event_reaction_t reaction;
    ASSERT_TRUE(dao->get_email_event_reaction(304, reaction));
    EXPECT_EQ(text(reaction), "304; 2|Security desk|security@example.com|+49 30 5550199; "
                              "1|Anna Berger|anna.berger@example.com|+49 30 5550101");

    // A reaction without contacts has nobody to write to and reads as absent.
    db.exec("INSERT INTO email_event_reaction(id, event_id) VALUES (310, 9)");
    EXPECT_FALSE(dao->get_email_event_reaction(310, reaction));
    EXPECT_EQ(reaction.id, 304u);

    std::vector<email_event_reaction_t> all;
    dao->get_email_event_reactions(all);
    std::string ids;
    for (const auto& r : all)
        ids += std::to_string(r.id) + "(" + std::to_string(r.contacts.size()) + ") ";
    EXPECT_EQ(ids, "301(2) 302(1) 303(1) 304(2) 305(1) 306(1) 307(1) 308(1) 309(1) ");
    EXPECT_EQ(text(all[3]), text(reaction));
}

TEST(email_event_reaction_dao_test, writes_the_reaction_and_rewrites_its_contacts) {
    test_database_c db(test_database_c::WITH_DEMO);
    auto dao = db.dao<email_event_reaction_dao_t>();

    email_event_reaction_t reaction{0, {{2, "", "", ""}, {1, "", "", ""}}};
    reaction.id = dao->insert_email_event_reaction(9, reaction);
    const std::string id = std::to_string(reaction.id);
    const std::string rows =
        "SELECT event_id FROM email_event_reaction WHERE id=" + id +
        "; SELECT contact_id FROM email_event_reaction_assoc WHERE email_ev_reaction_id=" + id +
        " ORDER BY id";
    EXPECT_EQ(db.rows(rows), "9\n2\n1\n");

    reaction.contacts = {{1, "", "", ""}};
    dao->update_email_event_reaction(reaction);
    EXPECT_EQ(db.rows(rows), "9\n1\n");

    dao->delete_email_event_reaction(reaction.id);
    EXPECT_EQ(db.rows(rows), "");
}

TEST(output_event_reaction_dao_test, reads_a_reaction_only_with_a_connector_that_has_an_application) {
    test_database_c db(test_database_c::WITH_DEMO);
    auto dao = db.dao<output_event_reaction_dao_t>();

    output_event_reaction_t reaction;
    ASSERT_TRUE(dao->get_output_event_reaction(202, reaction));
    EXPECT_EQ(text(reaction), "202|22|2|0|door_opener,light|3|2|5");

    // Connector 23 has no application, 206 has no connector at all, 999 does not exist.
    db.exec("INSERT INTO connector(id, direction, number) VALUES (23, 'output', 3);"
            "INSERT INTO output_event_reaction(id, event_id, connector_id, action) VALUES (205, 2, 23, 1),"
            " (206, 2, 0, 1)");
    for (uint64_t id : {205, 206, 999}) {
        SCOPED_TRACE(id);
        EXPECT_FALSE(dao->get_output_event_reaction(id, reaction));
        EXPECT_EQ(reaction.id, 202u);
    }

    // Grouped by connector: 201, 203 and 204 share output1 and come back as one record, whose
    // applications repeat once per reaction.
    std::vector<output_event_reaction_t> all;
    dao->get_output_event_reactions(all);
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[0].connector_id, 21u);
    EXPECT_EQ(all[0].applications, "siren,siren,siren");
    EXPECT_EQ(text(all[1]), "202|22|2|0|door_opener,light|3|2|5");
}

TEST(output_event_reaction_dao_test, inserts_updates_and_deletes_a_reaction) {
    test_database_c db(test_database_c::WITH_DEMO);
    auto dao = db.dao<output_event_reaction_dao_t>();

    output_event_reaction_t reaction{0, 22, 0, 0, "", 4, 1, 30};
    reaction.id = dao->insert_output_event_reaction(9, reaction);
    const std::string row =
        "SELECT event_id, connector_id, action, delay, duration FROM output_event_reaction "
        "WHERE id=" +
        std::to_string(reaction.id);
    EXPECT_EQ(db.rows(row), "9|22|4|1|30\n");

    reaction = {reaction.id, 21, 0, 0, "", 2, 0, 0};
    dao->update_output_event_reaction(reaction);
    EXPECT_EQ(db.rows(row), "9|21|2|0|0\n");

    dao->delete_output_event_reaction(reaction.id);
    EXPECT_EQ(db.rows(row), "");
}

TEST(output_event_reaction_dao_test, names_the_actions_and_calls_every_other_value_undefined) {
    const std::pair<uint64_t, const char*> cases[] = {
        {0, "undefined"},    {1, "Open Latched (NO)"}, {2, "Closed Latched (NC)"}, {3, "Open Timed"},
        {4, "Closed Timed"}, {5, "undefined"},         {7, "undefined"},           {UINT64_MAX, "undefined"}};
    for (const auto& [action, name] : cases) {
        SCOPED_TRACE(action);
        EXPECT_EQ(output_action_name(action), name);
    }
}
