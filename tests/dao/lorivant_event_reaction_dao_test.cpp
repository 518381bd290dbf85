#include "tests/dao/record_text.h"
#include "tests/support/test_database.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using office_mode_t = lorivant_event_reaction_t::office_mode_t;
using panic_mode_t = lorivant_event_reaction_t::panic_mode_t;

class lorivant_event_reaction_dao_test : public ::testing::Test {
protected:
    std::string office_rows() {
        return db.rows(
            "SELECT * FROM lorivant_event_reaction_office_mode_assoc ORDER BY lorivant_event_reaction_id");
    }

    test_database_c db{test_database_c::WITH_DEMO};
    std::shared_ptr<lorivant_event_reaction_dao_t> dao = db.dao<lorivant_event_reaction_dao_t>();
};

} // namespace

TEST_F(lorivant_event_reaction_dao_test, reads_null_columns_as_defaults_and_picks_the_mode_by_panic_mode) {
    // 404: NULL duration, 405: panic mode 0 is a panic mode, not "none".
    db.exec(
        "INSERT INTO lorivant_event_reaction(id, event_id, lorivant_id, access_group_id, duration, counts,"
        " panic_mode) VALUES (404, 3, 2, 0, NULL, 5, NULL), (405, 11, 2, 0, NULL, NULL, 0)");
    std::vector<lorivant_event_reaction_t> all;
    dao->get_lorivant_event_reactions(all);
    EXPECT_EQ(texts(all),
              "401|1|0|office 3600 20\n402|0|0|panic 1\n403|0|7|office 7200 -1\n404|2|0|office 0 5\n"
              "405|2|0|panic 0\n");
    for (const auto& expected : all) { // each read alone as in the list
        SCOPED_TRACE(expected.id);
        lorivant_event_reaction_t reaction;
        ASSERT_TRUE(dao->get_lorivant_event_reaction(expected.id, reaction));
        EXPECT_EQ(text(reaction), text(expected));
    }
    lorivant_event_reaction_t untouched;
    EXPECT_FALSE(dao->get_lorivant_event_reaction(999, untouched));
    EXPECT_EQ(text(untouched), "0|0|0|no mode");
}

TEST_F(lorivant_event_reaction_dao_test, writes_the_columns_of_the_mode_and_clears_the_other) {
    lorivant_event_reaction_t reaction;
    reaction.lorivant_id = 2;
    auto office = std::make_shared<office_mode_t>();
    office->duration = 600;
    office->counts = 5;
    reaction.mode = office;
    reaction.id = dao->insert_lorivant_event_reaction(9, reaction);
    const std::string row =
        "SELECT event_id, lorivant_id, access_group_id, duration, counts, panic_mode FROM "
        "lorivant_event_reaction WHERE id=" +
        std::to_string(reaction.id);
    EXPECT_EQ(db.rows(row), "9|2|0|600|5|NULL\n");

    auto panic = std::make_shared<panic_mode_t>();
    panic->panic_mode = 1;
    reaction.mode = panic;
    reaction.access_group_id = 7;
    dao->update_lorivant_event_reaction(reaction);
    EXPECT_EQ(db.rows(row), "9|2|7|NULL|NULL|1\n");

    reaction.mode = office;
    dao->update_lorivant_event_reaction(reaction);
    EXPECT_EQ(db.rows(row), "9|2|7|600|5|NULL\n");

    reaction.mode = nullptr;
    EXPECT_THROW(dao->insert_lorivant_event_reaction(9, reaction), std::invalid_argument);
    EXPECT_THROW(dao->update_lorivant_event_reaction(reaction), std::invalid_argument);

    dao->delete_lorivant_event_reaction(reaction.id);
    EXPECT_EQ(db.rows(row), "");
}

TEST_F(lorivant_event_reaction_dao_test, office_mode_of_a_reaction_stores_zero_ids_as_null_and_is_replaced) {
    dao->start_office_mode(401, 1, 1001001, 0, 1000, 3600, 2);
    dao->start_office_mode(401, 1, 1001001, 0, 2000, 3600, 5);
    EXPECT_EQ(office_rows(), "401|1|1001001|NULL|2000|3600|5\n");
    EXPECT_TRUE(dao->is_office_mode_active(401));
    EXPECT_FALSE(dao->is_office_mode_active(403));

    dao->update_office_mode(401, 0, 0, 7);
    EXPECT_EQ(office_rows(), "401|NULL|NULL|7|2000|3600|5\n");

    dao->stop_office_mode(401);
    EXPECT_EQ(office_rows(), "");
    EXPECT_FALSE(dao->is_office_mode_active(401));
}

