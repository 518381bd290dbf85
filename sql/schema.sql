-- The controller's shared database: configuration of the installation (door components,
-- repeaters, connectors, cameras, contacts, configured events and their reactions) and the
-- event log. Several services of the controller use this one file; the event handling
-- service reads the configuration and writes the event log.
--
-- This script creates every table the event handling service touches, seeds the catalogues
-- it depends on (languages, event sources, event-log groups and messages, settings) and is
-- safe to run again on an existing database: nothing is dropped, no row is overwritten.
-- Other tools of the controller may create the database with more columns, other column
-- types and other constraints; the service relies only on the tables and columns that its
-- statements name, never on anything that only this script adds.
--
-- Conventions:
-- * "..._id" columns are INTEGER; 0 or NULL means "none". Columns where configuration code
--   stores 0 for "none" (all door components, no connector, ...) carry no foreign key,
--   because SQLite would reject the 0 while foreign_keys=ON.
-- * event refers to its reactions and every reaction refers back to its event. Only the
--   reaction side has the foreign key (ON DELETE CASCADE), so a configuration is inserted
--   event first, then its reactions, and deleting an event takes its reactions with it.
-- * event_source holds one row per source and language: source k in the language with
--   language.id = j has id k + 1000 * (j - 1); configured events store k.
-- * event_log has no foreign keys: the history outlives the devices it mentions.

SAVEPOINT ehs_schema;

CREATE TABLE IF NOT EXISTS language (
    id   INTEGER PRIMARY KEY,
    code TEXT NOT NULL UNIQUE,
    name TEXT NOT NULL
);

CREATE TABLE IF NOT EXISTS settings (
    key   TEXT PRIMARY KEY,
    value TEXT
);

-- Event log ------------------------------------------------------------------------------

CREATE TABLE IF NOT EXISTS event_log_group (
    id   INTEGER PRIMARY KEY,
    name TEXT NOT NULL
);

-- One text per message and language; event_log.message_id refers to id.
CREATE TABLE IF NOT EXISTS event_log_message (
    id        INTEGER NOT NULL,
    lang_code INTEGER NOT NULL REFERENCES language(id),
    text      TEXT NOT NULL,
    PRIMARY KEY (id, lang_code)
);

-- identifier is the controller's running event number within slave_id (0 = this
-- controller); for local rows it equals id, which is why the sequence row is seeded below.
CREATE TABLE IF NOT EXISTS event_log (
    id                 INTEGER PRIMARY KEY AUTOINCREMENT,
    datetime           INTEGER NOT NULL,
    message_id         INTEGER NOT NULL,
    event_log_group_id INTEGER NOT NULL,
    lorivant_id        INTEGER DEFAULT 0,
    camera_id          INTEGER DEFAULT 0,
    repeater_id        INTEGER DEFAULT 0,
    user_id            INTEGER DEFAULT 0,
    slave_id           INTEGER NOT NULL DEFAULT 0,
    identifier         INTEGER NOT NULL DEFAULT 0,
    lorivant_hw_id     INTEGER DEFAULT 0,
    repeater_sn        INTEGER DEFAULT 0
);

-- The log may hold a million rows: every filter and ordering of the event-log statements
-- has an index, so none of them scans the table row by row.
CREATE INDEX IF NOT EXISTS event_log_slave_identifier ON event_log(slave_id, identifier);
CREATE INDEX IF NOT EXISTS event_log_identifier ON event_log(identifier);
CREATE INDEX IF NOT EXISTS event_log_datetime ON event_log(datetime);
CREATE INDEX IF NOT EXISTS event_log_lorivant_datetime ON event_log(lorivant_id, datetime);
CREATE INDEX IF NOT EXISTS event_log_repeater_datetime ON event_log(repeater_id, datetime);

-- Devices -----------------------------------------------------------------------------------

