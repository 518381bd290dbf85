#!/usr/bin/env bash
# Builds the libFuzzer targets with clang (ASan + UBSan) and runs each for a bounded time.
# Usage: scripts/fuzz.sh [seconds per target, default 20]
# New inputs go to build-fuzz/fuzz/corpus-work/<target>; the committed seeds stay untouched.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-20}
CC=clang CXX=clang++ cmake -S . -B build-fuzz -DEHS_FUZZ=ON -DEHS_BUILD_TESTS=OFF -DEHS_SANITIZE=address >/dev/null
cmake --build build-fuzz -j "$(nproc 2>/dev/null || echo 2)" --target fuzz_targets
for corpus in fuzz/corpus/*/; do
    target=$(basename "$corpus")
    work=build-fuzz/fuzz/corpus-work/$target
    mkdir -p "$work"
    echo "fuzzing $target for ${seconds}s"
    log=build-fuzz/fuzz/$target.log
    status=0
    build-fuzz/fuzz/"${target}"_fuzz -max_total_time="$seconds" -print_final_stats=1 \
        -artifact_prefix=build-fuzz/fuzz/"$target"- "$work" "$corpus" >"$log" 2>&1 || status=$?
    grep -E "^stat::number_of_executed_units" "$log" || true
    if [ "$status" -ne 0 ]; then
        tail -40 "$log"
        echo "fuzz target $target found a fault (full output: $log)"
        exit 1
    fi
done