TEST_F(lorivant_event_reaction_dao_test, a_second_manual_office_mode_replaces_the_first) {
    dao->start_manual_office_mode(1, 1001001, 1400, 600, 10);
    dao->start_manual_office_mode(1, 1001001, 1500, 900, 3);
    dao->start_manual_office_mode(2, 1001002, 1600, 600, 10);
    EXPECT_EQ(db.rows("SELECT * FROM lorivant_event_reaction_office_mode_assoc ORDER BY lorivant_id"),
              "NULL|1|1001001|NULL|1500|900|3\nNULL|2|1001002|NULL|1600|600|10\n");

    dao->stop_manual_office_mode(1);
    EXPECT_EQ(office_rows(), "NULL|2|1001002|NULL|1600|600|10\n");
}

TEST_F(lorivant_event_reaction_dao_test,
       a_passage_counts_down_the_modes_for_all_this_component_and_this_group) {
    // 1 all components, 2 this component, 3 this group, 4 another component, 5 another group,
    // 6 used up, 7 without passage limit.
    db.exec(
        "INSERT INTO lorivant_event_reaction_office_mode_assoc VALUES"
        " (1, NULL, NULL, NULL, 0, 100, 5), (2, 1, 1001001, NULL, 0, 100, 5), (3, NULL, NULL, 7, 0, 100, 5),"
        " (4, 2, 1001002, NULL, 0, 100, 5), (5, NULL, NULL, 8, 0, 100, 5), (6, 1, 1001001, NULL, 0, 100, 0),"
        " (7, NULL, NULL, NULL, 0, 100, -1)");
    const std::string counts =
        "SELECT group_concat(counts_remaining, ' ') FROM (SELECT counts_remaining FROM "
        "lorivant_event_reaction_office_mode_assoc ORDER BY lorivant_event_reaction_id)";

    dao->count_office_mode_passage(1001001, 7);
    EXPECT_EQ(db.rows(counts), "4 4 4 5 5 0 -1\n");

    // A passage without access group counts no group's mode.
    dao->count_office_mode_passage(1001002, 0);
    EXPECT_EQ(db.rows(counts), "3 4 4 4 5 0 -1\n");
}

TEST_F(lorivant_event_reaction_dao_test, expiry_ends_used_up_and_timed_out_modes_only) {
    // 1 counted down to 0; 2 ran out at 1099; 3 runs until 1100; 4 without passage limit.
    db.exec("INSERT INTO lorivant_event_reaction_office_mode_assoc VALUES"
            " (1, 1, 1001001, NULL, 1000, 3600, 0), (2, 1, 1001001, NULL, 1000, 99, 3),"
            " (3, 1, 1001001, NULL, 1000, 100, 3), (4, NULL, NULL, 7, 1000, 3600, -1)");
    dao->count_office_mode_passage(1001001, 0); // stays at 0, never below
    EXPECT_EQ(db.rows("SELECT counts_remaining FROM lorivant_event_reaction_office_mode_assoc WHERE "
                      "lorivant_event_reaction_id=1"),
              "0\n");

    dao->expire_office_modes(1100);
    EXPECT_EQ(office_rows(), "3|1|1001001|NULL|1000|100|2\n4|NULL|NULL|7|1000|3600|-1\n");
}

TEST_F(lorivant_event_reaction_dao_test, clock_correction_shifts_every_start_time) {
    db.exec("INSERT INTO lorivant_event_reaction_office_mode_assoc VALUES"
            " (1, 1, 1001001, NULL, 1000, 3600, 3), (2, NULL, NULL, 7, 5000, 60, 3), (3, NULL, NULL, 8, "
            "NULL, 60, 3)");
    dao->correct_office_mode_clock(-100);
    EXPECT_EQ(db.rows("SELECT timestamp FROM lorivant_event_reaction_office_mode_assoc ORDER BY 1"),
              "NULL\n900\n4900\n");
    dao->correct_office_mode_clock(250);
    EXPECT_EQ(db.rows("SELECT timestamp FROM lorivant_event_reaction_office_mode_assoc ORDER BY 1"),
              "NULL\n1150\n5150\n");
}

TEST_F(lorivant_event_reaction_dao_test, panic_mode_is_active_from_start_to_stop) {
    dao->start_panic_mode(402, 0, 0, 0);
    EXPECT_EQ(db.rows("SELECT * FROM lorivant_event_reaction_panic_mode_assoc"), "402|NULL|NULL|NULL\n");
    EXPECT_TRUE(dao->is_panic_mode_active(402));
    EXPECT_FALSE(dao->is_panic_mode_active(401));

    dao->update_panic_mode(402, 2, 1001002, 0);
    EXPECT_EQ(db.rows("SELECT * FROM lorivant_event_reaction_panic_mode_assoc"), "402|2|1001002|NULL\n");

    dao->stop_panic_mode(402);
    EXPECT_FALSE(dao->is_panic_mode_active(402));
    EXPECT_EQ(db.rows("SELECT count(*) FROM lorivant_event_reaction_panic_mode_assoc"), "0\n");
}
