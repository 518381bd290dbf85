#!/bin/sh
# Builds databases from sql/schema.sql and sql/demo.sql with the sqlite3 shell and runs the
# service's statements against them, word for word as the service prepares them, with the
# parameters bound through ".parameter set" (anonymous "?" number from 1).
# Usage: schema_test.sh <sql directory>
set -u

sql_dir=${1:?usage: schema_test.sh <sql directory>}
sqlite3_shell=${SQLITE3:-sqlite3}
if ! command -v "$sqlite3_shell" >/dev/null 2>&1; then
    echo "sqlite3 shell not found" >&2
    exit 77
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0
OUT=

fail() {
    echo "FAIL: $1" >&2
    failures=$((failures + 1))
}

# sql <db>: runs the SQL on stdin with foreign keys on, as the service's connection does;
# stops at the first error. Output (and any error text) lands in OUT.
sql() {
    OUT=$("$sqlite3_shell" -bail -batch -cmd 'PRAGMA foreign_keys=ON' "$1" 2>&1)
}

expect() {
    if [ "$OUT" != "$2" ]; then
        fail "$1"
        printf 'expected:\n%s\ngot:\n%s\n' "$2" "$OUT" >&2
    fi
}

# check <what> <db> <expected output>, SQL on stdin
check() {
    if sql "$2"; then
        expect "$1" "$3"
    else
        fail "$1"
        printf '%s\n' "$OUT" >&2
    fi
}

# check_sorted: as check, for statements without ORDER BY whose row order is not fixed
check_sorted() {
    if sql "$2"; then
        OUT=$(printf '%s\n' "$OUT" | LC_ALL=C sort)
        expect "$1" "$(printf '%s\n' "$3" | LC_ALL=C sort)"
    else
        fail "$1"
        printf '%s\n' "$OUT" >&2
    fi
}

# check_count <what> <db> <field> <expected>: for reads of all rows, compares
# "<row count>|<the distinct values of one field, ascending, comma-joined>"
check_count() {
    if sql "$2"; then
        OUT="$(printf '%s\n' "$OUT" | grep -c .)|$(printf '%s\n' "$OUT" | cut -d'|' -f"$3" |
            LC_ALL=C sort -nu | paste -sd, -)"
        expect "$1" "$4"
    else
        fail "$1"
        printf '%s\n' "$OUT" >&2
    fi
}

# write_check: as check, on a fresh copy of the demo database, for statements that write
write_check() {
    cp "$demo" "$work/write.db"
    check "$1" "$work/write.db" "$2"
}

# A whole script file run into a database; the service and the tests run them the same way.
run_script() {
    if ! sql "$1" <"$2"; then
        fail "running $2 on $1"
        printf '%s\n' "$OUT" >&2
        return 1
    fi
}

dump() {
    "$sqlite3_shell" "$1" .dump
}

schema=$sql_dir/schema.sql
demo=$work/demo.db

# ---------------------------------------------------------------------------------------
# Building: idempotent on an empty file, after itself and under the demo data.

run_script "$work/schema.db" "$schema" || exit 1
dump "$work/schema.db" >"$work/schema.1"
run_script "$work/schema.db" "$schema"
dump "$work/schema.db" >"$work/schema.2"
cmp -s "$work/schema.1" "$work/schema.2" || fail "second run of schema.sql changed the database"

cp "$work/schema.db" "$demo"
run_script "$demo" "$sql_dir/demo.sql" || exit 1
dump "$demo" >"$work/demo.1"
run_script "$demo" "$sql_dir/demo.sql"
run_script "$demo" "$schema"
dump "$demo" >"$work/demo.2"
cmp -s "$work/demo.1" "$work/demo.2" || fail "rerunning demo.sql and schema.sql changed the demo"

# Inside a caller's transaction the script nests instead of failing on BEGIN.
check "schema.sql inside an open transaction" "$work/nested.db" "event_log|0" <<SQL
BEGIN;
.read $schema
COMMIT;
SELECT name, seq FROM sqlite_sequence;
SQL

for db in "$work/schema.db" "$demo"; do
    check "foreign_key_check and integrity_check of $db" "$db" "ok" <<'SQL'
PRAGMA foreign_key_check;
PRAGMA integrity_check;
SQL
done

# ---------------------------------------------------------------------------------------
# Seed rows

check "sequence row of event_log, exactly once" "$demo" "event_log|0" <<'SQL'
SELECT name, seq FROM sqlite_sequence;
SQL

check "languages" "$demo" "1|en|English
2|de|Deutsch" <<'SQL'
SELECT id, code, name FROM language ORDER BY id;
SQL

check "settings" "$demo" "default_language|en
supervision_mode|1" <<'SQL'
SELECT key, value FROM settings ORDER BY key;
SQL

en_catalogue="1|access granted|lorivant
2|access denied|lorivant
3|armed|alarmsystem
4|disarmed|alarmsystem
5|tag unknown|lorivant
6|controller tamper|general
7|repeater tamper|repeater
8|repeater power loss|repeater
9|repeater power back|repeater
10|battery warning|lorivant
11|battery count warning|lorivant
12|input changed|externalInput
13|alarm|alarmsystem
14|door component signal loss|lorivant
15|internet lost|general
16|hotkey pressed|general
17|repeater signal loss|repeater
18|controller tamper resolved|general
19|repeater tamper resolved|repeater
20|alarm resolved|alarmsystem"

de_catalogue="1|Zutritt gewährt|lorivant
2|Zutritt verweigert|lorivant
3|scharf geschaltet|alarmsystem
4|unscharf geschaltet|alarmsystem
5|Transponder unbekannt|lorivant
6|Sabotage am Controller|general
7|Sabotage am Repeater|repeater
8|Stromausfall am Repeater|repeater
9|Stromversorgung am Repeater wiederhergestellt|repeater
10|Batteriewarnung|lorivant
11|Warnung Batteriezähler|lorivant
12|Eingang geändert|externalInput
13|Alarm|alarmsystem
14|Funkverbindung zur Türkomponente verloren|lorivant
15|Internetverbindung verloren|general
16|Hotkey gedrückt|general
17|Funkverbindung zum Repeater verloren|repeater
18|Sabotage am Controller behoben|general
19|Sabotage am Repeater behoben|repeater
20|Alarm behoben|alarmsystem"

