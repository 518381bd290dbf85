#!/usr/bin/env bash
# Takes the amd64 package through its life under a real systemd and checks each step: a Debian
# system of its own (made once by debootstrap in ./build-systemd-root) booted with systemd as
# PID 1 in namespaces of its own (PID, mount, network, IPC, host name), on an overlay so every run
# starts from the same clean system. Nothing of this machine changes: no port, queue, user or
# file outside ./build-systemd-root and a temporary folder.
#   install without a database: a word, not a failure; the units enabled, the service retrying
#   systemd-analyze verify of the installed units
#   the database arrives: the service becomes active under its hardened unit, handles an alarm
#     and a bad payload, shows its STATUS line in `systemctl status`, keeps the watchdog fed
#   the timer's rotation unit rotates the log; upgrade (a higher version) and roll back restart
#   the service
#   remove stops it; purge leaves nothing but the database and the log
# Usage: scripts/package-cycle.sh [package.deb]   (default: the one scripts/package.sh built)
# Exit status 77: skipped, systemd did not boot here (the package was not tried).
set -euo pipefail
cd "$(dirname "$0")/.."
[ "$(id -u)" -eq 0 ] || { echo "package-cycle.sh boots a system in namespaces: run it as root" >&2; exit 2; }
deb=$(realpath "${1:-$(ls build-deb-amd64/ehs_*_amd64.deb)}")
scripts/install-deps.sh debootstrap util-linux dpkg-dev

root=$PWD/build-systemd-root
if [ ! -x "$root/lib/systemd/systemd" ]; then
    echo "making the system to boot in $root"
    rm -rf "$root" "$root.partial"
    # What the package depends on and what the checks use; dpkg -i refuses a missing dependency.
    debootstrap --variant=minbase --include=systemd,systemd-sysv,dbus,mosquitto,mosquitto-clients,sqlite3,logrotate \
        bookworm "$root.partial" "${EHS_DEBIAN_MIRROR:-http://deb.debian.org/debian}" >"$root.log" 2>&1 ||
        { tail -20 "$root.log"; echo "debootstrap failed (full log: $root.log)" >&2; exit 1; }
    rm -f "$root.partial/var/cache/apt/archives/"*.deb
    # The installer writes /etc/hosts, no package does: ehs's broker is "localhost".
    printf '127.0.0.1\tlocalhost\n::1\t\tlocalhost ip6-localhost ip6-loopback\n' >"$root.partial/etc/hosts"
    mv "$root.partial" "$root"
fi

work=$(mktemp -d)
booted=""
cleanup() {
    [ -z "$booted" ] || kill -KILL "$booted" 2>/dev/null || true # PID 1 of the namespace: all go
    wait 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT
step() { printf '\n== %s\n' "$*"; }
fail() { echo "package cycle: $*" >&2; exit 1; }

# The files the system needs, in the overlay's upper layer: the packages and the demo database.
mkdir -p "$work/upper/root/cycle" "$work/overlay" "$work/merged"
cp "$deb" "$work/upper/root/cycle/ehs.deb"
cp sql/schema.sql sql/demo.sql "$work/upper/root/cycle/"
dpkg-deb -R "$deb" "$work/tree"
version=$(dpkg-deb -f "$deb" Version)
sed -i "s/^Version: .*/Version: $version+cycle1/" "$work/tree/DEBIAN/control"
dpkg-deb -b --root-owner-group "$work/tree" "$work/upper/root/cycle/ehs-upgrade.deb" >/dev/null

unshare --pid --fork --mount --uts --ipc --net --propagation private bash -euc '
    work=$1 root=$2 m=$1/merged
    mount -t overlay overlay -o "lowerdir=$root,upperdir=$work/upper,workdir=$work/overlay" "$m"
    mount -t proc proc "$m/proc"
    mount --rbind /sys "$m/sys"
    mount --rbind /dev "$m/dev"
    mount -t tmpfs tmpfs "$m/run"
    mount -t tmpfs tmpfs "$m/tmp"
    hostname controller
    cd "$m" && mkdir -p .host && pivot_root . .host && umount -l /.host && rmdir /.host
    container=ehs-cycle exec /lib/systemd/systemd --system
' boot "$work" "$root" >"$work/boot.log" 2>&1 &
inside() { nsenter -t "$booted" -a "$@"; }
for _ in $(seq 100); do
    booted=$(pgrep -P $! || true)
    [ -z "$booted" ] || [ "$(cat "/proc/$booted/comm")" != systemd ] || break
    sleep 0.1
done
# systemctl gives up at once when the manager's socket is not there yet, --wait or not.
for _ in $(seq 300); do
    inside test -S /run/systemd/private 2>/dev/null && break
    sleep 0.1
done
state=$(timeout 120 nsenter -t "$booted" -a systemctl is-system-running --wait 2>"$work/state.err" || true)
case $state in
running) ;;
degraded) inside systemctl --failed --no-pager ;; # none of ours: they are not installed yet
*)
    cat "$work/boot.log" "$work/state.err"
    ps -o pid,stat,etime,args -p "${booted:-0}" || true
    echo "package cycle: skipped, systemd does not boot in namespaces on this machine ('$state')" >&2
    exit 77
    ;;
