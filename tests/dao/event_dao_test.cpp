#include "tests/dao/dao_test.h"

EHS_DAO_TEST_SUITE(event_dao_test);
using source_dao = event_source_dao_t;

TEST_P(event_dao_test, events_and_their_tamper_settings) {
    auto events_of = [&](uint64_t id) { return read(&event_dao_t::get_events_of_event_source, id); };
    EXPECT_EQ(events_of(2) + events_of(4), "1|Front door access denied|51|0|101|0|301|0\n");
    // An event that stored the German row id is found by the language-independent id, once.
    db_.exec("UPDATE associated_event_source SET event_source_id=1012 WHERE id=61");
    EXPECT_EQ(events_of(12),
              "3|Key switch office mode|53|0|0|0|0|401\n11|Fire alarm panic mode|61|0|0|0|0|402\n");

    auto dao = db_.dao<event_dao_t>();
    dao->update_event({5, "Unknown tag at the gate", 54, 2, 101, 202, 303, 403});
    EXPECT_EQ(read(&event_dao_t::get_event, 5) + read(&event_dao_t::get_event, 99),
              "5|Unknown tag at the gate|54|2|101|202|303|403none");
    const std::string events = read(&event_dao_t::get_events);
    EXPECT_EQ(events.substr(0, events.find("\n3|") + 1),
              "1|Front door access denied|51|0|101|0|301|0\n2|Intrusion alarm|52|0|102|201|0|0\n");
    dao->set_event_settings({3, 5, 7});
    EXPECT_EQ(db_.rows("SELECT id, lid_tamper, back_tamper, repeater_tamper FROM event_settings") +
                  read(&event_dao_t::get_event_settings),
              "1|3|5|7\n3|5|7");
    db_.exec("DELETE FROM event_settings");
    EXPECT_EQ(read(&event_dao_t::get_event_settings), "none");
    EXPECT_EQ(read(&event_dao_t::get_input_event_sources),
              "11|input|1|0|key_switch|1\n12|input|2|1|alarm_contact|0\n");
}

TEST_P(event_dao_test, event_sources_per_language_with_reduced_ids) {
    const std::string german = read(&source_dao::get_event_sources, "de");
    EXPECT_EQ(german.substr(german.find("\n20|")), "\n20|Alarm behoben|alarmsystem\n");
    EXPECT_EQ(read(&source_dao::get_event_sources_by_type, "de", "alarmsystem"),
              "3|scharf geschaltet|alarmsystem\n4|unscharf "
              "geschaltet|alarmsystem\n13|Alarm|alarmsystem\n20|Alarm behoben|alarmsystem\n");
    EXPECT_EQ(read(&source_dao::get_event_source_by_name, "de", "Alarm") +
                  read(&source_dao::get_event_source_by_name_and_type, "en", "hotkey pressed", "general"),
              "13|Alarm|alarmsystem16|hotkey pressed|general");
    // The raw id of a translated row and the reduced id find the same source; the id given is echoed.
    EXPECT_EQ(read(&source_dao::get_event_source_by_id, 1012, "en") +
                  read(&source_dao::get_event_source_by_id, 12, "de") +
                  read(&source_dao::get_event_source_by_id, 21, "en"),
              "1012|input changed|externalInput12|Eingang geändert|externalInputnone");

    // 60 stands for every alarm system: no detail row. Connector 23 has no application, so its
    // input reads without details too.
    db_.exec("INSERT INTO connector(id, direction, number) VALUES (23, 'input', 3); UPDATE "
             "input_event_source SET connector_id=23 WHERE associated_event_source_id=53");
    auto dao = db_.dao<source_dao>();
    auto associated = [&](uint64_t id, const std::string& lang) {
        associated_event_source_t out;
        dao->get_associated_event(id, out, lang);
        return text(out) + "\n";
    };
    EXPECT_EQ(associated(51, "en") + associated(58, "en") + associated(53, "en") + associated(52, "en") +
                  associated(60, "en") + associated(57, "en") + associated(61, "de"),
              "1|2|access denied|lorivant|1|0|0|0|0|-|-|-\n8|7|repeater tamper|repeater|-|1|-|-\n3|12|input "
              "changed|externalInput|-|-|-|-\n2|13|alarm|alarmsystem|-|-|-|1|Intrusion alarm ground "
              "floor|0|1700003600|1699970400|0\n10|3|armed|alarmsystem|-|-|-|-\n7|15|internet "
              "lost|general|-|-|-|-\n11|12|Eingang geändert|externalInput|-|-|12|0|2|1|alarm_contact|-\n");
    EXPECT_EQ(db_failure([&] { associated(99, "en"); }) + db_failure([&] { associated(58, "fr"); }),
              "empty query|2empty query|2");
    // A type that is none of the five fails the whole call and appends nothing.
    db_.exec("UPDATE event_source SET type='door' WHERE id=1005");
    std::vector<event_source_t> sources;
    EXPECT_EQ(thrown<std::logic_error>([&] { dao->get_event_sources("de", sources); }) +
                  join(sources.size()) + thrown<std::logic_error>([&] { associated(55, "de"); }),
              "invalid value for sourceType0invalid value for sourceType");
}

