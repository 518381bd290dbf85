#!/usr/bin/env bash
# Runs the service on this machine with the demo installation: builds it, creates
# ./data/acs.db from sql/schema.sql and sql/demo.sql when missing, starts a mosquitto broker on
# localhost:1883 when none is listening and a reader of the change-broadcast queue (the service
# blocks once that queue is full), then runs ehs in the foreground with its log in ./ehs.log
# and sends one sample event through it. Ctrl-C stops everything it started.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
# shellcheck disable=SC2086
scripts/install-deps.sh $build_packages $runtime_packages

cmake -S . -B build >/dev/null
cmake --build build -j "$(nproc 2>/dev/null || echo 2)" --target ehs ehs_broadcast_reader >/dev/null

mkdir -p data
if [ ! -f data/acs.db ]; then
    echo "creating data/acs.db (schema and demo installation)"
    sqlite3 data/acs.db <sql/schema.sql
    sqlite3 data/acs.db <sql/demo.sql
fi

pids=()
cleanup() { [ ${#pids[@]} -eq 0 ] || kill "${pids[@]}" 2>/dev/null || true; }
trap cleanup EXIT
trap 'exit 130' INT TERM

if ! (exec 3<>/dev/tcp/127.0.0.1/1883) 2>/dev/null; then
    echo "starting mosquitto on localhost:1883 (log: mosquitto.log)"
    printf 'listener 1883 localhost\nallow_anonymous true\n' >data/mosquitto.conf
    mosquitto -c data/mosquitto.conf >mosquitto.log 2>&1 &
    pids+=($!)
    for _ in $(seq 50); do (exec 3<>/dev/tcp/127.0.0.1/1883) 2>/dev/null && break; sleep 0.1; done
fi

build/ehs_broadcast_reader >broadcast.log &
pids+=($!)
mosquitto_sub -h localhost -v -t 'event_reactions/#' >reactions.log &
pids+=($!)

export EHS_LOG_FILE="${EHS_LOG_FILE:-$PWD/ehs.log}"
: >"$EHS_LOG_FILE"
build/ehs &
ehs=$!
pids+=($ehs)
for _ in $(seq 50); do grep -q "EHS starting up" "$EHS_LOG_FILE" 2>/dev/null && break; sleep 0.1; done
sleep 0.5 # the subscriptions follow the connection

topic=events/alarmsystem/alarm
payload='{"alarmsystem_id":1}'
echo
echo "== sample event: the alarm of alarm system 1 =="
echo "published   $topic $payload"
mosquitto_pub -h localhost -t "$topic" -m "$payload"
for _ in $(seq 50); do [ "$(wc -l <reactions.log)" -ge 2 ] && break; sleep 0.1; done
echo "reactions:"
sed 's/^/            /' reactions.log
echo "event log:  $(sqlite3 data/acs.db "SELECT printf('row %d: message %d (%s), group %d, identifier %d, %s UTC',
    id, message_id, (SELECT text FROM event_log_message m WHERE m.id = message_id AND m.lang_code = 1),
    event_log_group_id, identifier, datetime(datetime, 'unixepoch')) FROM event_log ORDER BY id DESC LIMIT 1")"
echo "broadcast:  $(tail -n 1 broadcast.log | cut -c1-100)..."
cat <<HELP

== try it yourself (ehs keeps running; Ctrl-C stops it) ==
  mosquitto_sub -v -t 'event_reactions/#'
  mosquitto_pub -t events/end_device/access_denied -m '{"hardware_id":1001001,"tag_id":"04A1B2C3"}'
  mosquitto_pub -t events/external_io/input -m '{"connector":"input1","signal":"High","source":0}'
  mosquitto_pub -t $topic -m '$payload'
  sqlite3 data/acs.db 'SELECT * FROM event_log ORDER BY id DESC LIMIT 5'
  tail -f ehs.log broadcast.log reactions.log
HELP
wait "$ehs"