esac

# Waits up to 30 s for a command inside to print the expected text.
await() {
    local expected=$1 seen=""
    shift
    for _ in $(seq 300); do
        seen=$(inside "$@" 2>&1 || true)
        [ "$seen" != "$expected" ] || return 0
        sleep 0.1
    done
    fail "'$*' printed '$seen', not '$expected'"
}
show() { inside systemctl show -p "$1" --value "$2"; }
# Every path outside the volatile trees, and the user database: what the package may leave.
snapshot() {
    inside bash -c 'find / -xdev \( -path /proc -o -path /sys -o -path /dev -o -path /run -o -path /tmp \
        -o -path /root -o -path /var/cache -o -path /var/lib/apt -o -path /var/lib/dpkg \
        -o -path /var/log/journal \) -prune -o -print | sort; getent passwd ehs; getent group ehs' || true
}
snapshot >"$work/before"

step "install $(dpkg-deb -W --showformat '${Package} ${Version} ${Architecture}' "$deb") into a booted system, no database yet"
inside dpkg -i /root/cycle/ehs.deb 2>&1 | tee "$work/install.log"
grep -q "^ehs: /data/acs.db does not exist" "$work/install.log" || fail "no word on the missing database"
! grep -q "Could not execute" "$work/install.log" || fail "systemctl's complaint on the missing database"
for unit in ehs.service ehs-logrotate.timer; do
    [ "$(inside systemctl is-enabled $unit)" = enabled ] || fail "$unit is not enabled"
done
[ "$(inside systemctl is-active ehs-logrotate.timer)" = active ] || fail "the rotation timer is not active"
inside stat -c '%n %U:%G %a' /var/log/ehs.log
sleep 3
echo "ehs without its database: $(show ActiveState ehs)/$(show SubState ehs), restarted $(show NRestarts ehs) times"
[ "$(show NRestarts ehs)" -ge 1 ] || fail "ehs is not retrying"
# What `systemctl status ehs` shows under the state: the reason, from ehs's standard error.
inside journalctl -u ehs -o cat | grep -m 1 "what():  db \"/data/acs.db\" doesn't exist in filesystem" ||
    fail "the reason is not in the journal"

step "systemd-analyze verify of the installed units"
inside systemd-analyze verify ehs.service ehs-logrotate.service ehs-logrotate.timer >"$work/verify" 2>&1 ||
    { cat "$work/verify"; fail "verify failed"; }
[ ! -s "$work/verify" ] || { cat "$work/verify"; fail "verify had something to say"; }
echo "clean"

step "the database arrives: the service starts under its unit, handles an alarm and a bad payload"
inside systemd-run --quiet --unit=ehs-reader /usr/bin/ehs_broadcast_reader
inside bash -ec 'mkdir /data && sqlite3 /data/acs.db </root/cycle/schema.sql && sqlite3 /data/acs.db </root/cycle/demo.sql
    chgrp ehs /data /data/acs.db && chmod g+w /data /data/acs.db'
await active systemctl is-active ehs
inside systemd-run --quiet --unit=ehs-subscriber --property=StandardOutput=file:/root/cycle/reactions \
    mosquitto_sub -h localhost -v -t "event_reactions/#" -C 2 -W 20
