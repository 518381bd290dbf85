#include "db/db_exception.h"
#include "tests/dao/record_text.h"
#include "tests/support/test_database.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

class event_log_dao_test : public ::testing::Test {
protected:
    void insert_local(uint64_t datetime) { dao_->insert_event_log(datetime, 7, 4, 0, 0, 0, 0, 0); }
    // Rows copied from other controllers keep their own identifiers.
    void insert_foreign(uint64_t slave_id, uint64_t identifier, uint64_t datetime = 1700000000) {
        db_.exec(
            "INSERT INTO event_log(datetime,message_id,event_log_group_id,slave_id,identifier) VALUES (" +
            std::to_string(datetime) + ",7,4," + std::to_string(slave_id) + "," + std::to_string(identifier) +
            ")");
    }
    std::string ids() { return db_.rows("SELECT id, identifier FROM event_log ORDER BY id"); }

    test_database_c db_;
    std::shared_ptr<event_log_dao_t> dao_ = db_.dao<event_log_dao_t>();
};

TEST_F(event_log_dao_test, identifier_is_the_coming_row_id) {
    db_.exec("UPDATE sqlite_sequence SET seq=41 WHERE name='event_log'");
    dao_->insert_event_log(1700000000, 22, 4, 3, 2, 5, 6, 0);
    EXPECT_EQ(
        db_.rows("SELECT id, identifier, datetime, message_id, event_log_group_id, lorivant_id, camera_id, "
                 "repeater_id, user_id, slave_id FROM event_log"),
        "42|42|1700000000|22|4|3|2|5|6|0\n");
}

TEST_F(event_log_dao_test, identifiers_survive_deletes_and_restart_after_a_sequence_reset) {
    insert_local(1);
    insert_local(2);
    dao_->delete_all_event_logs();
    EXPECT_EQ(ids(), "");
    insert_local(3);
    EXPECT_EQ(ids(), "3|3\n");

    dao_->delete_all_event_logs();
    dao_->set_event_log_sequence(0);
    insert_local(4);
    EXPECT_EQ(ids(), "1|1\n");
}

TEST_F(event_log_dao_test, deletes_keep_what_they_should) {
    for (uint64_t datetime : {100, 200, 300})
        insert_local(datetime);
    dao_->keep_newest_event_logs(5);
    EXPECT_EQ(ids(), "1|1\n2|2\n3|3\n");
    dao_->delete_event_logs_before(200);
    EXPECT_EQ(ids(), "2|2\n3|3\n");
    insert_local(400);
    dao_->keep_newest_event_logs(2);
    EXPECT_EQ(ids(), "3|3\n4|4\n");
    dao_->delete_event_logs_below_identifier(4);
    EXPECT_EQ(ids(), "4|4\n");
    dao_->keep_newest_event_logs(0);
    EXPECT_EQ(ids(), "");
}

TEST_F(event_log_dao_test, missing_identifiers_of_a_controller) {
    for (uint64_t identifier : {1, 2, 5, 9})
        insert_foreign(3, identifier);
    // Another controller's identifiers fill slave 3's gaps and must not count.
    for (uint64_t identifier : {3, 4, 6})
        insert_foreign(4, identifier);

    struct case_t {
        uint64_t max_count, after, before;
        std::vector<uint64_t> missing;
    };
    for (const case_t& c : {case_t{3, 0, 9, {3, 4, 6}}, case_t{10, 0, 9, {3, 4, 6, 7, 8}},
                            case_t{10, 2, 9, {6, 7, 8}}, case_t{10, 0, 5, {3, 4}}, case_t{0, 0, 9, {}}}) {
        SCOPED_TRACE(std::to_string(c.max_count) + " after " + std::to_string(c.after) + " before " +
                     std::to_string(c.before));
        std::vector<uint64_t> missing;
        dao_->get_missing_logs_by_slave(3, c.max_count, c.after, c.before, missing);
        EXPECT_EQ(missing, c.missing);
    }

    // A `before` above the highest identifier makes 9 a gap start without a later row.
    std::vector<uint64_t> missing;
    try {
        dao_->get_missing_logs_by_slave(3, 10, 5, 10, missing);
        FAIL() << "gap without later row accepted";
    } catch (const db_exception_t& e) {
        EXPECT_STREQ(e.what(), "empty query");
        EXPECT_EQ(e.code, 2);
    }
}

TEST_F(event_log_dao_test, identifier_ranges_per_controller) {
    insert_local(1700000000);
    insert_local(1700000001);
    for (uint64_t identifier : {1, 2, 5, 9})
        insert_foreign(3, identifier);
    for (uint64_t identifier : {4, 3, 4}) // a duplicate makes the difference negative
        insert_foreign(4, identifier);

    std::vector<slave_latest_identifier_t> latest;
    dao_->get_latest_event_log_by_slave(latest);
    std::sort(latest.begin(), latest.end(), [](auto& a, auto& b) { return a.slave_id < b.slave_id; });
    std::string text;
    for (const auto& l : latest)
        text += join(l.slave_id, l.max_identifier) + "\n";
    EXPECT_EQ(text, "0|2\n3|9\n4|4\n");

    // Per other controller: missing identifiers, highest, lowest.
    std::vector<slave_identifier_gap_t> gaps;
    dao_->get_row_count_identifier_difference(gaps);
    std::sort(gaps.begin(), gaps.end(), [](auto& a, auto& b) { return a.slave_id < b.slave_id; });
    text.clear();
    for (const auto& g : gaps)
        text += join(g.slave_id, g.missing, g.max_identifier, g.min_identifier) + "\n";
    EXPECT_EQ(text, "3|5|9|1\n4|-1|4|3\n");

    EXPECT_EQ(dao_->get_max_identifier_of_slave(3), 9u);
    EXPECT_EQ(dao_->get_max_identifier_of_slave(7), 0u);
    EXPECT_EQ(dao_->get_row_count_since_identifier(4), 2u); // 5 and 9
}

TEST_F(event_log_dao_test, most_recent_datetime_of_a_device) {
    dao_->insert_event_log(1700000300, 7, 4, 2, 0, 0, 0, 0);
    dao_->insert_event_log(1700000100, 7, 4, 2, 0, 1, 0, 0);
    dao_->insert_event_log(1700000200, 7, 4, 1, 0, 1, 0, 0);
    EXPECT_EQ(dao_->get_datetime_of_most_recent_event_log_of_lorivant(2), 1700000300u);
    EXPECT_EQ(dao_->get_datetime_of_most_recent_event_log_of_repeater(1), 1700000200u);
    EXPECT_EQ(dao_->get_datetime_of_most_recent_event_log_of_lorivant(9), 0u);
}

TEST_F(event_log_dao_test, groups_as_seeded) {
    std::vector<event_log_group_t> groups{{99, "kept"}};
    dao_->get_event_log_groups(groups);
    EXPECT_EQ(texts(groups), "99|kept\n1|Access control\n2|Administration\n3|Camera\n4|System\n");
}

} // namespace
