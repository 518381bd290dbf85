#!/usr/bin/env bash
# Builds the libFuzzer targets with clang (ASan + UBSan) and runs each for a bounded time.
# Usage: scripts/fuzz.sh [seconds per target, default 20]
# New inputs go to build-fuzz/fuzz/corpus-work/<target>; the committed seeds stay untouched.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-20}
jobs=$(nproc 2>/dev/null || echo 2)
CC=clang CXX=clang++ cmake -S . -B build-fuzz -DEHS_FUZZ=ON -DEHS_BUILD_TESTS=OFF -DEHS_SANITIZE=address >/dev/null
cmake --build build-fuzz -j "$jobs" --target fuzz_targets
fuzz() { # target: runs it, output in build-fuzz/fuzz/<target>.log; exit status of libFuzzer
    local target=$1 work=build-fuzz/fuzz/corpus-work/$1
    mkdir -p "$work"
    build-fuzz/fuzz/"${target}"_fuzz -max_total_time="$seconds" -print_final_stats=1 \
        -artifact_prefix=build-fuzz/fuzz/"$target"- "$work" fuzz/corpus/"$target" \
        >build-fuzz/fuzz/"$target".log 2>&1
}
# One target per core at a time: each libFuzzer run is single-threaded.
targets=$(for corpus in fuzz/corpus/*/; do basename "$corpus"; done)
echo "fuzzing" $targets "for ${seconds}s each, $jobs at a time"
declare -A pids
status=0
for target in $targets; do
    while [ "$(jobs -rp | wc -l)" -ge "$jobs" ]; do wait -n || true; done
    fuzz "$target" &
    pids[$target]=$!
done
for target in $targets; do
    result=0
    wait "${pids[$target]}" || result=$?
    log=build-fuzz/fuzz/$target.log
    echo "$target: $(grep -E "^stat::number_of_executed_units" "$log" || echo "no stats")"
    if [ "$result" -ne 0 ]; then
        tail -40 "$log"
        echo "fuzz target $target found a fault (full output: $log)"
        status=1
    fi
done
exit "$status"
