-- A controller that has lived for years, run after bench_config.sql: 1,000 door components,
-- 100 repeaters, 1,000 more configured events and an event log of 1,000,000 rows.
--
-- The extra events are spread round-robin over the 19 event sources other than "armed"
-- (about 53 each), every one tied to one device of its kind and carrying a camera or an
-- output reaction, so that the armed event keeps its one configured event while the
-- door-component event ("access granted", source 1) now reads about 53. None of them names
-- door component 1, alarm system 1 or input 1, so the benchmark's events still publish
-- exactly two reactions each.
--
-- Every device reported at 1700000000 (supervision period 600 s); the log covers the three
-- years before, one row every 94 s, about two thirds naming a door component and one in
-- twenty a repeater. Local rows only (slave_id 0), identifier = id.

SAVEPOINT ehs_bench_scale;

INSERT INTO repeater(id, serial_number, name, supervision_period, supervision_time)
    WITH RECURSIVE n(i) AS (SELECT 2 UNION ALL SELECT i + 1 FROM n WHERE i < 100)
    SELECT i, 2002000 + i, 'Repeater ' || i, 600, 1700000000 FROM n;

INSERT INTO lorivant(id, hardware_id, name, repeater_id, supervision_period, supervision_time)
    WITH RECURSIVE n(i) AS (SELECT 2 UNION ALL SELECT i + 1 FROM n WHERE i < 1000)
    SELECT i, 1001000 + i, 'Door ' || i, CASE WHEN i % 3 = 0 THEN NULL ELSE i % 100 + 1 END, 600,
           1700000000 FROM n;

INSERT INTO alarmsystem(id, name) VALUES (2, 'Alarm system 2'), (3, 'Alarm system 3');

-- Events 1001..2000; source k of the 19 (3 left out), associated source id = event id.
CREATE TEMP TABLE scale_source(k INTEGER PRIMARY KEY, source INTEGER);
INSERT INTO scale_source(k, source) VALUES
    (0, 1), (1, 2), (2, 4), (3, 5), (4, 6), (5, 7), (6, 8), (7, 9), (8, 10), (9, 11), (10, 12),
    (11, 13), (12, 14), (13, 15), (14, 16), (15, 17), (16, 18), (17, 19), (18, 20);
CREATE TEMP TABLE scale_event AS
    WITH RECURSIVE n(i) AS (SELECT 1001 UNION ALL SELECT i + 1 FROM n WHERE i < 2000)
    SELECT i AS id, (SELECT source FROM scale_source WHERE k = i % 19) AS source FROM n;

INSERT INTO event(id, name, associated_event_source_id, camera_event_reaction_id,
                  output_event_reaction_id)
    SELECT id, 'Event ' || id, id, CASE WHEN id % 2 = 0 THEN id END, CASE WHEN id % 2 = 1 THEN id END
    FROM scale_event;
INSERT INTO associated_event_source(id, event_id, event_source_id)
    SELECT id, id, source FROM scale_event;
INSERT INTO lorivant_event_source(associated_event_source_id, lorivant_id)
    SELECT id, id % 999 + 2 FROM scale_event WHERE source IN (1, 2, 5, 10, 11, 14);
INSERT INTO repeater_event_source(associated_event_source_id, repeater_id)
    SELECT id, id % 100 + 1 FROM scale_event WHERE source IN (7, 8, 9, 17, 19);
INSERT INTO alarmsystem_event_source(associated_event_source_id, alarmsystem)
    SELECT id, id % 2 + 2 FROM scale_event WHERE source IN (4, 13, 20);
INSERT INTO input_event_source(associated_event_source_id, connector_id, activate_signal)
    SELECT id, 11, 0 FROM scale_event WHERE source = 12;
INSERT INTO camera_event_reaction(id, event_id, camera_id, recording)
    SELECT id, id, 1, 'snapshot' FROM scale_event WHERE id % 2 = 0;
INSERT INTO output_event_reaction(id, event_id, connector_id, action, delay, duration)
    SELECT id, id, 22, 3, 0, 3 FROM scale_event WHERE id % 2 = 1;

-- Rows 1..1000000 with their identifiers; AUTOINCREMENT moves the sequence to 1000000.
INSERT INTO event_log(id, datetime, message_id, event_log_group_id, lorivant_id, camera_id,
                      repeater_id, user_id, slave_id, identifier)
    WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 1000000)
    SELECT i, 1700000000 - 94 * (1000000 - i),
           CASE i % 7 WHEN 0 THEN 25 WHEN 1 THEN 26 WHEN 2 THEN 22 ELSE 40 END,
           CASE WHEN i % 3 = 0 THEN 4 ELSE 1 END,
           CASE WHEN i % 3 = 0 THEN 0 ELSE i % 1000 + 1 END,
           CASE WHEN i % 11 = 0 THEN 1 ELSE 0 END,
           CASE WHEN i % 20 = 0 THEN i % 100 + 1 ELSE 0 END,
           CASE WHEN i % 3 = 0 THEN 0 ELSE i % 500 + 1 END,
           0, i
    FROM n;

DROP TABLE scale_event;
DROP TABLE scale_source;

RELEASE ehs_bench_scale;
