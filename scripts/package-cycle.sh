#!/usr/bin/env bash
# Takes the amd64 package through its life on this machine, as root, and checks each step:
# install (no database yet: a word, not a failure), `systemd-analyze verify` of the installed
# units, upgrade (the same package with a higher version), the installed ehs started by hand with
# its unit's user and environment against a demo database (in network and IPC namespaces of its
# own: a broker on localhost:1883 and the change queue, with one alarm), roll back to the first
# package, remove and purge.
# Then it compares the file system and the user database with before: only the database and
# the log may stay. It changes this machine (/data, the package): run it on a machine for tests.
# Usage: scripts/package-cycle.sh [package.deb]   (default: the one scripts/package.sh built)
set -euo pipefail
cd "$(dirname "$0")/.."
[ "$(id -u)" -eq 0 ] || { echo "package-cycle.sh changes the machine: run it as root" >&2; exit 2; }
deb=${1:-$(ls build-deb-amd64/ehs_*_amd64.deb)}
. scripts/packages.sh
# shellcheck disable=SC2086
scripts/install-deps.sh $runtime_packages logrotate systemd iproute2
dpkg-query -W ehs >/dev/null 2>&1 && { echo "ehs is installed already: purge it first" >&2; exit 2; }
[ ! -e /data/acs.db ] || { echo "/data/acs.db exists: this check makes its own" >&2; exit 2; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
step() { printf '\n== %s\n' "$*"; }
# Every path outside the volatile trees, and the user database: what the package may leave.
snapshot() {
    find / -xdev \( -path /proc -o -path /sys -o -path /dev -o -path /run -o -path /tmp -o -path /work \
        -o -path /var/cache -o -path /var/lib/apt -o -path /var/lib/dpkg -o -path /var/log/apt \
        -o -path /root \) -prune -o -print | sort
    getent passwd ehs || true
    getent group ehs || true
}
snapshot >"$work/before"

step "install $(dpkg-deb -f "$deb" Package Version Architecture), no database yet"
dpkg -i "$deb" 2>&1 | tee "$work/install.log"
grep -q "ehs: /data/acs.db does not exist" "$work/install.log"
getent passwd ehs
stat -c '%n %U:%G %a' /var/log/ehs.log
ls -l /etc/systemd/system/multi-user.target.wants/ehs.service /etc/systemd/system/timers.target.wants/ehs-logrotate.timer

step "systemd-analyze verify of the installed units"
systemd-analyze verify /lib/systemd/system/ehs.service /lib/systemd/system/ehs-logrotate.service \
    /lib/systemd/system/ehs-logrotate.timer
echo "clean"

step "upgrade to the same package with a higher version, database present"
mkdir -p /data
sqlite3 /data/acs.db <sql/schema.sql
sqlite3 /data/acs.db <sql/demo.sql
chgrp ehs /data /data/acs.db
chmod g+w /data /data/acs.db
dpkg-deb -R "$deb" "$work/tree"
version="$(dpkg-deb -f "$deb" Version)+cycle1"
sed -i "s/^Version: .*/Version: $version/" "$work/tree/DEBIAN/control"
dpkg-deb -b --root-owner-group "$work/tree" "$work/ehs_${version}_amd64.deb" >/dev/null
dpkg -i "$work/ehs_${version}_amd64.deb" 2>&1 | tee "$work/upgrade.log"
! grep -q "^ehs:" "$work/upgrade.log" # the database is there and writable: no word
dpkg-query -W ehs

step "the installed ehs with its unit's user and environment handles one alarm"
mapfile -t environment < <(sed -n 's/^Environment=//p' /lib/systemd/system/ehs.service)
printf '  %s\n' "${environment[@]}"
systemd-tmpfiles --create ehs.conf # the unit's ExecStartPre
# The unit's one capability too: the queue's creator here is root (the reader), as often on the
# controller.
unshare -n -i bash -euo pipefail -c '
    pids=()
    trap "kill \${pids[*]} 2>/dev/null || true" EXIT
    ip link set lo up
    mosquitto -p 1883 >/dev/null 2>&1 & pids+=($!)
    ehs_broadcast_reader >"$0/broadcast" 2>&1 & pids+=($!)
    for _ in $(seq 50); do (exec 3<>/dev/tcp/127.0.0.1/1883) 2>/dev/null && break; sleep 0.1; done
    mosquitto_sub -h localhost -v -t "event_reactions/#" -C 2 -W 20 >"$0/reactions" & sub=$!
    env -i "$@" setpriv --reuid=ehs --regid=ehs --init-groups --inh-caps=+ipc_owner --ambient-caps=+ipc_owner \
        /usr/bin/ehs >"$0/ehs.out" 2>&1 & pids+=($!)
    sleep 2 # connected and subscribed
    mosquitto_pub -h localhost -t events/alarmsystem/alarm -m "{\"alarmsystem_id\":1}"
    wait "$sub" || { cat "$0/ehs.out"; exit 1; }
    sleep 0.5
' "$work" "${environment[@]}" </dev/null
cat "$work/reactions"
[ "$(wc -l <"$work/reactions")" -eq 2 ]
sqlite3 /data/acs.db "SELECT 'event_log row', id, message_id, identifier FROM event_log"
[ "$(sqlite3 /data/acs.db "SELECT count(*) FROM event_log WHERE message_id=40")" -eq 1 ]
grep -c "INSERT INTO event_log" "$work/broadcast" | sed 's/^/change broadcasts of the row: /'
tail -n 3 /var/log/ehs.log

step "roll back to the first package"
dpkg -i "$deb"
[ "$(dpkg-query -W -f '${Version}' ehs)" = "$(dpkg-deb -f "$deb" Version)" ]
dpkg-query -W ehs

step "remove"
dpkg -r ehs
[ ! -e /usr/bin/ehs ] && [ -e /etc/logrotate.d/ehs ] && getent passwd ehs >/dev/null

step "purge"
dpkg -P ehs
snapshot >"$work/after"
echo "left behind (> new, < gone):"
diff "$work/before" "$work/after" | grep '^[<>]' || true
diff "$work/before" "$work/after" | grep '^[<>]' | grep -v -e '^> /data' -e '^> /var/log/ehs.log' \
    -e '^> /var/lib/logrotate$' && { echo "more than the database and the log stayed" >&2; exit 1; }
ls -l /var/log/ehs.log
echo "package cycle: passed"
