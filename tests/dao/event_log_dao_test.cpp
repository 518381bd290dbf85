#include "tests/dao/dao_test.h"

EHS_DAO_TEST_SUITE(event_log_dao_test);

TEST_P(event_log_dao_test, identifier_is_the_coming_row_id_and_deletes_keep_what_they_should) {
    auto log = db_.dao<event_log_dao_t>();
    auto insert = [&](uint64_t datetime) { log->insert_event_log(datetime, 22, 4, 3, 2, 5, 6, 9); };
    const std::string all = "SELECT id, identifier, datetime, message_id, event_log_group_id, lorivant_id, "
                            "camera_id, repeater_id, user_id, slave_id FROM event_log ORDER BY id";
    insert(1700000000); // a fresh database starts at 1
    log->set_event_log_sequence(41);
    insert(1700000001);
    EXPECT_EQ(db_.rows(all), "1|1|1700000000|22|4|3|2|5|6|9\n42|42|1700000001|22|4|3|2|5|6|9\n");
    log->delete_all_event_logs();
    insert(1700000002);
    EXPECT_EQ(db_.rows(all), "43|43|1700000002|22|4|3|2|5|6|9\n");
    // Without the sequence row nothing is written; the same object writes again once it is back.
    db_.exec("DELETE FROM sqlite_sequence WHERE name='event_log'");
    EXPECT_EQ(db_failure([&] { insert(1700000003); }), "empty query|2");
    db_.exec("INSERT INTO sqlite_sequence(name, seq) VALUES ('event_log', 99)");
    insert(1700000004);
    EXPECT_EQ(db_.rows("SELECT group_concat(id || ':' || identifier) FROM event_log"), "43:43,100:100\n");

    // id, datetime and identifier in three different orders, so that a mix-up of columns shows.
    std::string kept;
    for (auto erase : {+[](event_log_dao_t& l) { l.delete_event_logs_before(300); },
                       +[](event_log_dao_t& l) { l.keep_newest_event_logs(2); },
                       +[](event_log_dao_t& l) { l.delete_event_logs_below_identifier(13); },
                       +[](event_log_dao_t& l) { l.delete_all_event_logs(); }}) {
        db_.exec("DELETE FROM event_log; INSERT INTO event_log(id, datetime, message_id, event_log_group_id, "
                 "identifier) VALUES (1, 300, 7, 4, 12), (2, 100, 7, 4, 14), (3, 400, 7, 4, 11), (4, 200, 7, "
                 "4, 13)");
        erase(*log);
        kept += db_.rows("SELECT group_concat(id) FROM (SELECT id FROM event_log ORDER BY id)");
    }
    EXPECT_EQ(kept, "1,3\n3,4\n2,4\nNULL\n");
}

// Controller 0 (this one) has identifiers 1, 2; controller 3 has 1, 2, 5, 9; controller 4 fills
// controller 3's gaps with 3, 4, 4, 6, 6, and its repeats make its difference negative.
TEST_P(event_log_dao_test, reads_per_controller_and_device) {
    auto log = db_.dao<event_log_dao_t>();
    db_.exec(
        "INSERT INTO event_log(datetime, message_id, event_log_group_id, lorivant_id, repeater_id, slave_id, "
        "identifier) SELECT column1, 7, 4, column2, column3, column4, column5 FROM (VALUES (1700000300, 2, "
        "0, 0, 1), (1700000100, 2, 1, 0, 2), (1700000200, 1, 1, 3, 1), (1, 0, 0, 3, 2), (1, 0, 0, 3, 5), (1, "
        "0, 0, 3, 9), (1, 0, 0, 4, 3), (1, 0, 0, 4, 4), (1, 0, 0, 4, 4), (1, 0, 0, 4, 6), (1, 0, 0, 4, 6))");
    EXPECT_EQ(join(log->get_max_identifier_of_slave(3), log->get_max_identifier_of_slave(7),
                   log->get_row_count_since_identifier(4),
                   log->get_datetime_of_most_recent_event_log_of_lorivant(2),
                   log->get_datetime_of_most_recent_event_log_of_repeater(1),
                   log->get_datetime_of_most_recent_event_log_of_lorivant(9)),
              "9|0|4|1700000300|1700000200|0");
    EXPECT_EQ(read(&event_log_dao_t::get_latest_event_log_by_slave) +
                  read(&event_log_dao_t::get_event_log_groups) +
                  read(&event_log_dao_t::get_row_count_identifier_difference),
              "0|2\n3|9\n4|6\n1|Access control\n2|Administration\n3|Camera\n4|System\n3|5|9|1\n4|-1|6|3\n");
    // At most max_count missing identifiers strictly between after and before.
    std::string missing;
    for (auto [max_count, after, before] :
         {std::array<uint64_t, 3>{3, 0, 9}, {10, 2, 9}, {10, 0, 5}, {0, 0, 9}}) {
        std::vector<uint64_t> identifiers;
        log->get_missing_logs_by_slave(3, max_count, after, before, identifiers);
        for (uint64_t identifier : identifiers)
            missing += join(identifier);
        missing += " ";
    }
    EXPECT_EQ(missing, "346 678 34  ");
    // A `before` above the highest identifier makes 9 a gap start without a later row.
    std::vector<uint64_t> identifiers;
    EXPECT_EQ(db_failure([&] { log->get_missing_logs_by_slave(3, 10, 5, 10, identifiers); }),
              "empty query|2");
}
