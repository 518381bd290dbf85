#!/usr/bin/env bash
# Runs the service in the foreground on this machine: builds it, starts a mosquitto broker on
# localhost:1883 when none is listening, and logs to ./ehs.log. Stop with Ctrl-C.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
# shellcheck disable=SC2086
scripts/install-deps.sh $build_packages $runtime_packages

cmake -S . -B build >/dev/null
cmake --build build -j "$(nproc 2>/dev/null || echo 2)" --target ehs

broker_pid=""
cleanup() { [ -z "$broker_pid" ] || kill "$broker_pid" 2>/dev/null || true; }
trap cleanup EXIT INT TERM

if ! (exec 3<>/dev/tcp/127.0.0.1/1883) 2>/dev/null; then
    echo "starting mosquitto on localhost:1883"
    mosquitto -p 1883 >mosquitto.log 2>&1 &
    broker_pid=$!
    sleep 0.5
fi

export EHS_WORK_DIR="${EHS_WORK_DIR:-.}"
export ACS_DB_FILE="${ACS_DB_FILE:-/data/acs.db}"
export EHS_LOG_FILE="${EHS_LOG_FILE:-$PWD/ehs.log}"
echo "ehs running; log: $EHS_LOG_FILE (Ctrl-C stops)"
build/ehs
