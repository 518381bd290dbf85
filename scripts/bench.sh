#!/usr/bin/env bash
# Builds the service and its benchmarks in ./build-bench and runs them: ehs_bench (the daemon end
# to end through a real broker in private namespaces, beside the database work alone, a Python
# baseline and, on an installation that has lived for years, one supervision run), then the
# micro-benchmarks of the steps of one event. About four minutes; --quick checks that everything
# works in under one, with rough figures. Other options go to ehs_bench (--small, --scale,
# --no-python). Run it on an otherwise idle machine: every figure is wall-clock or CPU time.
# Usage: scripts/bench.sh [--quick] [ehs_bench options...]
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
# shellcheck disable=SC2086
scripts/install-deps.sh $build_packages $runtime_packages libbenchmark-dev python3-paho-mqtt git

jobs=$(nproc 2>/dev/null || echo 2)
cmake -S . -B build-bench -DEHS_BUILD_BENCH=ON -DEHS_BUILD_TESTS=OFF >/dev/null
cmake --build build-bench -j "$jobs" --target ehs ehs_bench ehs_micro_bench >/dev/null
# A binary just linked has page-cache pages not yet written back, which count as Private_Dirty
# of every process that maps them: write them out so the memory figures are the service's own.
sync

min_time=0.5
for arg in "$@"; do [ "$arg" = --quick ] && min_time=0.05; done
status=0
build-bench/ehs_bench "$@" || status=$?
echo "== steps of one event (Google Benchmark, no change broadcast) =="
build-bench/ehs_micro_bench --benchmark_min_time="$min_time" 2>&1 | grep -v '^\*\*\*WARNING'
exit "$status"
