// The database belongs to the whole controller, and other tools create it with their own layout:
// more columns, another column order, other declared types. The DAOs must name every column they
// touch, so they read and write such a database exactly like the project's own.
#include "dao/dao_registration.h"
#include "dao/event_dao.h"
#include "dao/event_log_dao.h"
#include "dao/event_source_dao.h"
#include "dao/hotkey_dao.h"
#include "dao/language_dao.h"
#include "dao/settings_dao.h"
#include "tests/support/test_files.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

namespace {

const char* const foreign_layout = R"(
CREATE TABLE language (name VARCHAR(32) NOT NULL, flag BLOB, code VARCHAR(5) NOT NULL UNIQUE, id INTEGER PRIMARY KEY);
INSERT INTO language(id, code, name) VALUES (2, 'de', 'Deutsch'), (1, 'en', 'English');
CREATE TABLE settings (updated_at INTEGER DEFAULT 0, value VARCHAR(255), key VARCHAR(64) NOT NULL PRIMARY KEY);
INSERT INTO settings(key, value) VALUES ('supervision_mode', '1'), ('default_language', 'de');
CREATE TABLE hotkey (icon TEXT DEFAULT '', name VARCHAR(40) NOT NULL, id INTEGER PRIMARY KEY);
INSERT INTO hotkey(id, name, icon) VALUES (5, 'Gate', 'gate.svg');

CREATE TABLE event_log_group (color VARCHAR(7), name VARCHAR(64), id INTEGER PRIMARY KEY);
INSERT INTO event_log_group(id, name, color) VALUES (4, 'System', '#888888');
CREATE TABLE event_log (note TEXT DEFAULT '', identifier BIGINT NOT NULL, slave_id BIGINT NOT NULL DEFAULT 0,
    repeater_sn BIGINT, lorivant_hw_id BIGINT, user_id BIGINT, repeater_id BIGINT, camera_id BIGINT,
    lorivant_id BIGINT, event_log_group_id BIGINT, message_id BIGINT, datetime UNSIGNED BIG INT NOT NULL,
    exported BOOLEAN NOT NULL DEFAULT 0, id INTEGER PRIMARY KEY AUTOINCREMENT);
INSERT INTO event_log(id, datetime, message_id, event_log_group_id, slave_id, identifier) VALUES
    (10, 1, 1, 4, 2, 10), (11, 1, 1, 4, 2, 11), (12, 1, 1, 4, 2, 14), (100, 1699999999, 25, 4, 0, 100);

CREATE TABLE event_source (description TEXT, lang_code INTEGER NOT NULL, type VARCHAR(16), name VARCHAR(64),
    id INTEGER PRIMARY KEY);
INSERT INTO event_source(id, name, type, lang_code) VALUES
    (1015, 'Internet weg', 'general', 2), (15, 'internet lost', 'general', 1),
    (2, 'access denied', 'lorivant', 1), (7, 'repeater tamper', 'repeater', 1),
    (12, 'input changed', 'externalInput', 1), (13, 'alarm', 'alarmsystem', 1),
    (1002, 'Zutritt verweigert', 'lorivant', 2), (1007, 'Sabotage am Repeater', 'repeater', 2),
    (1012, 'Eingang geändert', 'externalInput', 2), (1013, 'Alarm', 'alarmsystem', 2);
CREATE TABLE event (enabled BOOLEAN DEFAULT 1, lorivant_event_reaction_id INT, email_event_reaction_id INT,
    output_event_reaction_id INT, camera_event_reaction_id INT, hotkey_id INT, associated_event_source_id INT,
    name VARCHAR(64), id INTEGER PRIMARY KEY);
INSERT INTO event(id, name, associated_event_source_id, hotkey_id, camera_event_reaction_id,
                  output_event_reaction_id, email_event_reaction_id, lorivant_event_reaction_id) VALUES
    (1, 'Door denied', 51, NULL, 101, 201, 301, 401), (2, 'Repeater tamper', 52, 5, NULL, NULL, NULL, NULL),
    (3, 'Door contact', 53, NULL, NULL, 202, NULL, NULL), (4, 'Alarm', 54, NULL, NULL, NULL, 302, NULL),
    (5, 'Internet', 55, NULL, NULL, NULL, NULL, NULL);
CREATE TABLE event_settings (siren INT DEFAULT 0, repeater_tamper INT, back_tamper INT, lid_tamper INT,
    id INTEGER PRIMARY KEY);
INSERT INTO event_settings(id, lid_tamper, back_tamper, repeater_tamper) VALUES (1, 1, 0, 2);

CREATE TABLE associated_event_source (created_at INT DEFAULT 0, event_source_id INT NOT NULL,
    event_id INT NOT NULL, id INTEGER PRIMARY KEY);
INSERT INTO associated_event_source(id, event_id, event_source_id) VALUES
    (51, 1, 2), (52, 2, 7), (53, 3, 12), (54, 4, 13), (55, 5, 15);
CREATE TABLE lorivant_event_source (user_group_id INT, with_holidays BOOLEAN, schedule_table_id INT,
    access_group_id INT, lorivant_id INT, comment TEXT, associated_event_source_id INT PRIMARY KEY);
INSERT INTO lorivant_event_source(associated_event_source_id, lorivant_id, access_group_id, schedule_table_id,
                                  with_holidays, user_group_id) VALUES (51, 3, 4, 5, 1, 6);
CREATE TABLE repeater_event_source (comment TEXT, repeater_id INT, associated_event_source_id INT UNIQUE);
INSERT INTO repeater_event_source(associated_event_source_id, repeater_id) VALUES (52, 8);
CREATE TABLE input_event_source (activate_signal INT, comment TEXT, connector_id INT,
    associated_event_source_id INT UNIQUE);
INSERT INTO input_event_source(associated_event_source_id, connector_id, activate_signal) VALUES (53, 31, 0);
CREATE TABLE alarmsystem_event_source (alarmsystem INT, associated_event_source_id INT UNIQUE, comment TEXT);
INSERT INTO alarmsystem_event_source(associated_event_source_id, alarmsystem) VALUES (54, 2);
CREATE TABLE alarmsystem (zones INT DEFAULT 0, disarm_by_guard BOOLEAN, last_arm_time BIGINT,
    last_disarm_time BIGINT, status INT, name VARCHAR(64), id INTEGER PRIMARY KEY);
INSERT INTO alarmsystem(id, name, status, last_disarm_time, last_arm_time, disarm_by_guard) VALUES
    (2, 'Warehouse', 1, 1700000100, 1700000200, 1);
CREATE TABLE connector (label TEXT, current_state INT, number INT, direction VARCHAR(8), id INTEGER PRIMARY KEY);
INSERT INTO connector(id, direction, number, current_state, label) VALUES (31, 'input', 3, 1, 'Door contact');
CREATE TABLE connector_application (description TEXT, application VARCHAR(32) PRIMARY KEY);
INSERT INTO connector_application(application) VALUES ('door_contact');
CREATE TABLE connector_application_assoc (sort INT DEFAULT 0, connector_application VARCHAR(32), connector_id INT);
INSERT INTO connector_application_assoc(connector_id, connector_application) VALUES (31, 'door_contact');
)";

