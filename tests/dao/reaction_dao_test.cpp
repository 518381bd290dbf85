#include "tests/dao/dao_test.h"

#include <stdexcept>

EHS_DAO_TEST_SUITE(reaction_dao_test);

TEST_P(reaction_dao_test, camera_output_and_email_reactions_read) {
    using camera = camera_event_reaction_dao_t;
    using output = output_event_reaction_dao_t;
    using email = email_event_reaction_dao_t;
    // Reaction 103 has a trashed camera, connector 23 no application and 206 no connector: absent.
    // 201, 203 and 204 share output1 and read as one record, its applications once per reaction.
    db_.exec("INSERT INTO connector(id, direction, number) VALUES (23, 'output', 3); INSERT INTO "
             "output_event_reaction(id, event_id, connector_id) VALUES (205, 2, 23), (206, 2, 0)");
    const std::string entrance =
        "|1|0|Entrance "
        "camera|admin|entrance-cam-2023|192.168.10.64|80|554|8000|entrance-cam.local|8080|8554|1|1|0|";
    EXPECT_EQ(read(&camera::get_camera_event_reaction, 102) + read(&camera::get_camera_event_reaction, 103) +
                  read(&output::get_output_event_reaction, 205) +
                  read(&output::get_output_event_reaction, 206),
              "102" + entrance + "videononenonenone");
    EXPECT_EQ(read(&camera::get_camera_event_reactions),
              "0" + entrance + "snapshot\n0" + entrance + "video\n");
    const std::string outputs = read(&output::get_output_event_reactions); // first: one of 201, 203, 204
    EXPECT_EQ(
        read(&output::get_output_event_reaction, 202) + outputs.substr(outputs.find('|'), 26) +
            outputs.substr(outputs.find('\n')),
        "202|22|2|0|door_opener,light|3|2|5|21|1|0|siren,siren,siren|\n202|22|2|0|door_opener,light|3|2|5\n");
    EXPECT_EQ(join(output_action_name(0), output_action_name(1), output_action_name(2), output_action_name(3),
                   output_action_name(4), output_action_name(5)),
              "undefined|Open Latched (NO)|Closed Latched (NC)|Open Timed|Closed Timed|undefined");
    // Recipients in the order written; without any there is nobody to write to.
    db_.exec("INSERT INTO email_event_reaction(id, event_id) VALUES (310, 9)");
    const std::string r304 = "304; 2|Security desk|security@example.com|+49 30 5550199; 1|Anna "
                             "Berger|anna.berger@example.com|+49 30 5550101\n";
    EXPECT_EQ(read(&email::get_email_event_reaction, 304) + "\n" +
                  read(&email::get_email_event_reaction, 310),
              r304 + "none");
    // A record already in the list stays as it is, even with the id of a reaction read.
    std::vector<email_event_reaction_t> all{{304, {}}};
    db_.dao<email>()->get_email_event_reactions(all);
    const std::string emails = texts(all);
    EXPECT_EQ(emails.substr(0, 8) + emails.substr(emails.find("\n304;") + 1, r304.size() + 4),
              "304\n301;" + r304 + "305;");
}

