#!/usr/bin/env python3
"""The armed-event path of the event handling service as a user could write it in Python.

The baseline the benchmark compares the service with: a straightforward, careful
implementation with the standard sqlite3 module (and its statement cache) and the paho MQTT
client. For an "events/alarmsystem/armed" event it writes the event-log row inside an
immediate transaction, reads the configured events of the source, the default language, the
associated source with its alarm-system details and the camera and output reactions, with
the service's statements, and publishes one JSON command per reaction. Same pragmas as the
service; Nagle's algorithm off. Like the service it announces the insert on the System V queue
of the controller's other processes (Python's sqlite3 has no update hook, so it writes the
message itself, through libc) and pets systemd's watchdog once per commit (on a socket kept
open), so both do the same work.

Usage: python_baseline.py DATABASE [PORT]
"""
import ctypes
import json
import os
import socket
import sqlite3
import sys
import time

import paho.mqtt.client as mqtt

SEQUENCE = "SELECT seq from sqlite_sequence where name='event_log'"
INSERT = """
        INSERT INTO event_log(datetime,message_id,event_log_group_id,lorivant_id,camera_id,repeater_id,user_id,slave_id,identifier)
        VALUES (?,?,?,?,?,?,?,?,?)
    """
EVENTS = (
    "select event.id, name, associated_event_source_id, hotkey_id, camera_event_reaction_id,"
    "output_event_reaction_id, email_event_reaction_id, lorivant_event_reaction_id from event inner join "
    "associated_event_source on associated_event_source.id=associated_event_source_id where "
    "associated_event_source.event_source_id in (     select event_source.id     from event_source     "
    "where event_source.id%?=? )")
LANGUAGE = ("SELECT language.code FROM settings INNER JOIN language ON language.code = "
            "settings.value WHERE settings.key = 'default_language'")
ASSOCIATED = (
    "SELECT associated_event_source.event_id,       associated_event_source.event_source_id,       "
    "event_source.name,       event_source.type FROM associated_event_source INNER JOIN event_source    "
    "ON associated_event_source.event_source_id=event_source.id%? INNER JOIN language  ON "
    "event_source.lang_code = language.id WHERE language.code=?   AND associated_event_source.id=?")
ALARMSYSTEM = (
    "SELECT alarmsystem_event_source.alarmsystem,       alarmsystem.name,       alarmsystem.status,       "
    "alarmsystem.last_disarm_time,       alarmsystem.last_arm_time,       alarmsystem.disarm_by_guard FROM "
    "alarmsystem_event_source INNER JOIN alarmsystem     ON alarmsystem_event_source.alarmsystem=alarmsystem.id "
    "WHERE alarmsystem_event_source.associated_event_source_id=?")
CAMERA = (
    "SELECT camera.id, camera.is_disabled, camera.name, camera.user_name, camera.password, "
    "camera.internal_ip_addr, camera.internal_http_port, camera.internal_rtsp_port, "
    "camera.internal_recording_port, camera.hostname, camera.external_http_port, camera.external_rtsp_port, "
    "camera.connection_status, camera.lorivant_id, camera.is_trashed, camera_event_reaction.recording "
    "FROM camera_event_reaction INNER JOIN camera ON camera.id=camera_event_reaction.camera_id "
    "WHERE camera_event_reaction.id=? AND camera.is_trashed=0")
OUTPUT = (
    "SELECT oer.connector_id,        connector.number,        connector.current_state,        "
    "GROUP_CONCAT(ca.application),        action,        delay,        duration FROM output_event_reaction "
    "oer          INNER JOIN connector on connector.id = oer.connector_id          INNER JOIN "
    "connector_application_assoc caa on connector.id = caa.connector_id          INNER JOIN "
    "connector_application ca on caa.connector_application = ca.application WHERE oer.id = ? GROUP BY "
    "oer.connector_id;")

SIGNALS = {0: "undefined", 1: "Open Latched (NO)", 2: "Closed Latched (NC)", 3: "Open Timed", 4: "Closed Timed"}
MODULUS = 1000
ARMED_SOURCE = 3


class BroadcastMessage(ctypes.Structure):
    _fields_ = [("type", ctypes.c_long), ("table", ctypes.c_char * 64), ("sql", ctypes.c_char * 1024)]


