#!/usr/bin/env bash
# Builds everything and runs every test (unit, end-to-end and the quick fault suite, code format
# included), each fuzz target for a bounded time, then the tests again under the sanitizers.
# Usage: scripts/test.sh          (build dirs: ./build, ./build-fuzz, ./build-asan, ./build-tsan)
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
# Most tests wait on a broker, a daemon or a clock rather than compute: twice as many as cores.
(cd build && ctest --output-on-failure -j "$((jobs * 2))")
# ASan+UBSan over every test, TSan over the suites where threads meet.
scripts/sanitize.sh