TEST_P(reaction_dao_test, reactions_written_with_the_columns_of_their_kind) {
    auto cameras = db_.dao<camera_event_reaction_dao_t>();
    auto outputs = db_.dao<output_event_reaction_dao_t>();
    auto emails = db_.dao<email_event_reaction_dao_t>();
    auto doors = db_.dao<lorivant_event_reaction_dao_t>();
    auto office = std::make_shared<lorivant_event_reaction_t::office_mode_t>();
    auto panic = std::make_shared<lorivant_event_reaction_t::panic_mode_t>();
    office->duration = 600;
    office->counts = 5;
    panic->panic_mode = 1;
    const std::string
        camera = "SELECT id, event_id, camera_id, recording FROM camera_event_reaction WHERE id>103",
        output =
            "SELECT event_id, connector_id, action, delay, duration FROM output_event_reaction WHERE id>204",
        email =
            "SELECT id, event_id FROM email_event_reaction WHERE id>309 UNION ALL SELECT "
            "email_ev_reaction_id, contact_id FROM email_event_reaction_assoc WHERE email_ev_reaction_id>309",
        door = "SELECT event_id, lorivant_id, access_group_id, duration, counts, panic_mode FROM "
               "lorivant_event_reaction WHERE id>403";
    EXPECT_EQ(cameras->insert_camera_event_reaction(9, 1, "video"), 104u);
    EXPECT_EQ(db_.rows(camera), "104|9|1|video\n");
    cameras->update_camera_event_reaction(104, 2, "snapshot");
    EXPECT_EQ(db_.rows(camera), "104|9|2|snapshot\n");
    cameras->delete_camera_event_reaction(104);
    EXPECT_EQ(db_.rows(camera), "");
    EXPECT_EQ(outputs->insert_output_event_reaction(9, {0, 22, 0, 0, "", 4, 1, 30}), 205u);
    EXPECT_EQ(db_.rows(output), "9|22|4|1|30\n");
    outputs->update_output_event_reaction({205, 21, 0, 0, "", 2, 6, 7});
    EXPECT_EQ(db_.rows(output), "9|21|2|6|7\n");
    outputs->delete_output_event_reaction(205);
    EXPECT_EQ(db_.rows(output), "");
    EXPECT_EQ(emails->insert_email_event_reaction(9, {0, {{2, "", "", ""}, {1, "", "", ""}}}), 310u);
    EXPECT_EQ(db_.rows(email), "310|9\n310|2\n310|1\n");
    emails->update_email_event_reaction({310, {{1, "", "", ""}}});
    EXPECT_EQ(db_.rows(email), "310|9\n310|1\n");
    // Not every installation cascades: the contacts go explicitly, so a reused id inherits none.
    emails->delete_email_event_reaction(310);
    EXPECT_EQ(db_.rows(email), "");
    EXPECT_EQ(doors->insert_lorivant_event_reaction(9, {0, 2, 3, office}), 404u);
    EXPECT_EQ(db_.rows(door), "9|2|3|600|5|NULL\n");
    doors->update_lorivant_event_reaction({404, 4, 7, panic});
    EXPECT_EQ(db_.rows(door), "9|4|7|NULL|NULL|1\n");
    doors->update_lorivant_event_reaction({404, 5, 8, office});
    EXPECT_EQ(db_.rows(door), "9|5|8|600|5|NULL\n");
    doors->delete_lorivant_event_reaction(404);
    EXPECT_EQ(db_.rows(door), "");
    EXPECT_EQ(doors->insert_lorivant_event_reaction(9, {0, 1, 6, panic}), 404u);
    EXPECT_EQ(db_.rows(door), "9|1|6|NULL|NULL|1\n");
    EXPECT_EQ(thrown<std::invalid_argument>([&] { doors->insert_lorivant_event_reaction(9, {}); }),
              "lorivant event reaction without office or panic mode");
}

