#include "tests/dao/dao_test.h"

EHS_DAO_TEST_SUITE(device_dao_test);

TEST_P(device_dao_test, door_components_and_repeaters_with_their_supervision) {
    using lorivant = lorivant_dao_c;
    using repeater = repeater_dao_c;
    EXPECT_EQ(read(&lorivant::get_lorivant_by_hardware_id, 1001002) +
                  read(&lorivant::get_lorivant_by_hardware_id, 2) + read(&lorivant::get_lorivant, 1001001),
              "2|1001002|Storage room|1|600|1700000000|0|0|0|0|0|0|0nonenone");
    auto lorivants = db_.dao<lorivant>();
    lorivants->set_supervision_missing(2, true);
    lorivants->set_office_mode(1, true, 403, 1700000500, 7200, -1);
    lorivants->set_panic_mode(2, true);
    EXPECT_EQ(read(&lorivant::get_lorivants),
              "1|1001001|Front door|0|600|1700000000|0|1|403|1700000500|7200|-1|0\n2|1001002|Storage "
              "room|1|600|1700000000|1|0|0|0|0|0|1\n");
    // A manual mode has no reaction: stored as NULL, not 0.
    lorivants->set_office_mode(1, false, 0, 1700000600, 600, 10);
    lorivants->set_supervision_missing(1, true);
    lorivants->set_panic_mode(1, true);
    EXPECT_EQ(db_.rows("SELECT office_mode_event_reaction_id FROM lorivant WHERE id=1") +
                  read(&lorivant::get_lorivant, 1),
              "NULL\n1|1001001|Front door|0|600|1700000000|1|0|0|1700000600|600|10|1");

    db_.exec("INSERT INTO repeater(id, serial_number, name, supervision_period, supervision_time) VALUES (2, "
             "2002002, 'Repeater attic', 900, 1700000100)");
    db_.dao<repeater>()->set_supervision_missing(2, true);
    EXPECT_EQ(read(&repeater::get_repeater_by_serial_number, 2002002) + read(&repeater::get_repeater, 1),
              "2|2002002|Repeater attic|900|1700000100|11|2002001|Repeater basement|600|1700000000|0");
    EXPECT_EQ(read(&repeater::get_repeater_by_serial_number, 1) + read(&repeater::get_repeater, 2002001),
              "nonenone");
    EXPECT_EQ(read(&repeater::get_repeaters),
              "1|2002001|Repeater basement|600|1700000000|0\n2|2002002|Repeater attic|900|1700000100|1\n");
}

TEST_P(device_dao_test, connectors_alarm_systems_languages_hotkeys_and_settings) {
    db_.exec("INSERT INTO connector(id, direction, number) VALUES (23, 'output', 3);" // no application
             "INSERT INTO alarmsystem(id, name, status, disarm_by_guard) VALUES (2, 'Warehouse', 1, 1)");
    EXPECT_EQ(read(&connector_dao_c::get_connector, 22) + read(&connector_dao_c::get_connector, 23),
              "22|output|2|0|door_opener,lightnone");
    EXPECT_EQ(read(&connector_dao_c::get_connectors),
              "11|input|1|0|key_switch\n12|input|2|1|alarm_contact\n21|output|1|0|siren\n22|output|2|0|door_"
              "opener,light\n");
    EXPECT_EQ(read(&alarmsystem_dao_c::get_alarmsystem, 2) + read(&alarmsystem_dao_c::get_alarmsystem, 3),
              "2|Warehouse|1|0|0|1none");
    EXPECT_EQ(read(&alarmsystem_dao_c::get_alarmsystems),
              "1|Intrusion alarm ground floor|0|1700003600|1699970400|0\n2|Warehouse|1|0|0|1\n");
    EXPECT_EQ(read(&language_dao_c::get_language_by_code, "de") +
                  read(&language_dao_c::get_language_by_code, "fr") + read(&hotkey_dao_t::get_hotkey, 2) +
                  read(&hotkey_dao_t::get_hotkey, 3),
              "2|de|Deutschnone2|Staff office modenone");
    EXPECT_EQ(read(&language_dao_c::get_languages) + read(&hotkey_dao_t::get_hotkeys),
              "1|en|English\n2|de|Deutsch\n1|Open gate\n2|Staff office mode\n");

    // The default language must name a language; supervision is on only for '1'.
    auto settings = db_.dao<settings_dao_t>();
    EXPECT_EQ(settings->get_default_language() + join(settings->get_supervision_mode()), "en1");
    db_.exec("UPDATE settings SET value=iif(key='supervision_mode', 'on', 'de')");
    EXPECT_EQ(settings->get_default_language() + join(settings->get_supervision_mode()), "de0");
    db_.exec("UPDATE settings SET value='fr'; DELETE FROM settings WHERE key='supervision_mode'");
    EXPECT_EQ(db_failure([&] { settings->get_default_language(); }) + join(settings->get_supervision_mode()),
              "empty query|20");
}
