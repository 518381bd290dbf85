#include "tests/dao/record_text.h"
#include "tests/support/test_database.h"

#include <gtest/gtest.h>

TEST(device_dao_test, door_components_are_found_by_hardware_id_and_id) {
    test_database_c db(test_database_c::WITH_DEMO);
    auto dao = db.dao<lorivant_dao_c>();

    lorivant_t lorivant;
    ASSERT_TRUE(dao->get_lorivant_by_hardware_id(1001002, lorivant));
    EXPECT_EQ(text(lorivant), "2|1001002|Storage room|1|600|1700000000|0|0|0|0|0|0|0");
    ASSERT_TRUE(dao->get_lorivant(1, lorivant));
    EXPECT_EQ(text(lorivant), "1|1001001|Front door|0|600|1700000000|0|0|0|0|0|0|0");
    EXPECT_FALSE(dao->get_lorivant_by_hardware_id(2, lorivant)); // an id is not a hardware id
    EXPECT_FALSE(dao->get_lorivant(1001001, lorivant));
    EXPECT_EQ(lorivant.id, 1u);

    std::vector<lorivant_t> all;
    dao->get_lorivants(all);
    EXPECT_EQ(texts(all), "1|1001001|Front door|0|600|1700000000|0|0|0|0|0|0|0\n"
                          "2|1001002|Storage room|1|600|1700000000|0|0|0|0|0|0|0\n");
}

TEST(device_dao_test, door_component_supervision_office_and_panic_columns_are_written) {
    test_database_c db(test_database_c::WITH_DEMO);
    auto dao = db.dao<lorivant_dao_c>();
    const std::string columns =
        "SELECT id, supervision_missing, office_mode, office_mode_event_reaction_id, "
        "office_mode_event_timestamp, office_mode_event_duration, "
        "office_mode_event_counts_remaining, panic_mode_active FROM lorivant ORDER BY id";

    dao->set_supervision_missing(2, true);
    dao->set_office_mode(1, true, 403, 1700000500, 7200, -1);
    dao->set_panic_mode(2, true);
    EXPECT_EQ(db.rows(columns), "1|0|1|403|1700000500|7200|-1|0\n2|1|0|NULL|0|0|0|1\n");
    lorivant_t lorivant;
    ASSERT_TRUE(dao->get_lorivant(1, lorivant));
    EXPECT_EQ(text(lorivant), "1|1001001|Front door|0|600|1700000000|0|1|403|1700000500|7200|-1|0");

    // A manual mode has no reaction: stored as NULL, not 0.
    dao->set_office_mode(1, true, 0, 1700000600, 600, 10);
    dao->set_supervision_missing(2, false);
    dao->set_panic_mode(2, false);
    EXPECT_EQ(db.rows(columns), "1|0|1|NULL|1700000600|600|10|0\n2|0|0|NULL|0|0|0|0\n");
}

TEST(device_dao_test, repeaters_are_found_by_serial_number_and_marked_missing) {
    test_database_c db(test_database_c::WITH_DEMO);
    auto dao = db.dao<repeater_dao_c>();

    repeater_t repeater;
    ASSERT_TRUE(dao->get_repeater_by_serial_number(2002001, repeater));
    EXPECT_EQ(text(repeater), "1|2002001|Repeater basement|600|1700000000|0");
    EXPECT_FALSE(dao->get_repeater_by_serial_number(1, repeater));
    EXPECT_FALSE(dao->get_repeater(2002001, repeater));
    EXPECT_EQ(repeater.id, 1u);

    dao->set_supervision_missing(1, true);
    EXPECT_EQ(db.rows("SELECT id, supervision_missing FROM repeater"), "1|1\n");
    std::vector<repeater_t> all;
    dao->get_repeaters(all);
    EXPECT_EQ(texts(all), "1|2002001|Repeater basement|600|1700000000|1\n");
}

TEST(device_dao_test, connectors_are_read_with_their_applications) {
    test_database_c db(test_database_c::WITH_DEMO);
    db.exec("INSERT INTO connector(id, direction, number) VALUES (23, 'output', 3)"); // no application
    auto dao = db.dao<connector_dao_c>();

    connector_t connector;
    ASSERT_TRUE(dao->get_connector(22, connector));
    EXPECT_EQ(text(connector), "22|output|2|0|door_opener,light");
    EXPECT_FALSE(dao->get_connector(23, connector));
    EXPECT_EQ(connector.id, 22u);

    std::vector<connector_t> all;
    dao->get_connectors(all);
    EXPECT_EQ(texts(all), "11|input|1|0|key_switch\n12|input|2|1|alarm_contact\n21|output|1|0|siren\n"
                          "22|output|2|0|door_opener,light\n");
}

TEST(device_dao_test, alarm_systems_are_read) {
    test_database_c db(test_database_c::WITH_DEMO);
    db.exec("INSERT INTO alarmsystem(id, name, status, disarm_by_guard) VALUES (2, 'Warehouse', 1, 1)");
    auto dao = db.dao<alarmsystem_dao_c>();

    alarmsystem_t alarmsystem;
    ASSERT_TRUE(dao->get_alarmsystem(1, alarmsystem));
    EXPECT_EQ(text(alarmsystem), "1|Intrusion alarm ground floor|0|1700003600|1699970400|0");
    EXPECT_FALSE(dao->get_alarmsystem(3, alarmsystem));

    std::vector<alarmsystem_t> all;
    dao->get_alarmsystems(all);
    EXPECT_EQ(texts(all), "1|Intrusion alarm ground floor|0|1700003600|1699970400|0\n2|Warehouse|1|0|0|1\n");
}
