#include "dao/alarmsystem_dao.h"
#include "dao/camera_event_reaction_dao.h"
#include "dao/connector_dao.h"
#include "dao/email_event_reaction_dao.h"
#include "dao/lorivant_dao.h"
#include "dao/lorivant_event_reaction_dao.h"
#include "dao/output_event_reaction_dao.h"
#include "dao/repeater_dao.h"
#include "tests/support/test_database.h"

#include <gtest/gtest.h>

// The database may have been created by another tool of the controller: the same tables with
// their columns in another order, other declared types and columns this service never names.
// The DAOs name every column they use, so they must read and write such a database alike.
namespace {

const char* foreign_layout = R"(
DROP TABLE camera_event_reaction; DROP TABLE camera; DROP TABLE email_event_reaction_assoc;
DROP TABLE email_event_reaction; DROP TABLE contact; DROP TABLE output_event_reaction;
DROP TABLE connector_application_assoc; DROP TABLE connector_application; DROP TABLE connector;
DROP TABLE lorivant_event_reaction_office_mode_assoc; DROP TABLE lorivant_event_reaction_panic_mode_assoc;
DROP TABLE lorivant_event_reaction; DROP TABLE lorivant; DROP TABLE repeater; DROP TABLE alarmsystem;

CREATE TABLE camera (vendor TEXT DEFAULT 'acme', is_trashed BOOLEAN DEFAULT 0, lorivant_id BIGINT,
    connection_status SMALLINT, external_rtsp_port INT, external_http_port INT, hostname VARCHAR(255),
    internal_recording_port INT, internal_rtsp_port INT, internal_http_port INT, internal_ip_addr VARCHAR(64),
    password VARCHAR(64), user_name VARCHAR(64), name VARCHAR(64), is_disabled BOOLEAN, id INTEGER PRIMARY KEY);
CREATE TABLE camera_event_reaction (recording VARCHAR(16), created_at BIGINT DEFAULT 0, camera_id BIGINT,
    event_id BIGINT, id INTEGER PRIMARY KEY);
CREATE TABLE contact (language TEXT DEFAULT 'de', phone VARCHAR(32), email VARCHAR(128), name VARCHAR(64),
    id INTEGER PRIMARY KEY);
CREATE TABLE email_event_reaction (subject TEXT DEFAULT '', event_id BIGINT, id INTEGER PRIMARY KEY);
CREATE TABLE email_event_reaction_assoc (contact_id BIGINT, email_ev_reaction_id BIGINT, cc BOOLEAN DEFAULT 0);
CREATE TABLE connector (label TEXT, current_state SMALLINT DEFAULT 0, number SMALLINT, direction VARCHAR(8),
    id INTEGER PRIMARY KEY);
CREATE TABLE connector_application (description TEXT, application VARCHAR(32) PRIMARY KEY);
CREATE TABLE connector_application_assoc (since BIGINT DEFAULT 0, connector_application VARCHAR(32),
    connector_id BIGINT);
CREATE TABLE output_event_reaction (enabled BOOLEAN DEFAULT 1, duration INT, delay INT, action SMALLINT,
    connector_id BIGINT, event_id BIGINT, id INTEGER PRIMARY KEY);
CREATE TABLE lorivant_event_reaction (comment TEXT DEFAULT '', panic_mode SMALLINT, counts INT, duration INT,
    access_group_id BIGINT, lorivant_id BIGINT, event_id BIGINT, id INTEGER PRIMARY KEY);
CREATE TABLE lorivant_event_reaction_office_mode_assoc (origin TEXT DEFAULT 'event', counts_remaining INT,
    duration INT, timestamp BIGINT, access_group_id BIGINT, lorivant_hw_id BIGINT, lorivant_id BIGINT,
    lorivant_event_reaction_id INT PRIMARY KEY);
CREATE TABLE lorivant_event_reaction_panic_mode_assoc (since BIGINT DEFAULT 0, access_group_id BIGINT,
    lorivant_hw_id BIGINT, lorivant_id BIGINT, lorivant_event_reaction_id INTEGER PRIMARY KEY);
CREATE TABLE lorivant (firmware VARCHAR(16) DEFAULT '1.0', panic_mode_active BOOLEAN DEFAULT 0,
    office_mode_event_counts_remaining INT, office_mode_event_duration INT, office_mode_event_timestamp BIGINT,
    office_mode_event_reaction_id BIGINT, office_mode BOOLEAN DEFAULT 0, supervision_missing BOOLEAN DEFAULT 0,
    supervision_time BIGINT, supervision_period INT, repeater_id BIGINT, name VARCHAR(64), battery SMALLINT,
    hardware_id BIGINT UNIQUE, id INTEGER PRIMARY KEY);
CREATE TABLE repeater (supervision_missing BOOLEAN DEFAULT 0, supervision_time BIGINT, supervision_period INT,
    name VARCHAR(64), serial_number BIGINT UNIQUE, rssi SMALLINT, id INTEGER PRIMARY KEY);
CREATE TABLE alarmsystem (disarm_by_guard BOOLEAN, last_arm_time BIGINT, last_disarm_time BIGINT, zone TEXT,
    status SMALLINT, name VARCHAR(64), id INTEGER PRIMARY KEY);

INSERT INTO camera (id, name, user_name, password, internal_ip_addr, internal_http_port, internal_rtsp_port,
    internal_recording_port, hostname, external_http_port, external_rtsp_port, connection_status, lorivant_id,
    is_disabled, is_trashed) VALUES (5, 'Yard', 'op', 'pw', '10.0.0.5', 81, 555, 8001, 'yard.local', 8082, 8556, 1, 3, 1, 0);
INSERT INTO camera_event_reaction (id, event_id, camera_id, recording) VALUES (11, 1, 5, 'video');
INSERT INTO contact (id, name, email, phone) VALUES (1, 'Gate', 'gate@example.com', '1'), (2, 'Desk', 'desk@example.com', '2');
INSERT INTO email_event_reaction (id, event_id) VALUES (31, 1);
INSERT INTO email_event_reaction_assoc (email_ev_reaction_id, contact_id) VALUES (31, 2), (31, 1);
INSERT INTO connector (id, direction, number, current_state) VALUES (7, 'output', 3, 1);
INSERT INTO connector_application (application) VALUES ('siren');
INSERT INTO connector_application_assoc (connector_id, connector_application) VALUES (7, 'siren');
INSERT INTO output_event_reaction (id, event_id, connector_id, action, delay, duration) VALUES (21, 1, 7, 4, 2, 9);
INSERT INTO lorivant_event_reaction (id, event_id, lorivant_id, access_group_id, duration, counts, panic_mode)
    VALUES (41, 1, 3, 0, 300, NULL, NULL), (42, 1, 0, 6, NULL, NULL, 2);
INSERT INTO lorivant (id, hardware_id, name, repeater_id, supervision_period, supervision_time)
    VALUES (3, 1003003, 'Back door', NULL, 60, 1700000000);
INSERT INTO repeater (id, serial_number, name, supervision_period, supervision_time)
    VALUES (4, 2004004, 'Attic', 120, 1700000100);
INSERT INTO alarmsystem (id, name, status, last_disarm_time, last_arm_time, disarm_by_guard)
    VALUES (2, 'Hall', 1, 10, 20, 1);
)";

