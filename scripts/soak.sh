#!/usr/bin/env bash
# The soak: a million events through a real broker into the release build of the daemon at the
# highest rate it sustains, every event-log row, reaction and change broadcast counted and the
# daemon's memory sampled every five seconds; then a shorter run with the daemon under
# valgrind's memcheck, which must end without a leaked block or a memory error.
# Usage: scripts/soak.sh [events, default 1000000] [events under valgrind, default 20000]
#        [build dir, default build]
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
# shellcheck disable=SC2086
scripts/install-deps.sh $build_packages $runtime_packages $test_packages valgrind
events=${1:-1000000}
valgrind_events=${2:-20000}
build=${3:-build}

cmake -S . -B "$build" -DEHS_BUILD_TESTS=ON >/dev/null
cmake --build "$build" -j "$(nproc 2>/dev/null || echo 2)" --target ehs ehs_broadcast_reader ehs_soak >/dev/null
soak=$build/ehs_soak
logs=$build/soak-logs
mkdir -p "$logs"

status=0
run() { # name, then the environment for the run
    local name=$1 log=$logs/$1.log started
    shift
    started=$(date +%s)
    if env "$@" "$soak" >"$log" 2>&1; then
        echo "== $name: passed in $(($(date +%s) - started)) s"
    else
        echo "== $name: FAILED in $(($(date +%s) - started)) s (log: $log)"
        grep -E '(Failure|Expected|Which is|actual)' "$log" | head -20 || true
        status=1
    fi
    grep '^soak: ' "$log" | grep -v '^soak: sample ' | sed 's/^soak: /   /' || true
}
run soak EHS_SOAK_EVENTS="$events"
run soak-valgrind EHS_SOAK_EVENTS="$valgrind_events" EHS_SOAK_VALGRIND=1
echo "(memory samples: grep 'soak: sample' $logs/soak.log)"
exit "$status"