check "English event source catalogue" "$demo" "$en_catalogue" <<'SQL'
SELECT id, name, type FROM event_source WHERE lang_code = 1 ORDER BY id;
SQL

check "German catalogue: ids + 1000, same types, own names" "$demo" "20|20|20
Eingang geändert|externalInput|2" <<'SQL'
SELECT count(*), count(DISTINCT de.name), sum(de.type = en.type)
FROM event_source en JOIN event_source de ON de.id = en.id + 1000
WHERE en.lang_code = 1 AND de.lang_code = 2 AND de.name <> en.name;
SELECT name, type, lang_code FROM event_source WHERE id = 1012;
SQL

check "event-log texts in both languages for every message the service writes" "$demo" \
    "22,25,26,27,29,34,35,36,37,38,40,56,57,59" <<'SQL'
SELECT group_concat(id) FROM (
    SELECT id FROM event_log_message GROUP BY id HAVING count(DISTINCT lang_code) = 2 ORDER BY id);
SQL

check "every connector has an application" "$demo" "0" <<'SQL'
SELECT count(*) FROM connector
WHERE id NOT IN (SELECT caa.connector_id FROM connector_application_assoc caa
                 JOIN connector_application ca ON ca.application = caa.connector_application);
SQL

# The lookups the handlers and the supervision make through the device DAOs.
check "contract columns of lorivant, repeater, hotkey" "$demo" \
    "2|Storage room|1|600|1700000000|0|0||0|0|0|0
1|Repeater basement|600|1700000000|0
Open gate" <<'SQL'
SELECT id, name, repeater_id, supervision_period, supervision_time, supervision_missing,
       office_mode, office_mode_event_reaction_id, office_mode_event_timestamp,
       office_mode_event_duration, office_mode_event_counts_remaining, panic_mode_active
FROM lorivant WHERE hardware_id = 1001002;
SELECT id, name, supervision_period, supervision_time, supervision_missing
FROM repeater WHERE serial_number = 2002001;
SELECT name FROM hotkey WHERE id = 1;
SQL

# ---------------------------------------------------------------------------------------
# Event sources and events

check "get_event_sources en" "$demo" "$en_catalogue" <<'SQL'
.parameter set ?1 1000
.parameter set ?2 "'en'"
SELECT event_source.id%?,        event_source.name,        event_source.type FROM event_source INNER JOIN language   ON event_source.lang_code = language.id WHERE language.code=?ORDER BY event_source.id
;
SQL

check "get_event_sources de returns reduced ids" "$demo" "$de_catalogue" <<'SQL'
.parameter set ?1 1000
.parameter set ?2 "'de'"
SELECT event_source.id%?,        event_source.name,        event_source.type FROM event_source INNER JOIN language   ON event_source.lang_code = language.id WHERE language.code=?ORDER BY event_source.id
;
SQL

check "get_event_sources_by_type" "$demo" "7|repeater tamper|repeater
8|repeater power loss|repeater
9|repeater power back|repeater
17|repeater signal loss|repeater
19|repeater tamper resolved|repeater" <<'SQL'
.parameter set ?1 1000
.parameter set ?2 "'en'"
.parameter set ?3 "'repeater'"
SELECT event_source.id%?,        event_source.name,        event_source.type FROM event_source INNER JOIN language   ON event_source.lang_code = language.id WHERE language.code=?  AND event_source.type=?ORDER BY event_source.id
;
SQL

check "get_event_source_by_name" "$demo" "13|Alarm|alarmsystem" <<'SQL'
.parameter set ?1 1000
.parameter set ?2 "'de'"
.parameter set ?3 "'Alarm'"
SELECT event_source.id%?,        event_source.name,        event_source.type FROM event_source INNER JOIN language   ON event_source.lang_code = language.id WHERE language.code=? AND event_source.name=?
;
SQL

check "get_event_source_by_name_and_type" "$demo" "13|alarm|alarmsystem" <<'SQL'
.parameter set ?1 1000
.parameter set ?2 "'en'"
.parameter set ?3 "'alarm'"
.parameter set ?4 "'alarmsystem'"
SELECT event_source.id%?,        event_source.name,        event_source.type FROM event_source INNER JOIN language   ON event_source.lang_code = language.id WHERE language.code=? AND event_source.name=? AND event_source.type=? 
;
SQL