class Announcer:
    """The change broadcast and the watchdog pet that follow every commit."""

    def __init__(self):
        self.libc = ctypes.CDLL(None, use_errno=True)
        self.libc.ftok.restype = ctypes.c_int
        key = self.libc.ftok(b"/dev/random", 82)
        self.msqid = self.libc.msgget(key, 0o1644)
        self.notify = None
        path = os.environ.get("NOTIFY_SOCKET")
        if path:
            self.notify = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
            self.notify.connect("\0" + path[1:] if path.startswith("@") else path)

    def committed(self, table, sql):
        if self.notify:
            self.notify.send(b"WATCHDOG=1")
        message = BroadcastMessage(1, table.encode()[:63], sql.encode()[:1023])
        if self.libc.msgsnd(self.msqid, ctypes.byref(message), 1088, 0) == -1:
            print("failed to msgsnd: %s" % os.strerror(ctypes.get_errno()), file=sys.stderr)


def open_database(path):
    db = sqlite3.connect(path, isolation_level=None, check_same_thread=False, cached_statements=128)
    for pragma in ("foreign_keys=ON", "journal_mode=MEMORY", "synchronous=OFF", "busy_timeout=50"):
        db.execute("PRAGMA " + pragma)
    return db


def write_event_log(db, announcer, message_id, group):
    db.execute("BEGIN IMMEDIATE")
    try:
        row = db.execute(SEQUENCE).fetchone()
        if row is None:
            raise sqlite3.DatabaseError("empty query")
        values = (int(time.time()), message_id, group, 0, 0, 0, 0, 0, row[0] + 1)
        db.execute(INSERT, values)
        db.execute("COMMIT")
    except sqlite3.Error as error:
        db.execute("ROLLBACK")
        print("failed to write event log [message_id=%d] : %s" % (message_id, error), file=sys.stderr)
        return
    announcer.committed("event_log", INSERT.replace("?,?,?,?,?,?,?,?,?", ",".join(str(v) for v in values)))


def find_reactions(db, source):
    records = []
    for event in db.execute(EVENTS, (MODULUS, source)).fetchall():
        record = {"event": event}
        if event[2]:
            language = db.execute(LANGUAGE).fetchone()[0]
            associated = db.execute(ASSOCIATED, (MODULUS, language, event[2])).fetchone()
            record["type"] = associated[3]
            if associated[3] == "alarmsystem":
                record["alarmsystem"] = db.execute(ALARMSYSTEM, (event[2],)).fetchone()
        if event[4]:
            record["camera"] = db.execute(CAMERA, (event[4],)).fetchone()
        if event[5]:
            record["output"] = db.execute(OUTPUT, (event[5],)).fetchone()
        records.append(record)
    return records


def publish_reactions(client, record):
    camera = record.get("camera")
    if camera and camera[15] in ("snapshot", "video"):
        client.publish("event_reactions/camera/" + camera[15], json.dumps({"camera_id": camera[0]}))
    output = record.get("output")
    if output:
        client.publish("event_reactions/external_io/output", json.dumps({
            "connector": "output%d" % output[1] if output[0] else "unused",
            "signal": SIGNALS.get(output[4], "undefined"),
            "delay_start": output[5],
            "duration": output[6],
        }))


def main():
    db = open_database(sys.argv[1])
    port = int(sys.argv[2]) if len(sys.argv) > 2 else 1883
    announcer = Announcer()

    def on_connect(client, userdata, flags, rc):
        client.socket().setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        client.subscribe("events/alarmsystem/armed")

    def on_subscribe(client, userdata, mid, granted_qos):
        print("ready", flush=True)

    def on_armed(client, userdata, message):
        try:
            alarmsystem_id = json.loads(message.payload)["alarmsystem_id"]
        except (ValueError, KeyError, TypeError):
            return
        write_event_log(db, announcer, 25, 4)
        for record in find_reactions(db, ARMED_SOURCE):
            alarmsystem = record.get("alarmsystem")
            if record.get("type") != "alarmsystem":
                continue
            if alarmsystem and alarmsystem[0] not in (0, alarmsystem_id):
                continue
            publish_reactions(client, record)

    client = mqtt.Client(client_id="python_baseline")
    client.on_connect = on_connect
    client.on_subscribe = on_subscribe
    client.on_message = on_armed
    client.connect("127.0.0.1", port, 60)
    client.loop_forever()


if __name__ == "__main__":
    main()