// Fields as "a|b|c", numbers in decimal, so that a whole record compares in one line.
std::string field(const std::string& text) {
    return text;
}
template <typename N>
std::string field(N number) {
    return std::to_string(number);
}
template <typename... T>
std::string join(const T&... values) {
    std::string out;
    int i = 0;
    ((out += (i++ ? "|" : "") + field(values)), ...);
    return out;
}

class foreign_schema_events_test : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(sqlite3_open(dir_.file("acs.db").c_str(), &raw_), SQLITE_OK);
        ASSERT_EQ(sqlite3_exec(raw_, foreign_layout, nullptr, nullptr, nullptr), SQLITE_OK)
            << sqlite3_errmsg(raw_);
        const uint32_t index = registry_.add_database("acs_db", dir_.file("acs.db"), {"foreign_keys=ON"},
                                                      nullptr, nullptr, nullptr, false);
        register_all_dao_types(registry_, index);
    }
    void TearDown() override { sqlite3_close(raw_); }

    // Every row as "a|b\n"; NULL as "NULL".
    std::string rows(const std::string& sql) {
        std::string out;
        auto callback = [](void* text, int count, char** values, char**) {
            auto& result = *static_cast<std::string*>(text);
            for (int i = 0; i < count; ++i)
                result += std::string(i ? "|" : "") + (values[i] ? values[i] : "NULL");
            result += "\n";
            return 0;
        };
        EXPECT_EQ(sqlite3_exec(raw_, sql.c_str(), callback, &out, nullptr), SQLITE_OK) << sql;
        return out;
    }

    temp_dir_c dir_;
    sqlite3* raw_ = nullptr;
    dao_registry_c registry_;
};