CREATE TABLE IF NOT EXISTS repeater (
    id                  INTEGER PRIMARY KEY,
    serial_number       INTEGER NOT NULL UNIQUE,
    name                TEXT NOT NULL DEFAULT '',
    supervision_period  INTEGER NOT NULL DEFAULT 3600,
    supervision_time    INTEGER NOT NULL DEFAULT 0,
    supervision_missing INTEGER NOT NULL DEFAULT 0
);

-- Door components. repeater_id 0 or NULL: the component talks to the controller directly.
-- The office_mode_* and panic_mode_active columns hold the mode a reaction switched on.
CREATE TABLE IF NOT EXISTS lorivant (
    id                                 INTEGER PRIMARY KEY,
    hardware_id                        INTEGER NOT NULL UNIQUE,
    name                               TEXT NOT NULL DEFAULT '',
    repeater_id                        INTEGER,
    supervision_period                 INTEGER NOT NULL DEFAULT 3600,
    supervision_time                   INTEGER NOT NULL DEFAULT 0,
    supervision_missing                INTEGER NOT NULL DEFAULT 0,
    office_mode                        INTEGER NOT NULL DEFAULT 0,
    office_mode_event_reaction_id      INTEGER,
    office_mode_event_timestamp        INTEGER DEFAULT 0,
    office_mode_event_duration         INTEGER DEFAULT 0,
    office_mode_event_counts_remaining INTEGER DEFAULT 0,
    panic_mode_active                  INTEGER NOT NULL DEFAULT 0
);

CREATE TABLE IF NOT EXISTS alarmsystem (
    id               INTEGER PRIMARY KEY,
    name             TEXT NOT NULL DEFAULT '',
    status           INTEGER NOT NULL DEFAULT 0,
    last_disarm_time INTEGER NOT NULL DEFAULT 0,
    last_arm_time    INTEGER NOT NULL DEFAULT 0,
    disarm_by_guard  INTEGER NOT NULL DEFAULT 0
);

-- External inputs and outputs of the controller. direction is 'input' or 'output'; the
-- service names a connector by direction and number ("input1", "output2").
CREATE TABLE IF NOT EXISTS connector (
    id            INTEGER PRIMARY KEY,
    name          TEXT NOT NULL DEFAULT '',
    direction     TEXT NOT NULL,
    number        INTEGER NOT NULL,
    current_state INTEGER NOT NULL DEFAULT 0,
    UNIQUE (direction, number)
);

CREATE TABLE IF NOT EXISTS connector_application (
    application TEXT PRIMARY KEY,
    description TEXT NOT NULL DEFAULT ''
);

-- A connector takes part in reactions only with at least one application.
CREATE TABLE IF NOT EXISTS connector_application_assoc (
    connector_id          INTEGER NOT NULL REFERENCES connector(id) ON DELETE CASCADE,
    connector_application TEXT NOT NULL REFERENCES connector_application(application),
    PRIMARY KEY (connector_id, connector_application)
);
CREATE INDEX IF NOT EXISTS connector_application_assoc_application
    ON connector_application_assoc(connector_application);

-- Cameras are trashed (is_trashed = 1) rather than deleted; lorivant_id is the door
-- component the camera watches, 0 or NULL for none.
CREATE TABLE IF NOT EXISTS camera (
    id                      INTEGER PRIMARY KEY,
    is_disabled             INTEGER NOT NULL DEFAULT 0,
    name                    TEXT NOT NULL DEFAULT '',
    user_name               TEXT NOT NULL DEFAULT '',
    password                TEXT NOT NULL DEFAULT '',
    internal_ip_addr        TEXT NOT NULL DEFAULT '',
    internal_http_port      INTEGER NOT NULL DEFAULT 80,
    internal_rtsp_port      INTEGER NOT NULL DEFAULT 554,
    internal_recording_port INTEGER NOT NULL DEFAULT 0,
    hostname                TEXT NOT NULL DEFAULT '',
    external_http_port      INTEGER NOT NULL DEFAULT 0,
    external_rtsp_port      INTEGER NOT NULL DEFAULT 0,
    connection_status       INTEGER NOT NULL DEFAULT 0,
    lorivant_id             INTEGER,
    is_trashed              INTEGER NOT NULL DEFAULT 0
);