TEST_P(reaction_dao_test, door_component_reactions_and_their_modes) {
    using reaction = lorivant_event_reaction_dao_t;
    // 404: NULL duration; 405: panic mode 0 is a panic mode, not "none".
    db_.exec("INSERT INTO lorivant_event_reaction(id, event_id, lorivant_id, access_group_id, duration, "
             "counts, panic_mode) VALUES (404, 3, 2, 0, NULL, 5, NULL), (405, 11, 2, 0, NULL, NULL, 0)");
    EXPECT_EQ(read(&reaction::get_lorivant_event_reactions),
              "401|1|0|office 3600|20\n402|0|0|panic 1\n403|0|7|office 7200|-1\n404|2|0|office "
              "0|5\n405|2|0|panic 0\n");
    EXPECT_EQ(read(&reaction::get_lorivant_event_reaction, 404) +
                  read(&reaction::get_lorivant_event_reaction, 9),
              "404|2|0|office 0|5none");

    auto dao = db_.dao<reaction>();
    const std::string modes =
        "SELECT lorivant_event_reaction_id, lorivant_id, lorivant_hw_id, access_group_id, timestamp, "
        "duration, counts_remaining FROM lorivant_event_reaction_office_mode_assoc ORDER BY 1, 2";
    dao->start_office_mode(401, 1, 1001001, 0, 1000, 3600, 2);
    dao->start_office_mode(401, 1, 1001001, 0, 2000, 3000, 5);
    dao->start_office_mode(403, 0, 0, 7, 1500, 60, -1);
    dao->start_manual_office_mode(2, 1001002, 1600, 600, 10);
    // The own layout's unique index makes a second manual mode replace the first.
    if (!GetParam()) dao->start_manual_office_mode(2, 1001002, 1600, 600, 10);
    EXPECT_EQ(
        db_.rows(modes),
        "NULL|2|1001002|NULL|1600|600|10\n401|1|1001001|NULL|2000|3000|5\n403|NULL|NULL|7|1500|60|-1\n");
    EXPECT_EQ(join(dao->is_office_mode_active(401), dao->is_office_mode_active(402)), "1|0");
    dao->update_office_mode(403, 2, 1001002, 0);
    dao->update_office_mode(401, 0, 0, 8);
    dao->correct_office_mode_clock(-100);
    dao->stop_manual_office_mode(2);
    EXPECT_EQ(db_.rows(modes), "401|NULL|NULL|8|1900|3000|5\n403|2|1001002|NULL|1400|60|-1\n");
    dao->stop_office_mode(403);
    dao->stop_office_mode(401);
    EXPECT_EQ(db_.rows(modes) + join(dao->is_office_mode_active(401)), "0");

    // A passage of 1001001 by a member of group 7 counts down the modes for every component (1)
    // and for the group (3), not for another component (2) nor without limit (4). The clock leaves
    // a NULL timestamp alone; 2 ran out at 1100, and a used-up mode ends as well.
    db_.exec(
        "INSERT INTO lorivant_event_reaction_office_mode_assoc(lorivant_event_reaction_id, lorivant_hw_id, "
        "access_group_id, timestamp, duration, counts_remaining) VALUES (1, NULL, NULL, 1000, 100, 5), (2, "
        "1001002, NULL, 1000, 99, 5), (3, NULL, 7, 1000, 100, 1), (4, NULL, NULL, NULL, 100, -1)");
    const std::string counts = "SELECT group_concat(lorivant_event_reaction_id || ':' || counts_remaining || "
                               "':' || ifnull(timestamp, '-'), ' ') FROM (" +
                               modes + ")";
    dao->count_office_mode_passage(1001001, 7);
    dao->correct_office_mode_clock(1);
    EXPECT_EQ(db_.rows(counts), "1:4:1001 2:5:1001 3:0:1001 4:-1:-\n");
    dao->expire_office_modes(1101);
    EXPECT_EQ(db_.rows(counts), "1:4:1001 4:-1:-\n");

    const std::string panic = "SELECT lorivant_event_reaction_id, lorivant_id, lorivant_hw_id, "
                              "access_group_id FROM lorivant_event_reaction_panic_mode_assoc";
    dao->start_panic_mode(402, 0, 0, 6);
    EXPECT_EQ(db_.rows(panic) + join(dao->is_panic_mode_active(402), dao->is_panic_mode_active(401)),
              "402|NULL|NULL|6\n1|0");
    dao->update_panic_mode(402, 2, 1001002, 0);
    EXPECT_EQ(db_.rows(panic), "402|2|1001002|NULL\n");
    dao->stop_panic_mode(402);
    EXPECT_EQ(db_.rows(panic) + join(dao->is_panic_mode_active(402)), "0");
}
