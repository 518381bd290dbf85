-- A small installation for trying the service out and for tests; run after schema.sql.
-- Every row has a fixed id, so running the script again changes nothing.
--
-- Ids are chosen so that a mix-up shows: door components 1 and 2 have hardware ids
-- 1001001 and 1001002, repeater 1 has serial number 2002001, connectors 11/12 are
-- input1/input2 and 21/22 are output1/output2, associated event sources are event id + 50,
-- and reactions are numbered 101.. (camera), 201.. (output), 301.. (e-mail), 401.. (door
-- component). Event sources 4, 8, 9, 18, 19 and 20 have no configured event.

SAVEPOINT ehs_demo;

INSERT OR IGNORE INTO repeater(id, serial_number, name, supervision_period, supervision_time,
                               supervision_missing) VALUES
    (1, 2002001, 'Repeater basement', 600, 1700000000, 0);

INSERT OR IGNORE INTO lorivant(id, hardware_id, name, repeater_id, supervision_period,
                               supervision_time, supervision_missing) VALUES
    (1, 1001001, 'Front door', NULL, 600, 1700000000, 0),
    (2, 1001002, 'Storage room', 1, 600, 1700000000, 0);

INSERT OR IGNORE INTO alarmsystem(id, name, status, last_disarm_time, last_arm_time,
                                  disarm_by_guard) VALUES
    (1, 'Intrusion alarm ground floor', 0, 1700003600, 1699970400, 0);

INSERT OR IGNORE INTO connector(id, name, direction, number, current_state) VALUES
    (11, 'Key switch reception', 'input', 1, 0),
    (12, 'Fire alarm contact', 'input', 2, 1),
    (21, 'Siren', 'output', 1, 0),
    (22, 'Gate opener', 'output', 2, 0);

INSERT OR IGNORE INTO connector_application_assoc(connector_id, connector_application) VALUES
    (11, 'key_switch'),
    (12, 'alarm_contact'),
    (21, 'siren'),
    (22, 'door_opener'),
    (22, 'light');

INSERT OR IGNORE INTO camera(id, is_disabled, name, user_name, password, internal_ip_addr,
                             internal_http_port, internal_rtsp_port, internal_recording_port,
                             hostname, external_http_port, external_rtsp_port,
                             connection_status, lorivant_id, is_trashed) VALUES
    (1, 0, 'Entrance camera', 'admin', 'entrance-cam-2023', '192.168.10.64', 80, 554, 8000,
     'entrance-cam.local', 8080, 8554, 1, 1, 0),
    (2, 0, 'Storage camera (removed)', 'admin', 'storage-cam-2019', '192.168.10.65', 80, 554,
     8000, 'storage-cam.local', 8081, 8555, 0, 2, 1);

INSERT OR IGNORE INTO contact(id, name, email, phone) VALUES
    (1, 'Anna Berger', 'anna.berger@example.com', '+49 30 5550101'),
    (2, 'Security desk', 'security@example.com', '+49 30 5550199');

INSERT OR IGNORE INTO hotkey(id, name) VALUES
    (1, 'Open gate'),
    (2, 'Staff office mode');

-- Events first: they carry no foreign keys, their reactions point back to them. Events 12
-- and 13 store 0 instead of NULL for "no reaction", as some configuration tools do.
INSERT OR IGNORE INTO event(id, name, associated_event_source_id, hotkey_id,
                            camera_event_reaction_id, output_event_reaction_id,
                            email_event_reaction_id, lorivant_event_reaction_id) VALUES
    (1, 'Front door access denied', 51, NULL, 101, NULL, 301, NULL),
    (2, 'Intrusion alarm', 52, NULL, 102, 201, NULL, NULL),
    (3, 'Key switch office mode', 53, NULL, NULL, NULL, NULL, 401),
    (4, 'Hotkey open gate', 54, 1, NULL, 202, NULL, NULL),
    (5, 'Unknown tag', 55, NULL, NULL, NULL, 302, NULL),
    (6, 'Battery warning', 56, NULL, NULL, NULL, 303, NULL),
    (7, 'Internet lost', 57, NULL, NULL, NULL, 304, NULL),
    (8, 'Repeater tamper', 58, NULL, NULL, 203, NULL, NULL),
    (9, 'Storage room access granted', 59, NULL, 103, NULL, NULL, NULL),
    (10, 'Alarm system armed', 60, NULL, NULL, NULL, 305, NULL),
    (11, 'Fire alarm panic mode', 61, NULL, NULL, NULL, NULL, 402),
    (12, 'Door component signal loss', 62, 0, 0, 0, 306, 0),
    (13, 'Repeater signal loss', 63, 0, 0, 0, 307, 0),
    (14, 'Controller tamper', 64, NULL, NULL, 204, 308, NULL),
    (15, 'Storage room battery count', 65, NULL, NULL, NULL, 309, NULL),
    (16, 'Hotkey staff office mode', 66, 2, NULL, NULL, NULL, 403);