TEST_F(foreign_schema_events_test, event_log) {
    auto dao = registry_.get_dao<event_log_dao_t>();
    dao->insert_event_log(1700000000, 22, 4, 3, 2, 5, 6, 0);
    EXPECT_EQ(rows("SELECT id, identifier, datetime, message_id, event_log_group_id, lorivant_id, camera_id, "
                   "repeater_id, user_id, slave_id, exported, note FROM event_log WHERE id > 100"),
              "101|101|1700000000|22|4|3|2|5|6|0|0|\n");

    std::vector<uint64_t> missing;
    dao->get_missing_logs_by_slave(2, 10, 0, 14, missing);
    EXPECT_EQ(missing, (std::vector<uint64_t>{12, 13}));
    EXPECT_EQ(dao->get_max_identifier_of_slave(2), 14u);
    EXPECT_EQ(dao->get_datetime_of_most_recent_event_log_of_lorivant(3), 1700000000u);
    std::vector<event_log_group_t> groups;
    dao->get_event_log_groups(groups);
    ASSERT_EQ(groups.size(), 1u);
    EXPECT_EQ(groups[0].name, "System");

    dao->keep_newest_event_logs(1);
    EXPECT_EQ(rows("SELECT id FROM event_log"), "101\n");
}

TEST_F(foreign_schema_events_test, event_sources_with_their_details) {
    auto dao = registry_.get_dao<event_source_dao_t>();
    std::vector<event_source_t> sources;
    dao->get_event_sources("de", sources);
    std::string text;
    for (const auto& s : sources)
        text += join(s.id(), s.name(), s.type()) + "\n";
    EXPECT_EQ(text, "2|Zutritt verweigert|lorivant\n7|Sabotage am Repeater|repeater\n12|Eingang geändert|"
                    "externalInput\n13|Alarm|alarmsystem\n15|Internet weg|general\n");
    event_source_t source;
    ASSERT_TRUE(dao->get_event_source_by_id(1013, "en", source));
    EXPECT_EQ(join(source.id(), source.name(), source.type()), "1013|alarm|alarmsystem");

    associated_event_source_t a;
    dao->get_associated_event(51, a, "de");
    ASSERT_TRUE(a.lorivant);
    const auto& l = *a.lorivant;
    EXPECT_EQ(join(a.event_id, a.event_source_id, a.name, a.type, l.lorivant_id, l.access_group_id,
                   l.schedule_table_id, l.with_holidays, l.user_group_id),
              "1|2|Zutritt verweigert|lorivant|3|4|5|1|6");

    dao->get_associated_event(52, a, "en");
    ASSERT_TRUE(a.repeater);
    EXPECT_EQ(a.repeater->repeater_id, 8u);

    dao->get_associated_event(53, a, "en");
    ASSERT_TRUE(a.input);
    const auto& i = *a.input;
    EXPECT_EQ(join(i.connector_id, i.activate_signal, i.number, i.current_state, i.applications),
              "31|0|3|1|door_contact");

    dao->get_associated_event(54, a, "en");
    ASSERT_TRUE(a.alarmsystem);
    const auto& s = *a.alarmsystem;
    EXPECT_EQ(join(s.alarmsystem, s.name, s.status, s.last_disarm_time, s.last_arm_time, s.disarm_by_guard),
              "2|Warehouse|1|1700000100|1700000200|1");

    dao->get_associated_event(55, a, "de");
    EXPECT_EQ(a.name + "|" + a.type, "Internet weg|general");
    EXPECT_FALSE(a.lorivant || a.repeater || a.input || a.alarmsystem);
}