# bound as (lang, id, M, lang, M, id, id)
for c in "de 12 12|Eingang geändert|externalInput" "en 1012 1012|input changed|externalInput" \
    "en 12 12|input changed|externalInput"; do
    lang=${c%% *}
    rest=${c#* }
    id=${rest%% *}
    expected=${rest#* }
    check "get_event_source_by_id $lang $id" "$demo" "$expected" <<SQL
.parameter set ?1 "'$lang'"
.parameter set ?2 $id
.parameter set ?3 1000
.parameter set ?4 "'$lang'"
.parameter set ?5 1000
.parameter set ?6 $id
.parameter set ?7 $id
WITH base_table( source_id, source_name, source_type ) AS (    SELECT event_source.id as source_id, event_source.name as source_name, event_source.type as source_type    FROM event_source    INNER JOIN language      ON event_source.lang_code = language.id    WHERE language.code=?   AND event_source.id=?%?  UNION    SELECT event_source.id as source_id, event_source.name as source_name, event_source.type as source_type    FROM event_source    INNER JOIN language      ON event_source.lang_code = language.id    WHERE language.code=?   AND event_source.id%?=?) SELECT ?,        outer_bt.source_name,        outer_bt.source_type FROM base_table as outer_bt WHERE outer_bt.source_id = (     SELECT max(inner_bt.source_id)     FROM base_table as inner_bt)
;
SQL
done

for c in "de 51 1|2|Zutritt verweigert|lorivant" "en 53 3|12|input changed|externalInput" \
    "en 54 4|16|hotkey pressed|general"; do
    lang=${c%% *}
    rest=${c#* }
    check "get_associated_event $lang $rest" "$demo" "${rest#* }" <<SQL
.parameter set ?1 1000
.parameter set ?2 "'$lang'"
.parameter set ?3 ${rest%% *}
SELECT associated_event_source.event_id,       associated_event_source.event_source_id,       event_source.name,       event_source.type FROM associated_event_source INNER JOIN event_source    ON associated_event_source.event_source_id=event_source.id%? INNER JOIN language  ON event_source.lang_code = language.id WHERE language.code=?   AND associated_event_source.id=?
;
SQL
done

for c in "51 1|0|0|0|0" "55 0|0|0|0|0"; do
    check "lorivant event source $c" "$demo" "${c#* }" <<SQL
.parameter set ?1 ${c%% *}
SELECT lorivant_id,       access_group_id,       schedule_table_id,       with_holidays,user_group_id FROM lorivant_event_source WHERE associated_event_source_id=?
;
SQL
done

check "repeater event source" "$demo" "1" <<'SQL'
.parameter set ?1 58
SELECT repeater_id FROM repeater_event_source WHERE associated_event_source_id=?
;
SQL

for c in "53 11|1|1|0|key_switch" "61 12|0|2|1|alarm_contact"; do
    check "input event source $c" "$demo" "${c#* }" <<SQL
.parameter set ?1 ${c%% *}
SELECT input_event_source.connector_id,        input_event_source.activate_signal,        connector.number,        connector.current_state,        GROUP_CONCAT(caa.connector_application) FROM input_event_source INNER JOIN connector    ON input_event_source.connector_id = connector.id INNER JOIN connector_application_assoc caa    ON connector.id = caa.connector_id INNER JOIN connector_application ca   ON caa.connector_application = ca.application WHERE input_event_source.associated_event_source_id = ?
;
SQL
done

# 60 is stored without alarm system (every alarm system) and has no detail row.
for c in "52 1|Intrusion alarm ground floor|0|1700003600|1699970400|0" "60 "; do
    check "alarm system event source $c" "$demo" "${c#* }" <<SQL
.parameter set ?1 ${c%% *}
SELECT alarmsystem_event_source.alarmsystem,       alarmsystem.name,       alarmsystem.status,       alarmsystem.last_disarm_time,       alarmsystem.last_arm_time,       alarmsystem.disarm_by_guard FROM alarmsystem_event_source INNER JOIN alarmsystem     ON alarmsystem_event_source.alarmsystem=alarmsystem.id WHERE alarmsystem_event_source.associated_event_source_id=?
;
SQL
done

for c in "4 Hotkey open gate|54|1||202||" "12 Door component signal loss|62|0|0|0|306|0"; do
    check "read event $c" "$demo" "${c#* }" <<SQL
.parameter set ?1 ${c%% *}
select name, associated_event_source_id, hotkey_id, camera_event_reaction_id,output_event_reaction_id, email_event_reaction_id, lorivant_event_reaction_id from event where id=?
;
SQL
done

check_count "read all events" "$demo" 1 "16|$(seq -s, 1 16)" <<'SQL'
select id, name, associated_event_source_id, hotkey_id, camera_event_reaction_id,output_event_reaction_id, email_event_reaction_id, lorivant_event_reaction_id from event
;
SQL

for c in "2 1|Front door access denied|51||101||301|" \
    "16 4|Hotkey open gate|54|1||202||
16|Hotkey staff office mode|66|2||||403" \
    "12 3|Key switch office mode|53|||||401
11|Fire alarm panic mode|61|||||402" \
    "4 "; do
    check_sorted "events of event source ${c%% *}" "$demo" "${c#* }" <<SQL
.parameter set ?1 1000
.parameter set ?2 ${c%% *}
select event.id, name, associated_event_source_id, hotkey_id, camera_event_reaction_id,output_event_reaction_id, email_event_reaction_id, lorivant_event_reaction_id from event inner join associated_event_source on associated_event_source.id=associated_event_source_id where associated_event_source.event_source_id in (     select event_source.id     from event_source     where event_source.id%?=? )
;
SQL
done

check "read event settings" "$demo" "1|1|1" <<'SQL'
select lid_tamper, back_tamper, repeater_tamper from event_settings where id=1
;
SQL

check "get_input_event_sources" "$demo" "11|input|1|0|key_switch|1
12|input|2|1|alarm_contact|0" <<'SQL'
SELECT c.id, c.direction, c.number, c.current_state, GROUP_CONCAT(DISTINCT ca.application), ies.activate_signal FROM event e          INNER JOIN associated_event_source aes ON e.id = aes.event_id          INNER JOIN input_event_source ies ON aes.id = ies.associated_event_source_id          INNER JOIN connector c ON ies.connector_id = c.id          INNER JOIN connector_application_assoc caa on c.id = caa.connector_id          INNER JOIN connector_application ca on caa.connector_application = ca.application GROUP BY c.id
;
SQL

# Writes of the configuration side, each on a fresh copy of the demo.

write_check "insert and update associated event source" "5|5
1|1" <<'SQL'
.parameter set ?1 5
.parameter set ?2 5
INSERT INTO associated_event_source(event_id,event_source_id) VALUES(?,?)
;
SELECT event_id, event_source_id FROM associated_event_source WHERE id = last_insert_rowid();
.parameter clear
.parameter set ?1 1
.parameter set ?2 51
UPDATE associated_event_source SET event_source_id=?WHERE id=?
;
SELECT event_id, event_source_id FROM associated_event_source WHERE id = 51;
SQL

write_check "lorivant event source insert, update, schedule reset, delete" "2|7|3|1|4
1|8|5|0|6
1|8|0|0|6
0" <<'SQL'
INSERT INTO associated_event_source(id, event_id, event_source_id) VALUES (70, 5, 5);
.parameter set ?1 70
.parameter set ?2 2
.parameter set ?3 7
.parameter set ?4 3
.parameter set ?5 1
.parameter set ?6 4
INSERT INTO lorivant_event_source( associated_event_source_id,                                    lorivant_id,                                    access_group_id,                                    schedule_table_id,                                    with_holidays,                                    user_group_id ) VALUES (?,        ?,        ?,        ?,        ?,        ?)
;
SELECT lorivant_id, access_group_id, schedule_table_id, with_holidays, user_group_id
FROM lorivant_event_source WHERE associated_event_source_id = 70;
.parameter clear
.parameter set ?1 1
.parameter set ?2 8
.parameter set ?3 5
.parameter set ?4 0
.parameter set ?5 6
.parameter set ?6 70
UPDATE lorivant_event_source SET lorivant_id=?,     access_group_id=?,    schedule_table_id=?,    with_holidays=?,    user_group_id=?WHERE associated_event_source_id=?
;
SELECT lorivant_id, access_group_id, schedule_table_id, with_holidays, user_group_id
FROM lorivant_event_source WHERE associated_event_source_id = 70;
.parameter clear
.parameter set ?1 5
UPDATE lorivant_event_source SET schedule_table_id=0 WHERE schedule_table_id=?;
SELECT lorivant_id, access_group_id, schedule_table_id, with_holidays, user_group_id
FROM lorivant_event_source WHERE associated_event_source_id = 70;
.parameter clear
.parameter set ?1 70
DELETE FROM lorivant_event_source WHERE associated_event_source_id=?
;
SELECT count(*) FROM lorivant_event_source WHERE associated_event_source_id = 70;
SQL

write_check "repeater event source insert, update, delete" "1
0
0" <<'SQL'
INSERT INTO associated_event_source(id, event_id, event_source_id) VALUES (70, 8, 8);
.parameter set ?1 70
.parameter set ?2 1
INSERT INTO repeater_event_source(associated_event_source_id, repeater_id ) VALUES (?,?)
;
SELECT repeater_id FROM repeater_event_source WHERE associated_event_source_id = 70;
.parameter clear
.parameter set ?1 0
.parameter set ?2 70
UPDATE repeater_event_source SET repeater_id=? WHERE associated_event_source_id=?
;
SELECT repeater_id FROM repeater_event_source WHERE associated_event_source_id = 70;
.parameter clear
.parameter set ?1 70
DELETE FROM repeater_event_source WHERE associated_event_source_id=?
;
SELECT count(*) FROM repeater_event_source WHERE associated_event_source_id = 70;
SQL

write_check "input event source insert, update, delete" "12|1
11|0
0" <<'SQL'
INSERT INTO associated_event_source(id, event_id, event_source_id) VALUES (70, 3, 12);
.parameter set ?1 70
.parameter set ?2 12
.parameter set ?3 1
INSERT INTO input_event_source(associated_event_source_id, connector_id, activate_signal ) VALUES (?,?,?)
;
SELECT connector_id, activate_signal FROM input_event_source WHERE associated_event_source_id = 70;
.parameter clear
.parameter set ?1 11
.parameter set ?2 0
.parameter set ?3 70
UPDATE input_event_source SET connector_id=?,    activate_signal=? WHERE associated_event_source_id=?
;
SELECT connector_id, activate_signal FROM input_event_source WHERE associated_event_source_id = 70;
.parameter clear
.parameter set ?1 70
DELETE FROM input_event_source WHERE associated_event_source_id=?
;
SELECT count(*) FROM input_event_source WHERE associated_event_source_id = 70;
SQL

write_check "alarm system event source insert, update to 0 stores NULL, delete" "1
null
0" <<'SQL'
INSERT INTO associated_event_source(id, event_id, event_source_id) VALUES (70, 10, 4);
.parameter set ?1 70
.parameter set ?2 1
INSERT INTO alarmsystem_event_source( associated_event_source_id, alarmsystem ) VALUES (?,?)
;
SELECT alarmsystem FROM alarmsystem_event_source WHERE associated_event_source_id = 70;
.parameter clear
.parameter set ?1 0
.parameter set ?2 70
UPDATE alarmsystem_event_source SET alarmsystem=NULLIF(?,0) WHERE associated_event_source_id=?
;
SELECT typeof(alarmsystem) FROM alarmsystem_event_source WHERE associated_event_source_id = 70;
.parameter clear
.parameter set ?1 70
DELETE FROM alarmsystem_event_source WHERE associated_event_source_id=?
;
SELECT count(*) FROM alarmsystem_event_source WHERE associated_event_source_id = 70;
SQL

write_check "update event and event settings" "Renamed|51|0|101|0|301|0
0|1|0" <<'SQL'
.parameter set ?1 "'Renamed'"
.parameter set ?2 51
.parameter set ?3 0
.parameter set ?4 101
.parameter set ?5 0
.parameter set ?6 301
.parameter set ?7 0
.parameter set ?8 1
update event set name=?, associated_event_source_id=?, hotkey_id=?, camera_event_reaction_id=?,output_event_reaction_id=?, email_event_reaction_id=?, lorivant_event_reaction_id=? where id=?
;
SELECT name, associated_event_source_id, hotkey_id, camera_event_reaction_id,
       output_event_reaction_id, email_event_reaction_id, lorivant_event_reaction_id
FROM event WHERE id = 1;
.parameter clear
.parameter set ?1 0
.parameter set ?2 1
.parameter set ?3 0
update event_settings set lid_tamper=?, back_tamper=?, repeater_tamper=? where id=1
;
select lid_tamper, back_tamper, repeater_tamper from event_settings where id=1;
SQL

write_check "deleting an event takes its source and reactions with it" "0|0|0|0|0" <<'SQL'
DELETE FROM event WHERE id IN (1, 2, 3);
SELECT (SELECT count(*) FROM associated_event_source WHERE event_id IN (1, 2, 3)),
       (SELECT count(*) FROM lorivant_event_source WHERE associated_event_source_id = 51),
       (SELECT count(*) FROM camera_event_reaction WHERE event_id IN (1, 2)),
       (SELECT count(*) FROM email_event_reaction_assoc WHERE email_ev_reaction_id = 301),
       (SELECT count(*) FROM lorivant_event_reaction WHERE id = 401);
PRAGMA foreign_key_check;
SQL

# ---------------------------------------------------------------------------------------
# Reactions

camera_columns="SELECT camera.id, camera.is_disabled, camera.name, camera.user_name, camera.password, camera.internal_ip_addr, camera.internal_http_port, camera.internal_rtsp_port, camera.internal_recording_port, camera.hostname, camera.external_http_port, camera.external_rtsp_port, camera.connection_status, camera.lorivant_id, camera.is_trashed, camera_event_reaction.recording FROM camera_event_reaction INNER JOIN camera ON camera.id=camera_event_reaction.camera_id"
entrance_camera="1|0|Entrance camera|admin|entrance-cam-2023|192.168.10.64|80|554|8000|entrance-cam.local|8080|8554|1|1|0"

# 103 points to the trashed camera 2 and is never returned.
for c in "101 $entrance_camera|snapshot" "102 $entrance_camera|video" "103 "; do
    check "camera reaction ${c%% *}" "$demo" "${c#* }" <<SQL
.parameter set ?1 ${c%% *}
$camera_columns WHERE camera_event_reaction.id=? AND camera.is_trashed=0
;
SQL
done

check_sorted "all camera reactions" "$demo" "$entrance_camera|snapshot
$entrance_camera|video" <<SQL
$camera_columns WHERE camera.is_trashed=0
;
SQL

write_check "camera reaction insert, update, delete" "9|1|video
1|snapshot
0" <<'SQL'
.parameter set ?1 9
.parameter set ?2 1
.parameter set ?3 "'video'"
insert into camera_event_reaction(event_id, camera_id, recording) values (?,?,?)
;
SELECT event_id, camera_id, recording FROM camera_event_reaction WHERE id = last_insert_rowid();
.parameter clear
.parameter set ?1 1
.parameter set ?2 "'snapshot'"
.parameter set ?3 103
update camera_event_reaction set camera_id=?, recording=? where id=?
;
SELECT camera_id, recording FROM camera_event_reaction WHERE id = 103;
.parameter clear
.parameter set ?1 103
delete from camera_event_reaction where id=?
;
SELECT count(*) FROM camera_event_reaction WHERE id = 103;
SQL

anna="1|Anna Berger|anna.berger@example.com|+49 30 5550101"
desk="2|Security desk|security@example.com|+49 30 5550199"
# Recipients come back in the order they were written: 304 lists the desk first.
for c in "301 $anna
$desk" "304 $desk
$anna" "999 "; do
    check "e-mail reaction ${c%% *}" "$demo" "${c#* }" <<SQL
.parameter set ?1 ${c%% *}
select contact.id,contact.name, contact.email, contact.phone from email_event_reaction inner join email_event_reaction_assoc on email_event_reaction.id=email_event_reaction_assoc.email_ev_reaction_id inner join contact on contact.id=email_event_reaction_assoc.contact_id where email_event_reaction.id=?
;
SQL
done

check_count "all e-mail reactions" "$demo" 1 "11|301,302,303,304,305,306,307,308,309" <<'SQL'
select email_event_reaction.id,contact.id,contact.name, contact.email, contact.phone from email_event_reaction inner join email_event_reaction_assoc on email_event_reaction.id=email_event_reaction_assoc.email_ev_reaction_id inner join contact on contact.id=email_event_reaction_assoc.contact_id
;
SQL

write_check "e-mail reaction insert, contacts rewritten, delete" "2,1
1
0|0" <<'SQL'
.parameter set ?1 9
insert into email_event_reaction(event_id) values (?)
;
CREATE TEMP TABLE new_reaction AS SELECT last_insert_rowid() AS id;
.parameter clear
.parameter set ?1 "(SELECT id FROM new_reaction)"
.parameter set ?2 2
insert into email_event_reaction_assoc(email_ev_reaction_id, contact_id) values (?,?)
;
.parameter set ?2 1
insert into email_event_reaction_assoc(email_ev_reaction_id, contact_id) values (?,?)
;
SELECT group_concat(contact_id) FROM email_event_reaction_assoc
WHERE email_ev_reaction_id = (SELECT id FROM new_reaction);
.parameter clear
.parameter set ?1 "(SELECT id FROM new_reaction)"
delete from email_event_reaction_assoc where email_ev_reaction_id=?
;
.parameter set ?2 1
insert into email_event_reaction_assoc(email_ev_reaction_id, contact_id) values (?,?)
;
SELECT group_concat(contact_id) FROM email_event_reaction_assoc
WHERE email_ev_reaction_id = (SELECT id FROM new_reaction);
.parameter clear
.parameter set ?1 "(SELECT id FROM new_reaction)"
delete from email_event_reaction where id=?
;
SELECT (SELECT count(*) FROM email_event_reaction WHERE id = (SELECT id FROM new_reaction)),
       (SELECT count(*) FROM email_event_reaction_assoc
        WHERE email_ev_reaction_id = (SELECT id FROM new_reaction));
SQL

for c in "201 21|1|0|siren|3|0|180" "202 22|2|0|door_opener,light|3|2|5" \
    "203 21|1|0|siren|1|0|0"; do
    check "output reaction ${c%% *}" "$demo" "${c#* }" <<SQL
.parameter set ?1 ${c%% *}
SELECT oer.connector_id,        connector.number,        connector.current_state,        GROUP_CONCAT(ca.application),        action,        delay,        duration FROM output_event_reaction oer          INNER JOIN connector on connector.id = oer.connector_id          INNER JOIN connector_application_assoc caa on connector.id = caa.connector_id          INNER JOIN connector_application ca on caa.connector_application = ca.application WHERE oer.id = ? GROUP BY oer.connector_id;
SQL
done

# Grouped by connector, as the service's statement is: reactions 201, 203 and 204 share
# output1 and come back as one row.
check_count "all output reactions" "$demo" 2 "2|21,22" <<'SQL'
SELECT oer.id, oer.connector_id,        connector.number,        connector.current_state,        GROUP_CONCAT(ca.application),        action,        delay,        duration FROM output_event_reaction oer          INNER JOIN connector on connector.id = oer.connector_id          INNER JOIN connector_application_assoc caa on connector.id = caa.connector_id          INNER JOIN connector_application ca on caa.connector_application = ca.application GROUP BY oer.connector_id;
SQL

write_check "output reaction insert, update, delete" "9|22|4|1|30
21|2|0|0
0" <<'SQL'
.parameter set ?1 9
.parameter set ?2 22
.parameter set ?3 4
.parameter set ?4 1
.parameter set ?5 30
INSERT INTO output_event_reaction(event_id, connector_id, action, delay, duration) values(?,?,?,?,?)
;
SELECT event_id, connector_id, action, delay, duration FROM output_event_reaction
WHERE id = last_insert_rowid();
.parameter clear
.parameter set ?1 21
.parameter set ?2 2
.parameter set ?3 0
.parameter set ?4 0
.parameter set ?5 202
UPDATE output_event_reaction SET connector_id=?, action=?, delay=?, duration=? where id=?
;
SELECT connector_id, action, delay, duration FROM output_event_reaction WHERE id = 202;
.parameter clear
.parameter set ?1 202
delete from output_event_reaction where id=?
;
SELECT count(*) FROM output_event_reaction WHERE id = 202;
SQL

for c in "401 1|0|3600|20|-1" "402 0|0|0|-1|1" "403 0|7|7200|-1|-1"; do
    check "door component reaction ${c%% *}" "$demo" "${c#* }" <<SQL
.parameter set ?1 ${c%% *}
SELECT lorivant_id, access_group_id, IFNULL(duration, 0), IFNULL(counts, -1), IFNULL(panic_mode,-1) FROM lorivant_event_reaction WHERE id=?
;
SQL
done

check "all door component reactions" "$demo" "401|1|0|3600|20|-1
402|0|0|0|-1|1
403|0|7|7200|-1|-1" <<'SQL'
SELECT id, lorivant_id, access_group_id, IFNULL(duration, 0), IFNULL(counts, -1), IFNULL(panic_mode,-1) FROM lorivant_event_reaction
ORDER BY 1;
SQL

# The insert and update are assembled from fixed pieces, with the mode's columns appended.
write_check "door component reaction insert, update, delete" "2|0|600|5|-1
0|7|0|-1|1
2|0|0|-1|1
1|0|900|3|-1
0" <<'SQL'
.parameter set ?1 9
.parameter set ?2 2
.parameter set ?3 0
.parameter set ?4 600
.parameter set ?5 5
INSERT INTO lorivant_event_reaction(event_id, lorivant_id, access_group_id, duration, counts) VALUES(?,?,?,?,?);
SELECT lorivant_id, access_group_id, IFNULL(duration, 0), IFNULL(counts, -1), IFNULL(panic_mode,-1)
FROM lorivant_event_reaction WHERE id = last_insert_rowid();
.parameter clear
.parameter set ?1 9
.parameter set ?2 0
.parameter set ?3 7
.parameter set ?4 1
INSERT INTO lorivant_event_reaction(event_id, lorivant_id, access_group_id, panic_mode) VALUES(?,?,?,?);
SELECT lorivant_id, access_group_id, IFNULL(duration, 0), IFNULL(counts, -1), IFNULL(panic_mode,-1)
FROM lorivant_event_reaction WHERE id = last_insert_rowid();
.parameter clear
.parameter set ?1 2
.parameter set ?2 0
.parameter set ?3 1
.parameter set ?4 401
UPDATE lorivant_event_reaction SET lorivant_id=?, access_group_id=?, duration=NULL, counts=NULL, panic_mode=? WHERE id=?;
SELECT lorivant_id, access_group_id, IFNULL(duration, 0), IFNULL(counts, -1), IFNULL(panic_mode,-1)
FROM lorivant_event_reaction WHERE id = 401;
.parameter clear
.parameter set ?1 1
.parameter set ?2 0
.parameter set ?3 900
.parameter set ?4 3
.parameter set ?5 402
UPDATE lorivant_event_reaction SET lorivant_id=?, access_group_id=?, duration=?, counts=?, panic_mode=NULL WHERE id=?;
SELECT lorivant_id, access_group_id, IFNULL(duration, 0), IFNULL(counts, -1), IFNULL(panic_mode,-1)
FROM lorivant_event_reaction WHERE id = 402;
.parameter clear
.parameter set ?1 402
DELETE FROM lorivant_event_reaction WHERE id=?
;
SELECT count(*) FROM lorivant_event_reaction WHERE id = 402;
SQL

# Office mode as the mode switching drives it: a reaction's mode, a manual mode started
# twice (replaced, not added), counting passages, expiry, clock correction, end.
# The clock correction is run as "... WHERE timestamp IS NOT NULL": written "NOT IS NULL"
# SQLite rejects it with a syntax error whatever the schema.
write_check "office mode associations" "401|1|1001001||1000|3600|2
401|1|1001001||2000|3600|5
1
|1|1001001||1500|600|10
2
401|1|1001001||2000|3600|4
403|||7|1800|7200|0
|1|1001001||1500|600|9
401|1|1001001||2000|3600|4
401|1|1001001||1900|3600|4
401|||7|1900|3600|4
1
0
0" <<'SQL'
.parameter set ?1 401
.parameter set ?2 1
.parameter set ?3 1001001
.parameter set ?4 0
.parameter set ?5 1000
.parameter set ?6 3600
.parameter set ?7 2
INSERT OR REPLACE INTO lorivant_event_reaction_office_mode_assoc (lorivant_event_reaction_id, lorivant_id, lorivant_hw_id, access_group_id, timestamp, duration, counts_remaining ) VALUES(?,NULLIF(?,0),NULLIF(?,0),NULLIF(?,0),?,?,?);
SELECT * FROM lorivant_event_reaction_office_mode_assoc;
.parameter set ?5 2000
.parameter set ?7 5
INSERT OR REPLACE INTO lorivant_event_reaction_office_mode_assoc (lorivant_event_reaction_id, lorivant_id, lorivant_hw_id, access_group_id, timestamp, duration, counts_remaining ) VALUES(?,NULLIF(?,0),NULLIF(?,0),NULLIF(?,0),?,?,?);
SELECT * FROM lorivant_event_reaction_office_mode_assoc;
.parameter clear
.parameter set ?1 1
.parameter set ?2 1
.parameter set ?3 1001001
.parameter set ?4 1400
.parameter set ?5 600
.parameter set ?6 10
INSERT OR REPLACE INTO lorivant_event_reaction_office_mode_assoc     (lorivant_event_reaction_id, lorivant_id, lorivant_hw_id, access_group_id, timestamp, duration, counts_remaining) VALUES(     (        SELECT lorivant_event_reaction_id FROM lorivant_event_reaction_office_mode_assoc         WHERE lorivant_id=? AND lorivant_event_reaction_id IS NULL     )    ,?,?,NULL,?,?,?); 
.parameter set ?4 1500
INSERT OR REPLACE INTO lorivant_event_reaction_office_mode_assoc     (lorivant_event_reaction_id, lorivant_id, lorivant_hw_id, access_group_id, timestamp, duration, counts_remaining) VALUES(     (        SELECT lorivant_event_reaction_id FROM lorivant_event_reaction_office_mode_assoc         WHERE lorivant_id=? AND lorivant_event_reaction_id IS NULL     )    ,?,?,NULL,?,?,?); 
SELECT count(*) FROM lorivant_event_reaction_office_mode_assoc
WHERE lorivant_event_reaction_id IS NULL;
SELECT * FROM lorivant_event_reaction_office_mode_assoc WHERE lorivant_event_reaction_id IS NULL;
INSERT INTO lorivant_event_reaction_office_mode_assoc VALUES (403, NULL, NULL, 7, 1800, 7200, 0);
.parameter clear
.parameter set ?1 1001001
.parameter set ?2 7
.parameter set ?3 1001001
.parameter set ?4 7
UPDATE lorivant_event_reaction_office_mode_assoc SET counts_remaining=counts_remaining-1 WHERE counts_remaining>0 AND (    lorivant_event_reaction_id IN         (SELECT lorivant_event_reaction_id          FROM lorivant_event_reaction_office_mode_assoc         WHERE (                        ( lorivant_hw_id IS NULL AND access_group_id IS NULL )                     OR ( lorivant_hw_id IS NOT NULL AND lorivant_hw_id=NULLIF(?,0) AND access_group_id IS NULL )                     OR ( lorivant_hw_id IS NULL AND access_group_id IS NOT NULL AND access_group_id=NULLIF(?,0) )                )         )     OR lorivant_hw_id=? OR access_group_id=? )
;
SELECT changes();
SELECT * FROM lorivant_event_reaction_office_mode_assoc ORDER BY timestamp DESC;
.parameter clear
.parameter set ?1 2500
DELETE FROM lorivant_event_reaction_office_mode_assoc WHERE counts_remaining=0 OR timestamp+duration<?
;
SELECT * FROM lorivant_event_reaction_office_mode_assoc;
.parameter clear
.parameter set ?1 -100
UPDATE lorivant_event_reaction_office_mode_assoc SET timestamp=timestamp+(?) WHERE timestamp IS NOT NULL
;
SELECT * FROM lorivant_event_reaction_office_mode_assoc;
.parameter clear
.parameter set ?1 0
.parameter set ?2 0
.parameter set ?3 7
.parameter set ?4 401
UPDATE lorivant_event_reaction_office_mode_assoc SET lorivant_id=NULLIF(?,0), lorivant_hw_id=NULLIF(?,0), access_group_id=NULLIF(?,0) WHERE lorivant_event_reaction_id=?;
SELECT * FROM lorivant_event_reaction_office_mode_assoc;
.parameter clear
.parameter set ?1 401
SELECT COUNT(*) FROM lorivant_event_reaction_office_mode_assoc WHERE lorivant_event_reaction_id=?
;
DELETE FROM lorivant_event_reaction_office_mode_assoc WHERE lorivant_event_reaction_id=?
;
SELECT COUNT(*) FROM lorivant_event_reaction_office_mode_assoc WHERE lorivant_event_reaction_id=?
;
.parameter clear
.parameter set ?1 2
.parameter set ?2 2
.parameter set ?3 1001002
.parameter set ?4 3000
.parameter set ?5 600
.parameter set ?6 10
INSERT OR REPLACE INTO lorivant_event_reaction_office_mode_assoc     (lorivant_event_reaction_id, lorivant_id, lorivant_hw_id, access_group_id, timestamp, duration, counts_remaining) VALUES(     (        SELECT lorivant_event_reaction_id FROM lorivant_event_reaction_office_mode_assoc         WHERE lorivant_id=? AND lorivant_event_reaction_id IS NULL     )    ,?,?,NULL,?,?,?); 
.parameter clear
.parameter set ?1 2
DELETE FROM lorivant_event_reaction_office_mode_assoc WHERE lorivant_id=? AND lorivant_event_reaction_id IS NULL
;
SELECT count(*) FROM lorivant_event_reaction_office_mode_assoc;
SQL

write_check "panic mode associations" "402|||
402|2|1001002|
402
0" <<'SQL'
.parameter set ?1 402
.parameter set ?2 0
.parameter set ?3 0
.parameter set ?4 0
INSERT INTO lorivant_event_reaction_panic_mode_assoc (lorivant_event_reaction_id, lorivant_id, lorivant_hw_id, access_group_id ) VALUES(?,NULLIF(?,0),NULLIF(?,0),NULLIF(?,0));
SELECT * FROM lorivant_event_reaction_panic_mode_assoc;
.parameter clear
.parameter set ?1 2
.parameter set ?2 1001002
.parameter set ?3 0
.parameter set ?4 402
UPDATE lorivant_event_reaction_panic_mode_assoc SET lorivant_id=NULLIF(?,0), lorivant_hw_id=NULLIF(?,0), access_group_id=NULLIF(?,0) WHERE lorivant_event_reaction_id=?;
SELECT * FROM lorivant_event_reaction_panic_mode_assoc;
.parameter clear
.parameter set ?1 402
SELECT lorivant_event_reaction_id FROM lorivant_event_reaction_panic_mode_assoc WHERE lorivant_event_reaction_id=?
;
DELETE FROM lorivant_event_reaction_panic_mode_assoc WHERE lorivant_event_reaction_id=?
;
SELECT count(*) FROM lorivant_event_reaction_panic_mode_assoc;
SQL

# ---------------------------------------------------------------------------------------
# Event log

log=$work/log.db
cp "$demo" "$log"

# The service's insert, twice, with the identifier it computes from the sequence row; then
# entries copied from controller 3 with identifiers 1, 2, 5, 9.
check "event log insert and copy between controllers" "$log" "0
1|1|1700000100|22|4|1|0|0|0|0|0|0|0
2|2|1700000200|37|3|0|1|0|0|0|0|0|0
6" <<'SQL'
SELECT seq from sqlite_sequence where name='event_log'
;
.parameter set ?1 1700000100
.parameter set ?2 22
.parameter set ?3 4
.parameter set ?4 1
.parameter set ?5 0
.parameter set ?6 0
.parameter set ?7 0
.parameter set ?8 0
.parameter set ?9 1

        INSERT INTO event_log(datetime,message_id,event_log_group_id,lorivant_id,camera_id,repeater_id,user_id,slave_id,identifier)
        VALUES (?,?,?,?,?,?,?,?,?)
    
;
.parameter set ?1 1700000200
.parameter set ?2 37
.parameter set ?3 3
.parameter set ?4 0
.parameter set ?5 1
.parameter set ?9 2

        INSERT INTO event_log(datetime,message_id,event_log_group_id,lorivant_id,camera_id,repeater_id,user_id,slave_id,identifier)
        VALUES (?,?,?,?,?,?,?,?,?)
    
;
SELECT id, identifier, datetime, message_id, event_log_group_id, lorivant_id, camera_id,
       repeater_id, user_id, slave_id, lorivant_hw_id, repeater_sn, 0
FROM event_log ORDER BY id;
.parameter clear
INSERT into event_log(datetime, message_id, event_log_group_id, user_id,lorivant_hw_id,camera_id,repeater_id,repeater_sn,slave_id,identifier) VALUES
    (1699990001, 25, 4, 0, 0, 0, 0, 0, 3, 1),
    (1699990002, 26, 4, 0, 1001001, 0, 0, 0, 3, 2),
    (1699990005, 29, 4, 0, 0, 0, 0, 2002001, 3, 5),
    (1699990009, 59, 4, 0, 0, 0, 0, 0, 3, 9);
UPDATE event_log SET repeater_id = 1 WHERE identifier = 5 AND slave_id = 3;
SELECT seq from sqlite_sequence where name='event_log'
;
SQL

check "event log reads" "$log" "2
2|0
9|3
4
5|9|1|3
1700000100
1699990005
1|Access control
2|Administration
3|Camera
4|System" <<'SQL'
.parameter set ?1 0
SELECT max(identifier) FROM event_log WHERE slave_id=?
;
SELECT max(identifier),slave_id FROM event_log group by slave_id
;
.parameter set ?1 1
SELECT count(*) FROM event_log where identifier>?
;
select max(identifier)-min(identifier)-count(*)+1,max(identifier),min(identifier),slave_id from event_log where slave_id>0 group by slave_id
;
SELECT MAX(datetime) FROM event_log WHERE lorivant_id=?
;
SELECT MAX(datetime) FROM event_log WHERE repeater_id=?
;
SELECT id,name FROM event_log_group
;
SQL

check_sorted "gap starts of controller 3" "$log" "2
5" <<'SQL'
.parameter set ?1 3
.parameter set ?2 0
.parameter set ?3 9
select identifier from event_log el1 where not exists(select identifier from event_log el2 where el2.identifier=el1.identifier+1 and el2.slave_id=el1.slave_id) and slave_id=? and identifier>? and identifier<?
;
SQL

check "next identifier after a gap" "$log" "5" <<'SQL'
.parameter set ?1 3
.parameter set ?2 2
select identifier from event_log where slave_id=? and identifier>? limit 1
;
SQL

cp "$log" "$work/log2.db"
check "event log deletes and sequence reset" "$log" "5
4
2
0
6" <<'SQL'
.parameter set ?1 1699990002
DELETE FROM event_log WHERE datetime < ?
;
SELECT count(*) FROM event_log;
.parameter set ?1 2
DELETE FROM event_log WHERE identifier < ?
;
SELECT count(*) FROM event_log;
DELETE FROM event_log    WHERE id NOT IN        (SELECT id from event_log ORDER BY id DESC LIMIT ?)
;
SELECT count(*) FROM event_log;
DELETE FROM event_log
;
SELECT count(*) FROM event_log;
SELECT seq from sqlite_sequence where name='event_log'
;
SQL

check "keep newest 0 empties the log; sequence can be reset" "$work/log2.db" "0
0" <<'SQL'
.parameter set ?1 0
DELETE FROM event_log    WHERE id NOT IN        (SELECT id from event_log ORDER BY id DESC LIMIT ?)
;
SELECT count(*) FROM event_log;
UPDATE sqlite_sequence set seq=? where name='event_log'
;
SELECT seq from sqlite_sequence where name='event_log'
;
SQL

# A log of a million rows must not be scanned row by row by these statements.
for statement in \
    "SELECT max(identifier) FROM event_log WHERE slave_id=?" \
    "SELECT count(*) FROM event_log where identifier>?" \
    "SELECT MAX(datetime) FROM event_log WHERE lorivant_id=?" \
    "SELECT MAX(datetime) FROM event_log WHERE repeater_id=?" \
    "DELETE FROM event_log WHERE datetime < ?" \
    "DELETE FROM event_log WHERE identifier < ?" \
    "select identifier from event_log where slave_id=? and identifier>? limit 1" \
    "select identifier from event_log el1 where not exists(select identifier from event_log el2 where el2.identifier=el1.identifier+1 and el2.slave_id=el1.slave_id) and slave_id=? and identifier>? and identifier<?"; do
    if sql "$log" <<SQL; then
EXPLAIN QUERY PLAN $statement;
SQL
        if printf '%s\n' "$OUT" | grep -q 'SCAN'; then
            fail "full scan of event_log: $statement"
            printf '%s\n' "$OUT" >&2
        fi
    else
        fail "query plan of: $statement"
        printf '%s\n' "$OUT" >&2
    fi
done

if [ "$failures" -ne 0 ]; then
    echo "$failures check(s) failed" >&2
    exit 1
fi
echo "all checks passed"