CREATE TABLE IF NOT EXISTS contact (
    id    INTEGER PRIMARY KEY,
    name  TEXT NOT NULL DEFAULT '',
    email TEXT NOT NULL DEFAULT '',
    phone TEXT NOT NULL DEFAULT ''
);

CREATE TABLE IF NOT EXISTS hotkey (
    id   INTEGER PRIMARY KEY,
    name TEXT NOT NULL DEFAULT ''
);

-- Configured events -------------------------------------------------------------------------

-- The catalogue of what can trigger an event; type is one of 'lorivant', 'repeater',
-- 'externalInput', 'alarmsystem', 'general' (checked by the service when it reads a row).
CREATE TABLE IF NOT EXISTS event_source (
    id        INTEGER PRIMARY KEY,
    name      TEXT NOT NULL,
    type      TEXT NOT NULL,
    lang_code INTEGER NOT NULL REFERENCES language(id)
);

-- The reaction columns carry no foreign key: configuration code writes 0 for "none", and
-- the reactions are inserted after the event they refer to.
CREATE TABLE IF NOT EXISTS event (
    id                         INTEGER PRIMARY KEY,
    name                       TEXT NOT NULL DEFAULT '',
    associated_event_source_id INTEGER,
    hotkey_id                  INTEGER,
    camera_event_reaction_id   INTEGER,
    output_event_reaction_id   INTEGER,
    email_event_reaction_id    INTEGER,
    lorivant_event_reaction_id INTEGER
);

-- Every event goes through the read of the events of one source, which finds the
-- associated sources by their event_source_id and then their events through this index,
-- instead of reading the whole event table.
CREATE INDEX IF NOT EXISTS event_associated_event_source ON event(associated_event_source_id);

-- Global tamper switches; the service reads and writes the row with id 1.
CREATE TABLE IF NOT EXISTS event_settings (
    id              INTEGER PRIMARY KEY,
    lid_tamper      INTEGER NOT NULL DEFAULT 1,
    back_tamper     INTEGER NOT NULL DEFAULT 1,
    repeater_tamper INTEGER NOT NULL DEFAULT 1
);

-- What triggers an event: event_source_id is the language-independent source id (1..20).
CREATE TABLE IF NOT EXISTS associated_event_source (
    id              INTEGER PRIMARY KEY,
    event_id        INTEGER NOT NULL REFERENCES event(id) ON DELETE CASCADE,
    event_source_id INTEGER NOT NULL REFERENCES event_source(id)
);
CREATE INDEX IF NOT EXISTS associated_event_source_source
    ON associated_event_source(event_source_id);
CREATE INDEX IF NOT EXISTS associated_event_source_event ON associated_event_source(event_id);

-- Details per source type. lorivant_id / repeater_id 0 stand for every door component /
-- repeater; access groups, schedules and user groups are kept by other services.
CREATE TABLE IF NOT EXISTS lorivant_event_source (
    associated_event_source_id INTEGER PRIMARY KEY
        REFERENCES associated_event_source(id) ON DELETE CASCADE,
    lorivant_id                INTEGER NOT NULL DEFAULT 0,
    access_group_id            INTEGER NOT NULL DEFAULT 0,
    schedule_table_id          INTEGER NOT NULL DEFAULT 0,
    with_holidays              INTEGER NOT NULL DEFAULT 0,
    user_group_id              INTEGER NOT NULL DEFAULT 0
);

CREATE TABLE IF NOT EXISTS repeater_event_source (
    associated_event_source_id INTEGER PRIMARY KEY
        REFERENCES associated_event_source(id) ON DELETE CASCADE,
    repeater_id                INTEGER NOT NULL DEFAULT 0
);

-- activate_signal 1: the event fires on "High", 0: on "Low".
CREATE TABLE IF NOT EXISTS input_event_source (
    associated_event_source_id INTEGER PRIMARY KEY
        REFERENCES associated_event_source(id) ON DELETE CASCADE,
    connector_id               INTEGER NOT NULL,
    activate_signal            INTEGER NOT NULL DEFAULT 1
);