TEST_F(foreign_schema_events_test, detail_rows_written) {
    auto dao = registry_.get_dao<event_source_dao_t>();
    dao->insert_associated_event_source(5, 13);
    EXPECT_EQ(
        rows("SELECT id, event_id, event_source_id, created_at FROM associated_event_source WHERE id=56"),
        "56|5|13|0\n");
    dao->insert_associated_event_source(5, 2);
    dao->insert_alarmsystem_event_source(56, 0);
    dao->insert_lorivant_event_source(57, {7, 8, 9, true, 10});
    dao->update_repeater_event_source(52, 11);
    dao->update_input_event_source(53, 32, 1);
    EXPECT_EQ(
        rows("SELECT alarmsystem, comment FROM alarmsystem_event_source WHERE associated_event_source_id=56"),
        "NULL|NULL\n");
    EXPECT_EQ(rows("SELECT lorivant_id, access_group_id, schedule_table_id, with_holidays, user_group_id "
                   "FROM lorivant_event_source WHERE associated_event_source_id=57"),
              "7|8|9|1|10\n");
    EXPECT_EQ(rows("SELECT repeater_id FROM repeater_event_source"), "11\n");
    EXPECT_EQ(rows("SELECT connector_id, activate_signal FROM input_event_source"), "32|1\n");
}

TEST_F(foreign_schema_events_test, events_and_settings) {
    auto dao = registry_.get_dao<event_dao_t>();
    std::vector<event_t> events;
    dao->get_events_of_event_source(2, events);
    ASSERT_EQ(events.size(), 1u);
    const event_t& e = events[0];
    EXPECT_EQ(join(e.id, e.name, e.associated_event_source_id, e.hotkey_id, e.camera_event_reaction_id,
                   e.output_event_reaction_id, e.email_event_reaction_id, e.lorivant_event_reaction_id),
              "1|Door denied|51|0|101|201|301|401");

    event_t event;
    ASSERT_TRUE(dao->get_event(2, event));
    EXPECT_EQ(event.hotkey_id, 5u);
    dao->update_event({3, "Door contact open", 53, 5, 0, 203, 303, 0});
    EXPECT_EQ(rows("SELECT name, associated_event_source_id, hotkey_id, camera_event_reaction_id, "
                   "output_event_reaction_id, email_event_reaction_id, lorivant_event_reaction_id, enabled "
                   "FROM event WHERE id=3"),
              "Door contact open|53|5|0|203|303|0|1\n");

    event_settings_t settings;
    ASSERT_TRUE(dao->get_event_settings(settings));
    EXPECT_EQ(join(settings.lid_tamper, settings.back_tamper, settings.repeater_tamper), "1|0|2");
    dao->set_event_settings({0, 1, 1});
    EXPECT_EQ(rows("SELECT lid_tamper, back_tamper, repeater_tamper, siren FROM event_settings"),
              "0|1|1|0\n");

    std::vector<input_event_source_t> inputs;
    dao->get_input_event_sources(inputs);
    ASSERT_EQ(inputs.size(), 1u);
    const auto& input = inputs[0];
    EXPECT_EQ(join(input.id, input.direction, input.number, input.current_state, input.applications,
                   input.activate_signal),
              "31|input|3|1|door_contact|0");
}

TEST_F(foreign_schema_events_test, settings_languages_hotkeys) {
    auto settings = registry_.get_dao<settings_dao_t>();
    EXPECT_EQ(settings->get_default_language(), "de");
    EXPECT_TRUE(settings->get_supervision_mode());

    language_t language;
    ASSERT_TRUE(registry_.get_dao<language_dao_c>()->get_language_by_code("en", language));
    EXPECT_EQ(join(language.id, language.code, language.name), "1|en|English");

    hotkey_t hotkey;
    ASSERT_TRUE(registry_.get_dao<hotkey_dao_t>()->get_hotkey(5, hotkey));
    EXPECT_EQ(hotkey.name, "Gate");
}

} // namespace
