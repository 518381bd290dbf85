#!/usr/bin/env bash
# Builds everything and runs every test (unit and end-to-end, code format included).
# Usage: scripts/test.sh          (build dir: ./build)
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
# shellcheck disable=SC2086
scripts/install-deps.sh $build_packages $runtime_packages $test_packages

jobs=$(nproc 2>/dev/null || echo 2)
cmake -S . -B build -DEHS_BUILD_TESTS=ON >/dev/null
cmake --build build -j "$jobs"
# Every deserializer gets arbitrary bytes for a bounded time (longer runs: scripts/fuzz.sh 600).
scripts/fuzz.sh 20
cd build
ctest --output-on-failure -j "$jobs"
