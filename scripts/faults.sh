#!/usr/bin/env bash
# Runs the fault suite against the real daemon with the full counts and prints the rows of the
# README's reliability table. Each case runs in a process, and so in network and IPC namespaces,
# of its own. The test command (scripts/test.sh) runs the same cases with quick counts.
# Usage: scripts/faults.sh [build dir, default build]
# The counts can be changed through EHS_FAULT_BROKER_KILLS, EHS_FAULT_KILL_CYCLES, EHS_FAULT_FLOOD,
# EHS_FAULT_READ_ONLY_EVENTS, EHS_FAULT_DEAD_READER_EVENTS, EHS_FAULT_FULL_EVENTS and EHS_FAULT_SEED
# (the kill times). EHS_FAULT_FULL adds the case that holds the database's write lock through the
# daemon's 25 s of retries (skipped in the test command).
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
# shellcheck disable=SC2086
scripts/install-deps.sh $build_packages $runtime_packages $test_packages
build=${1:-build}

cmake -S . -B "$build" -DEHS_BUILD_TESTS=ON >/dev/null
cmake --build "$build" -j "$(nproc 2>/dev/null || echo 2)" --target ehs ehs_broadcast_reader ehs_fault_tests >/dev/null

export EHS_FAULT_BROKER_KILLS=${EHS_FAULT_BROKER_KILLS:-10}
export EHS_FAULT_KILL_CYCLES=${EHS_FAULT_KILL_CYCLES:-200}
export EHS_FAULT_FLOOD=${EHS_FAULT_FLOOD:-100000}
export EHS_FAULT_READ_ONLY_EVENTS=${EHS_FAULT_READ_ONLY_EVENTS:-100}
export EHS_FAULT_SEED=${EHS_FAULT_SEED:-9}
export EHS_FAULT_FULL=1

suite=$build/tests/faults/ehs_fault_tests
logs=$build/tests/faults/logs
mkdir -p "$logs"
rows=$logs/rows.md
: >"$rows"
status=0
for test in $("$suite" --gtest_list_tests | awk '/^[^ ]/ { suite = $1 } /^  / { print suite $1 }'); do
    log=$logs/$test.log
    started=$(date +%s)
    if "$suite" --gtest_filter="$test" >"$log" 2>&1; then
        result=passed
    else
        result=FAILED
        status=1
    fi
    echo "$test: $result in $(($(date +%s) - started)) s (log: $log)"
    grep '^reliability: ' "$log" | sed 's/^reliability: //' >>"$rows" || true
done

echo
echo "| fault | what was tried | times | lost |"
echo "|---|---|---|---|"
cat "$rows"
exit "$status"