-- alarmsystem NULL (or 0) stands for every alarm system.
CREATE TABLE IF NOT EXISTS alarmsystem_event_source (
    associated_event_source_id INTEGER PRIMARY KEY
        REFERENCES associated_event_source(id) ON DELETE CASCADE,
    alarmsystem                INTEGER
);

-- Reactions -----------------------------------------------------------------------------------

-- recording is the reaction type: 'snapshot' or 'video'.
CREATE TABLE IF NOT EXISTS camera_event_reaction (
    id        INTEGER PRIMARY KEY,
    event_id  INTEGER NOT NULL REFERENCES event(id) ON DELETE CASCADE,
    camera_id INTEGER NOT NULL REFERENCES camera(id) ON DELETE CASCADE,
    recording TEXT NOT NULL
);
CREATE INDEX IF NOT EXISTS camera_event_reaction_event ON camera_event_reaction(event_id);
CREATE INDEX IF NOT EXISTS camera_event_reaction_camera ON camera_event_reaction(camera_id);

CREATE TABLE IF NOT EXISTS email_event_reaction (
    id       INTEGER PRIMARY KEY,
    event_id INTEGER NOT NULL REFERENCES event(id) ON DELETE CASCADE
);
CREATE INDEX IF NOT EXISTS email_event_reaction_event ON email_event_reaction(event_id);

-- The recipients of an e-mail reaction, read back in the order they were written.
CREATE TABLE IF NOT EXISTS email_event_reaction_assoc (
    id                   INTEGER PRIMARY KEY,
    email_ev_reaction_id INTEGER NOT NULL
        REFERENCES email_event_reaction(id) ON DELETE CASCADE,
    contact_id           INTEGER NOT NULL REFERENCES contact(id) ON DELETE CASCADE
);
CREATE INDEX IF NOT EXISTS email_event_reaction_assoc_reaction
    ON email_event_reaction_assoc(email_ev_reaction_id);
CREATE INDEX IF NOT EXISTS email_event_reaction_assoc_contact
    ON email_event_reaction_assoc(contact_id);

-- action: 0 undefined, 1 open latched (NO), 2 closed latched (NC), 3 open timed,
-- 4 closed timed; delay and duration in seconds. connector_id 0: no connector.
CREATE TABLE IF NOT EXISTS output_event_reaction (
    id           INTEGER PRIMARY KEY,
    event_id     INTEGER NOT NULL REFERENCES event(id) ON DELETE CASCADE,
    connector_id INTEGER NOT NULL DEFAULT 0,
    action       INTEGER NOT NULL DEFAULT 0,
    delay        INTEGER NOT NULL DEFAULT 0,
    duration     INTEGER NOT NULL DEFAULT 0
);
CREATE INDEX IF NOT EXISTS output_event_reaction_event ON output_event_reaction(event_id);

-- Office mode (duration in seconds and counts, panic_mode NULL) or panic mode (panic_mode
-- set, duration and counts NULL) for one door component (lorivant_id), an access group, or
-- every door component (both 0).
CREATE TABLE IF NOT EXISTS lorivant_event_reaction (
    id              INTEGER PRIMARY KEY,
    event_id        INTEGER NOT NULL REFERENCES event(id) ON DELETE CASCADE,
    lorivant_id     INTEGER NOT NULL DEFAULT 0,
    access_group_id INTEGER NOT NULL DEFAULT 0,
    duration        INTEGER,
    counts          INTEGER,
    panic_mode      INTEGER
);
CREATE INDEX IF NOT EXISTS lorivant_event_reaction_event ON lorivant_event_reaction(event_id);