class foreign_schema_reactions_test : public ::testing::Test {
protected:
    void SetUp() override { db.exec(foreign_layout); }
    test_database_c db;
};

} // namespace

TEST_F(foreign_schema_reactions_test, reactions_and_devices_read_back) {
    camera_event_reaction_t camera;
    ASSERT_TRUE(db.dao<camera_event_reaction_dao_t>()->get_camera_event_reaction(11, camera));
    EXPECT_EQ(camera.camera.name + "|" + camera.camera.internal_ip_addr + "|" +
                  std::to_string(camera.camera.internal_rtsp_port) + "|" + camera.camera.hostname + "|" +
                  std::to_string(camera.camera.lorivant_id) + "|" +
                  std::to_string(camera.camera.is_disabled) + "|" + camera.recording,
              "Yard|10.0.0.5|555|yard.local|3|1|video");

    email_event_reaction_t email;
    ASSERT_TRUE(db.dao<email_event_reaction_dao_t>()->get_email_event_reaction(31, email));
    ASSERT_EQ(email.contacts.size(), 2u);
    EXPECT_EQ(email.contacts[0].email + " " + email.contacts[1].email, "desk@example.com gate@example.com");

    output_event_reaction_t output;
    ASSERT_TRUE(db.dao<output_event_reaction_dao_t>()->get_output_event_reaction(21, output));
    EXPECT_EQ(std::to_string(output.connector_number) + "|" + std::to_string(output.connector_current_state) +
                  "|" + output.applications + "|" + std::to_string(output.action) + "|" +
                  std::to_string(output.delay) + "|" + std::to_string(output.duration),
              "3|1|siren|4|2|9");

    auto reactions = db.dao<lorivant_event_reaction_dao_t>();
    lorivant_event_reaction_t office, panic;
    ASSERT_TRUE(reactions->get_lorivant_event_reaction(41, office));
    ASSERT_TRUE(reactions->get_lorivant_event_reaction(42, panic));
    auto office_mode = std::dynamic_pointer_cast<lorivant_event_reaction_t::office_mode_t>(office.mode);
    auto panic_mode = std::dynamic_pointer_cast<lorivant_event_reaction_t::panic_mode_t>(panic.mode);
    ASSERT_TRUE(office_mode && panic_mode);
    EXPECT_EQ(std::to_string(office.lorivant_id) + " " + std::to_string(office_mode->duration) + " " +
                  std::to_string(office_mode->counts) + " " + std::to_string(panic.access_group_id) + " " +
                  std::to_string(panic_mode->panic_mode),
              "3 300 -1 6 2");

    lorivant_t lorivant;
    ASSERT_TRUE(db.dao<lorivant_dao_c>()->get_lorivant_by_hardware_id(1003003, lorivant));
    EXPECT_EQ(std::to_string(lorivant.id) + " " + lorivant.name + " " +
                  std::to_string(lorivant.supervision_period),
              "3 Back door 60");
    repeater_t repeater;
    ASSERT_TRUE(db.dao<repeater_dao_c>()->get_repeater_by_serial_number(2004004, repeater));
    EXPECT_EQ(repeater.name + "|" + std::to_string(repeater.supervision_time), "Attic|1700000100");
    connector_t connector;
    ASSERT_TRUE(db.dao<connector_dao_c>()->get_connector(7, connector));
    EXPECT_EQ(connector.direction + std::to_string(connector.number) + " " + connector.applications,
              "output3 siren");
    alarmsystem_t alarmsystem;
    ASSERT_TRUE(db.dao<alarmsystem_dao_c>()->get_alarmsystem(2, alarmsystem));
    EXPECT_EQ(alarmsystem.name + "|" + std::to_string(alarmsystem.last_arm_time) + "|" +
                  std::to_string(alarmsystem.disarm_by_guard),
              "Hall|20|1");
}

