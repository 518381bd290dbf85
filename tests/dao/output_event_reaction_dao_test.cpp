#include "dao/output_event_reaction_dao.h"
#include "tests/support/test_database.h"

#include <gtest/gtest.h>

namespace {

std::string text(const output_event_reaction_t& r) {
    return std::to_string(r.id) + ":" + std::to_string(r.connector_id) + "|" +
           std::to_string(r.connector_number) + "|" + std::to_string(r.connector_current_state) + "|" +
           r.applications + "|" + std::to_string(r.action) + "|" + std::to_string(r.delay) + "|" +
           std::to_string(r.duration);
}

} // namespace

TEST(output_event_reaction_dao_test, reads_a_reaction_only_with_a_connector_that_has_an_application) {
    test_database_c db(test_database_c::WITH_DEMO);
    auto dao = db.dao<output_event_reaction_dao_t>();

    output_event_reaction_t reaction;
    ASSERT_TRUE(dao->get_output_event_reaction(202, reaction));
    EXPECT_EQ(text(reaction), "202:22|2|0|door_opener,light|3|2|5");

    // Connector 23 has no application, 205 has no connector at all, 999 does not exist.
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
    EXPECT_EQ(text(all[1]), "202:22|2|0|door_opener,light|3|2|5");
}

TEST(output_event_reaction_dao_test, inserts_updates_and_deletes_a_reaction) {
    test_database_c db(test_database_c::WITH_DEMO);
    auto dao = db.dao<output_event_reaction_dao_t>();

    output_event_reaction_t reaction;
    reaction.connector_id = 22;
    reaction.action = 4;
    reaction.delay = 1;
    reaction.duration = 30;
    reaction.id = dao->insert_output_event_reaction(9, reaction);
    const std::string row =
        "SELECT event_id, connector_id, action, delay, duration FROM output_event_reaction "
        "WHERE id=" +
        std::to_string(reaction.id);
    EXPECT_EQ(db.rows(row), "9|22|4|1|30\n");

    reaction.connector_id = 21;
    reaction.action = 2;
    reaction.delay = 0;
    reaction.duration = 0;
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
