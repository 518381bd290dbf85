-- The installation the benchmark drives, run after sql/schema.sql on an empty database.
--
-- Armed event: "events/alarmsystem/armed" for alarm system 1 has one configured event with an
-- output reaction (siren on output1) and a camera reaction (snapshot of camera 1), so every
-- event is one event-log row and two published reactions.
-- Door-component event: "events/end_device/access_granted" at door component 1 (hardware id
-- 1001001) has one configured event with a camera snapshot and an output reaction (the door
-- opener on output2): no event-log row, a door-component lookup, two reactions.

SAVEPOINT ehs_bench;

INSERT INTO alarmsystem(id, name) VALUES (1, 'Intrusion alarm');
INSERT INTO repeater(id, serial_number, name, supervision_period, supervision_time)
    VALUES (1, 2002001, 'Repeater 1', 600, 1700000000);
INSERT INTO lorivant(id, hardware_id, name, repeater_id, supervision_period, supervision_time)
    VALUES (1, 1001001, 'Front door', NULL, 600, 1700000000);

INSERT INTO connector(id, name, direction, number) VALUES
    (11, 'Key switch', 'input', 1),
    (21, 'Siren', 'output', 1),
    (22, 'Door opener', 'output', 2);
INSERT INTO connector_application_assoc(connector_id, connector_application) VALUES
    (11, 'key_switch'),
    (21, 'siren'),
    (22, 'door_opener');

INSERT INTO camera(id, name, internal_ip_addr, hostname, lorivant_id)
    VALUES (1, 'Entrance camera', '192.168.10.64', 'entrance-cam.local', 1);

INSERT INTO event(id, name, associated_event_source_id, camera_event_reaction_id,
                  output_event_reaction_id) VALUES
    (1, 'Armed: siren and snapshot', 1, 1, 1),
    (2, 'Front door access granted: snapshot and door opener', 2, 2, 2);
INSERT INTO associated_event_source(id, event_id, event_source_id) VALUES
    (1, 1, 3),
    (2, 2, 1);
INSERT INTO alarmsystem_event_source(associated_event_source_id, alarmsystem) VALUES (1, 1);
INSERT INTO lorivant_event_source(associated_event_source_id, lorivant_id) VALUES (2, 1);
INSERT INTO camera_event_reaction(id, event_id, camera_id, recording) VALUES
    (1, 1, 1, 'snapshot'),
    (2, 2, 1, 'snapshot');
INSERT INTO output_event_reaction(id, event_id, connector_id, action, delay, duration) VALUES
    (1, 1, 21, 3, 0, 5),
    (2, 2, 22, 3, 0, 3);

RELEASE ehs_bench;