-- Running office modes. A mode started by a reaction is keyed by the reaction id; a manual
-- mode has no reaction and a NULL key. The key is declared INT, not INTEGER, so that it is
-- no rowid alias and may be NULL; the partial unique index lets INSERT OR REPLACE replace
-- the manual mode of a door component instead of adding a second one. timestamp and
-- duration are seconds of the system clock.
CREATE TABLE IF NOT EXISTS lorivant_event_reaction_office_mode_assoc (
    lorivant_event_reaction_id INT PRIMARY KEY
        REFERENCES lorivant_event_reaction(id) ON DELETE CASCADE,
    lorivant_id                INTEGER REFERENCES lorivant(id) ON DELETE CASCADE,
    lorivant_hw_id             INTEGER,
    access_group_id            INTEGER,
    timestamp                  INTEGER,
    duration                   INTEGER,
    counts_remaining           INTEGER
);
CREATE UNIQUE INDEX IF NOT EXISTS office_mode_assoc_manual
    ON lorivant_event_reaction_office_mode_assoc(lorivant_id)
    WHERE lorivant_event_reaction_id IS NULL;
CREATE INDEX IF NOT EXISTS office_mode_assoc_lorivant
    ON lorivant_event_reaction_office_mode_assoc(lorivant_id);
CREATE INDEX IF NOT EXISTS office_mode_assoc_hw_id
    ON lorivant_event_reaction_office_mode_assoc(lorivant_hw_id);
CREATE INDEX IF NOT EXISTS office_mode_assoc_access_group
    ON lorivant_event_reaction_office_mode_assoc(access_group_id);

CREATE TABLE IF NOT EXISTS lorivant_event_reaction_panic_mode_assoc (
    lorivant_event_reaction_id INTEGER PRIMARY KEY
        REFERENCES lorivant_event_reaction(id) ON DELETE CASCADE,
    lorivant_id                INTEGER REFERENCES lorivant(id) ON DELETE CASCADE,
    lorivant_hw_id             INTEGER,
    access_group_id            INTEGER
);
CREATE INDEX IF NOT EXISTS panic_mode_assoc_lorivant
    ON lorivant_event_reaction_panic_mode_assoc(lorivant_id);

-- Seed rows -----------------------------------------------------------------------------------

-- The event-log insert reads the counter before the first row exists, so a fresh database
-- needs the row; on a database that already has rows it starts at the highest id.
INSERT INTO sqlite_sequence(name, seq)
    SELECT 'event_log', (SELECT IFNULL(MAX(id), 0) FROM event_log)
    WHERE NOT EXISTS (SELECT 1 FROM sqlite_sequence WHERE name = 'event_log');

INSERT OR IGNORE INTO language(id, code, name) VALUES
    (1, 'en', 'English'),
    (2, 'de', 'Deutsch');

INSERT OR IGNORE INTO settings(key, value) VALUES
    ('default_language', 'en'),
    ('supervision_mode', '1');

INSERT OR IGNORE INTO event_settings(id, lid_tamper, back_tamper, repeater_tamper)
    VALUES (1, 1, 1, 1);