sleep 0.5
inside mosquitto_pub -h localhost -t events/alarmsystem/alarm -m '{"alarmsystem_id":1}'
inside mosquitto_pub -h localhost -t events/alarmsystem/alarm -m '{"alarmsystem_id":'
await inactive systemctl is-active ehs-subscriber
inside cat /root/cycle/reactions | tee "$work/reactions"
cat >"$work/expected" <<'EOF'
event_reactions/camera/video {"camera_id":1}
event_reactions/external_io/output {"connector":"output1","signal":"Open Timed","delay_start":0,"duration":180}
EOF
diff "$work/expected" "$work/reactions" || fail "not the alarm's reactions"
await "handled 1 event, refused 1 payload, published 2 reactions, 0 database errors" \
    systemctl show -p StatusText --value ehs
inside systemctl status ehs --no-pager --lines=0 | sed -n '1,/Status:/p'
inside sqlite3 /data/acs.db "SELECT 'event_log row', id, message_id, identifier FROM event_log"
[ "$(inside sqlite3 /data/acs.db "SELECT count(*) FROM event_log WHERE message_id=40")" -eq 1 ] ||
    fail "no event_log row of the alarm"
inside journalctl -u ehs-reader --no-pager -o cat | grep "INSERT INTO event_log" || fail "no change broadcast"
pid=$(show MainPID ehs)

step "the watchdog (WatchdogSec=$(inside sed -n 's/^WatchdogSec=//p' /lib/systemd/system/ehs.service)) stays fed"
sleep 11
[ "$(show MainPID ehs)" = "$pid" ] && [ "$(inside systemctl is-active ehs)" = active ] ||
    fail "ehs was restarted: $(inside journalctl -u ehs --no-pager -o cat | tail -5)"
echo "the same process $pid, 11 s later"

step "the timer's rotation unit rotates the log past 1 MiB under the running service"
inside systemctl start ehs-logrotate.service # under 1 MiB: nothing to do
inside test ! -e /var/log/ehs.log.1.gz || fail "rotated a small log"
inside bash -c 'yes "a line of an error flood" | head -c 1100000 >>/var/log/ehs.log'
inside systemctl start ehs-logrotate.service
[ "$(show Result ehs-logrotate.service)" = success ] || fail "ehs-logrotate.service failed"
inside test -s /var/log/ehs.log.1.gz || fail "no /var/log/ehs.log.1.gz"
inside mosquitto_pub -h localhost -t events/alarmsystem/alarm -m '{"alarmsystem_id":'
await 1 bash -c 'grep -c "" /var/log/ehs.log' # the refusal's line
# At the start of the emptied file: appended, not written at the old offset behind a hole.
[ "$(inside stat -c %s /var/log/ehs.log)" -lt 1000 ] || fail "the line did not land at the start"
inside bash -c 'ls -l /var/log/ehs.log*; cat /var/log/ehs.log'

step "upgrade to the same package with a higher version restarts the service"
inside dpkg -i /root/cycle/ehs-upgrade.deb 2>&1 | tee "$work/upgrade.log"
! grep -q "^ehs:" "$work/upgrade.log" || fail "a word on a database that is there"
await active systemctl is-active ehs
[ "$(show MainPID ehs)" != "$pid" ] || fail "the upgrade did not restart ehs"
pid=$(show MainPID ehs)
inside dpkg-query -W ehs

step "roll back to the first package"
inside dpkg -i /root/cycle/ehs.deb 2>&1 | grep -v "^(Reading"
await active systemctl is-active ehs
[ "$(show MainPID ehs)" != "$pid" ] || fail "the roll back did not restart ehs"
[ "$(inside dpkg-query -W -f '${Version}' ehs)" = "$version" ] || fail "not rolled back"
inside dpkg-query -W ehs

step "remove stops the service"
inside dpkg -r ehs
for unit in ehs.service ehs-logrotate.timer; do
    [ "$(inside systemctl is-active $unit)" = inactive ] || fail "$unit still runs"
done
inside test ! -e /usr/bin/ehs || fail "/usr/bin/ehs stayed"
echo "ehs.service and ehs-logrotate.timer: inactive"

step "purge"
inside dpkg -P ehs
inside systemctl stop ehs-reader
snapshot >"$work/after"
echo "left behind (> new, < gone):"
diff "$work/before" "$work/after" | grep '^[<>]' || true
diff "$work/before" "$work/after" | grep '^[<>]' | grep -v -e '^> /data$' -e '^> /data/acs.db$' \
    -e '^> /var/log/ehs.log$' -e '^> /var/log/ehs.log.1.gz$' -e '^> /var/lib/logrotate$' &&
    fail "more than the database and the log stayed"
inside ls -l /var/log/ehs.log
echo "package cycle under systemd: passed"