TEST_P(event_dao_test, configuration_of_associated_event_sources_read_back) {
    auto dao = db_.dao<source_dao>();
    const std::string lorivant =
        "SELECT lorivant_id, access_group_id, schedule_table_id, with_holidays, user_group_id FROM "
        "lorivant_event_source WHERE associated_event_source_id=67";
    const std::string details =
        "SELECT 'repeater', repeater_id FROM repeater_event_source WHERE associated_event_source_id=67 UNION "
        "ALL SELECT connector_id, activate_signal FROM input_event_source WHERE "
        "associated_event_source_id=67 UNION ALL SELECT 'alarm', alarmsystem FROM alarmsystem_event_source "
        "WHERE associated_event_source_id=67";
    dao->insert_associated_event_source(5, 13);
    dao->update_associated_event_source(67, 2);
    dao->insert_lorivant_event_source(67, {2, 3, 4, true, 5});
    EXPECT_EQ(db_.rows("SELECT id, event_id, event_source_id FROM associated_event_source WHERE id>66; " +
                       lorivant),
              "67|5|2\n2|3|4|1|5\n");
    dao->update_lorivant_event_source(67, {6, 7, 8, false, 9});
    EXPECT_EQ(db_.rows(lorivant), "6|7|8|0|9\n");
    dao->clear_schedule_of_lorivant_event_sources(8);
    EXPECT_EQ(db_.rows(lorivant), "6|7|0|0|9\n");
    dao->delete_lorivant_event_source(67);
    dao->insert_repeater_event_source(67, 3);
    EXPECT_EQ(db_.rows(lorivant + "; " + details), "repeater|3\n");
    dao->update_repeater_event_source(67, 4);
    dao->insert_input_event_source(67, 11, 0);
    EXPECT_EQ(db_.rows(details), "repeater|4\n11|0\n");
    dao->delete_repeater_event_source(67);
    dao->update_input_event_source(67, 12, 1);
    dao->insert_alarmsystem_event_source(67, 1);
    EXPECT_EQ(db_.rows(details), "12|1\nalarm|1\n");
    dao->delete_input_event_source(67);
    dao->update_alarmsystem_event_source(67, 0);
    EXPECT_EQ(db_.rows(details), "alarm|NULL\n");
    dao->update_alarmsystem_event_source(67, 1);
    EXPECT_EQ(db_.rows(details), "alarm|1\n");
    dao->delete_alarmsystem_event_source(67);
    EXPECT_EQ(db_.rows(details), "");
    // After a call that bound an alarm system, 0 must still store NULL.
    dao->insert_alarmsystem_event_source(67, 0);
    EXPECT_EQ(db_.rows(details), "alarm|NULL\n");
}