INSERT OR IGNORE INTO event_source(id, name, type, lang_code) VALUES
    (1, 'access granted', 'lorivant', 1),
    (2, 'access denied', 'lorivant', 1),
    (3, 'armed', 'alarmsystem', 1),
    (4, 'disarmed', 'alarmsystem', 1),
    (5, 'tag unknown', 'lorivant', 1),
    (6, 'controller tamper', 'general', 1),
    (7, 'repeater tamper', 'repeater', 1),
    (8, 'repeater power loss', 'repeater', 1),
    (9, 'repeater power back', 'repeater', 1),
    (10, 'battery warning', 'lorivant', 1),
    (11, 'battery count warning', 'lorivant', 1),
    (12, 'input changed', 'externalInput', 1),
    (13, 'alarm', 'alarmsystem', 1),
    (14, 'door component signal loss', 'lorivant', 1),
    (15, 'internet lost', 'general', 1),
    (16, 'hotkey pressed', 'general', 1),
    (17, 'repeater signal loss', 'repeater', 1),
    (18, 'controller tamper resolved', 'general', 1),
    (19, 'repeater tamper resolved', 'repeater', 1),
    (20, 'alarm resolved', 'alarmsystem', 1),
    (1001, 'Zutritt gewährt', 'lorivant', 2),
    (1002, 'Zutritt verweigert', 'lorivant', 2),
    (1003, 'scharf geschaltet', 'alarmsystem', 2),
    (1004, 'unscharf geschaltet', 'alarmsystem', 2),
    (1005, 'Transponder unbekannt', 'lorivant', 2),
    (1006, 'Sabotage am Controller', 'general', 2),
    (1007, 'Sabotage am Repeater', 'repeater', 2),
    (1008, 'Stromausfall am Repeater', 'repeater', 2),
    (1009, 'Stromversorgung am Repeater wiederhergestellt', 'repeater', 2),
    (1010, 'Batteriewarnung', 'lorivant', 2),
    (1011, 'Warnung Batteriezähler', 'lorivant', 2),
    (1012, 'Eingang geändert', 'externalInput', 2),
    (1013, 'Alarm', 'alarmsystem', 2),
    (1014, 'Funkverbindung zur Türkomponente verloren', 'lorivant', 2),
    (1015, 'Internetverbindung verloren', 'general', 2),
    (1016, 'Hotkey gedrückt', 'general', 2),
    (1017, 'Funkverbindung zum Repeater verloren', 'repeater', 2),
    (1018, 'Sabotage am Controller behoben', 'general', 2),
    (1019, 'Sabotage am Repeater behoben', 'repeater', 2),
    (1020, 'Alarm behoben', 'alarmsystem', 2);

-- Group 3 holds the camera entries, group 4 the controller's own and alarm-system entries.
INSERT OR IGNORE INTO event_log_group(id, name) VALUES
    (1, 'Access control'),
    (2, 'Administration'),
    (3, 'Camera'),
    (4, 'System');

INSERT OR IGNORE INTO event_log_message(id, lang_code, text) VALUES
    (22, 1, 'External input changed'),
    (25, 1, 'Alarm system armed'),
    (26, 1, 'Alarm system disarmed'),
    (27, 1, 'Internet connection lost'),
    (29, 1, 'Controller tamper detected'),
    (34, 1, 'Alarm system not ready, arming failed'),
    (35, 1, 'Alarm system did not acknowledge arming'),
    (36, 1, 'Alarm system did not acknowledge disarming'),
    (37, 1, 'Camera video recorded'),
    (38, 1, 'Camera snapshot taken'),
    (40, 1, 'Alarm raised by alarm system'),
    (56, 1, 'System time corrected by time server'),
    (57, 1, 'Controller tamper resolved'),
    (59, 1, 'Alarm of alarm system resolved'),
    (22, 2, 'Externer Eingang geändert'),
    (25, 2, 'Alarmanlage scharf geschaltet'),
    (26, 2, 'Alarmanlage unscharf geschaltet'),
    (27, 2, 'Internetverbindung unterbrochen'),
    (29, 2, 'Sabotage am Controller erkannt'),
    (34, 2, 'Alarmanlage nicht bereit, Scharfschalten fehlgeschlagen'),
    (35, 2, 'Alarmanlage hat das Scharfschalten nicht bestätigt'),
    (36, 2, 'Alarmanlage hat das Unscharfschalten nicht bestätigt'),
    (37, 2, 'Kameravideo aufgezeichnet'),
    (38, 2, 'Kamerabild aufgenommen'),
    (40, 2, 'Alarm von der Alarmanlage ausgelöst'),
    (56, 2, 'Systemzeit durch Zeitserver korrigiert'),
    (57, 2, 'Sabotage am Controller behoben'),
    (59, 2, 'Alarm der Alarmanlage behoben');

INSERT OR IGNORE INTO connector_application(application, description) VALUES
    ('general_purpose', 'General purpose'),
    ('door_opener', 'Door opener'),
    ('door_contact', 'Door contact'),
    ('key_switch', 'Key switch'),
    ('alarm_contact', 'Alarm contact'),
    ('siren', 'Siren'),
    ('light', 'Light');

RELEASE ehs_schema;