TEST_F(foreign_schema_reactions_test, writes_land_in_the_named_columns) {
    auto reactions = db.dao<lorivant_event_reaction_dao_t>();
    reactions->start_office_mode(41, 3, 1003003, 0, 1000, 300, 4);
    reactions->count_office_mode_passage(1003003, 0);
    reactions->correct_office_mode_clock(-10);
    reactions->start_panic_mode(42, 0, 0, 6);
    EXPECT_EQ(db.rows("SELECT * FROM lorivant_event_reaction_office_mode_assoc"),
              "event|3|300|990|NULL|1003003|3|41\n");
    EXPECT_EQ(db.rows("SELECT * FROM lorivant_event_reaction_panic_mode_assoc"), "0|6|NULL|NULL|42\n");

    auto lorivants = db.dao<lorivant_dao_c>();
    lorivants->set_office_mode(3, true, 41, 990, 300, 3);
    lorivants->set_supervision_missing(3, true);
    EXPECT_EQ(db.rows("SELECT * FROM lorivant"),
              "1.0|0|3|300|990|41|1|1|1700000000|60|NULL|Back door|NULL|1003003|3\n");
    db.dao<repeater_dao_c>()->set_supervision_missing(4, true);
    EXPECT_EQ(db.rows("SELECT supervision_missing, rssi FROM repeater"), "1|NULL\n");

    const uint64_t camera =
        db.dao<camera_event_reaction_dao_t>()->insert_camera_event_reaction(2, 5, "snapshot");
    EXPECT_EQ(db.rows("SELECT * FROM camera_event_reaction WHERE id=" + std::to_string(camera)),
              "snapshot|0|5|2|" + std::to_string(camera) + "\n");

    email_event_reaction_t email;
    email.id = 31;
    email.contacts = {{1, "", "", ""}};
    db.dao<email_event_reaction_dao_t>()->update_email_event_reaction(email);
    EXPECT_EQ(db.rows("SELECT * FROM email_event_reaction_assoc"), "1|31|0\n");

    output_event_reaction_t output;
    output.id = 21;
    output.connector_id = 7;
    output.action = 1;
    db.dao<output_event_reaction_dao_t>()->update_output_event_reaction(output);
    EXPECT_EQ(db.rows("SELECT * FROM output_event_reaction"), "1|0|0|1|7|1|21\n");

    lorivant_event_reaction_t reaction;
    reaction.id = 41;
    reaction.lorivant_id = 3;
    reaction.mode = std::make_shared<lorivant_event_reaction_t::panic_mode_t>();
    std::static_pointer_cast<lorivant_event_reaction_t::panic_mode_t>(reaction.mode)->panic_mode = 1;
    reactions->update_lorivant_event_reaction(reaction);
    EXPECT_EQ(db.rows("SELECT * FROM lorivant_event_reaction WHERE id=41"), "|1|NULL|NULL|0|3|1|41\n");
}