INSERT OR IGNORE INTO associated_event_source(id, event_id, event_source_id) VALUES
    (51, 1, 2),
    (52, 2, 13),
    (53, 3, 12),
    (54, 4, 16),
    (55, 5, 5),
    (56, 6, 10),
    (57, 7, 15),
    (58, 8, 7),
    (59, 9, 1),
    (60, 10, 3),
    (61, 11, 12),
    (62, 12, 14),
    (63, 13, 17),
    (64, 14, 6),
    (65, 15, 11),
    (66, 16, 16);

-- lorivant_id / repeater_id 0: every door component / repeater.
INSERT OR IGNORE INTO lorivant_event_source(associated_event_source_id, lorivant_id,
                                            access_group_id, schedule_table_id,
                                            with_holidays, user_group_id) VALUES
    (51, 1, 0, 0, 0, 0),
    (55, 0, 0, 0, 0, 0),
    (56, 0, 0, 0, 0, 0),
    (59, 2, 0, 0, 0, 0),
    (62, 0, 0, 0, 0, 0),
    (65, 2, 0, 0, 0, 0);

INSERT OR IGNORE INTO repeater_event_source(associated_event_source_id, repeater_id) VALUES
    (58, 1),
    (63, 1);

-- input1 (key switch) reacts to "High", input2 (fire alarm contact opens) to "Low".
INSERT OR IGNORE INTO input_event_source(associated_event_source_id, connector_id,
                                         activate_signal) VALUES
    (53, 11, 1),
    (61, 12, 0);

-- Arming is reported for every alarm system (NULL), the alarm only for alarm system 1.
INSERT OR IGNORE INTO alarmsystem_event_source(associated_event_source_id, alarmsystem) VALUES
    (52, 1),
    (60, NULL);

-- Camera 2 is trashed: reaction 103 is configured but never read back.
INSERT OR IGNORE INTO camera_event_reaction(id, event_id, camera_id, recording) VALUES
    (101, 1, 1, 'snapshot'),
    (102, 2, 1, 'video'),
    (103, 9, 2, 'snapshot');

-- action 3 = open timed, 1 = open latched (NO); delay and duration in seconds.
INSERT OR IGNORE INTO output_event_reaction(id, event_id, connector_id, action, delay,
                                            duration) VALUES
    (201, 2, 21, 3, 0, 180),
    (202, 4, 22, 3, 2, 5),
    (203, 8, 21, 1, 0, 0),
    (204, 14, 21, 3, 0, 60);

INSERT OR IGNORE INTO email_event_reaction(id, event_id) VALUES
    (301, 1),
    (302, 5),
    (303, 6),
    (304, 7),
    (305, 10),
    (306, 12),
    (307, 13),
    (308, 14),
    (309, 15);

-- Reaction 304 lists the security desk before Anna Berger: recipients keep this order.
INSERT OR IGNORE INTO email_event_reaction_assoc(id, email_ev_reaction_id, contact_id) VALUES
    (1, 301, 1),
    (2, 301, 2),
    (3, 302, 2),
    (4, 303, 1),
    (5, 304, 2),
    (6, 304, 1),
    (7, 305, 2),
    (8, 306, 2),
    (9, 307, 2),
    (10, 308, 2),
    (11, 309, 1);

-- 401: office mode on the front door for one hour or 20 passages; 402: panic mode on every
-- door component; 403: office mode for access group 7, two hours, no passage limit.
INSERT OR IGNORE INTO lorivant_event_reaction(id, event_id, lorivant_id, access_group_id,
                                              duration, counts, panic_mode) VALUES
    (401, 3, 1, 0, 3600, 20, NULL),
    (402, 11, 0, 0, NULL, NULL, 1),
    (403, 16, 0, 7, 7200, NULL, NULL);

RELEASE ehs_demo;
