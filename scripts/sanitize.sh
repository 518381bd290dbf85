#!/usr/bin/env bash
# Builds and runs the tests under the sanitizers, each in a build directory of its own:
#   build-asan  AddressSanitizer + UndefinedBehaviorSanitizer (leaks included): every test (but the
#               format check), built without the benchmark
#   build-tsan  ThreadSanitizer: the suites where threads meet (the MQTT client and its
#               libmosquitto thread, the handlers beside the supervision thread, the real daemon
#               end to end with its watchdog and supervision threads, and the fault suite)
# A finding in any process counts, also in a daemon or tool that a test started and killed: the
# sanitizers write their reports to <build dir>/sanitizer-reports/, which must stay empty.
# Usage: scripts/sanitize.sh [address|thread]   (default: both)
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
# shellcheck disable=SC2086
scripts/install-deps.sh $build_packages $runtime_packages $test_packages
jobs=$(nproc 2>/dev/null || echo 2)
kinds=${1:-"address thread"}

# Line tables only: reports still name file and line. ASan at -O0 builds a fifth faster than at
# -O1 and runs the suite as fast (it waits more than it computes). TSan keeps -O1: its suites
# are the ones that time threads, so its build stays closer to the real one.
configure() { # build dir, sanitizer, optimisation level
    cmake -S . -B "$1" -DEHS_SANITIZE="$2" -DEHS_BUILD_TESTS=ON -DCMAKE_BUILD_TYPE=Debug \
        "-DCMAKE_CXX_FLAGS_DEBUG=$3 -g1" "-DCMAKE_C_FLAGS_DEBUG=$3 -g1" >/dev/null
}

# Suppression files hold one entry per finding that is not ours, each with its reason.
suppressions=$PWD/tests/sanitizers

run_suite() { # kind, build dir, ctest arguments...
    local kind=$1 dir=$2
    shift 2
    local reports=$PWD/$dir/sanitizer-reports
    rm -rf "$reports"
    mkdir -p "$reports"
    local status=0
    echo "== $kind: ctest in $dir"
    # Twice as many tests as cores: most of them wait on a broker, a daemon or a clock.
    (cd "$dir" && ctest --output-on-failure -j "$((jobs * 2))" "$@") >"$dir/ctest.log" 2>&1 || status=$?
    if [ "$status" -ne 0 ]; then
        # The output of the failed tests, without the lines of those that passed.
        grep -v -E '^ +Start +[0-9]+: |Passed +[0-9.]+ sec$' "$dir/ctest.log" | sed '/tests passed/,$d' || true
    fi
    # ctest's summary: the pass count and, when some failed, their names.
    sed -n '/tests passed/,$p' "$dir/ctest.log"
    local found
    found=$(find "$reports" -type f | sort)
    if [ -n "$found" ]; then
        echo "$kind: sanitizer reports in $reports:"
        for report in $found; do
            echo "---- $report"
            head -60 "$report"
        done
        status=1
    fi
    return "$status"
}

status=0
for kind in $kinds; do
    case $kind in
    address)
        configure build-asan address -O0
        cmake --build build-asan -j "$jobs" --target ehs_tests >build-asan/build.log 2>&1 ||
            { tail -40 build-asan/build.log; exit 1; }
        # halt_on_error: a child that the test does not watch still dies and leaves its report.
        export ASAN_OPTIONS="halt_on_error=1:detect_leaks=1:check_initialization_order=1:strict_init_order=1:log_path=$PWD/build-asan/sanitizer-reports/asan"
        export LSAN_OPTIONS="suppressions=$suppressions/lsan.supp"
        export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1:log_path=$PWD/build-asan/sanitizer-reports/ubsan"
        # The format check runs no code of ours: the plain run has it.
        run_suite "ASan+UBSan" build-asan -E '^code_format$' || status=1
        unset ASAN_OPTIONS LSAN_OPTIONS UBSAN_OPTIONS
        ;;
    thread)
        configure build-tsan thread -O1
        cmake --build build-tsan -j "$jobs" --target ehs_mqtt_tests ehs_eventhandling_tests ehs_daemon_tests ehs_fault_tests \
            >build-tsan/build.log 2>&1 || { tail -40 build-tsan/build.log; exit 1; }
        export TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1:suppressions=$suppressions/tsan.supp:log_path=$PWD/build-tsan/sanitizer-reports/tsan"
        # Only the suites built above; the others appear as <suite>_NOT_BUILT placeholders.
        run_suite "TSan" build-tsan -E '_NOT_BUILT$|^code_format$' || status=1
        unset TSAN_OPTIONS
        ;;
    *)
        echo "usage: scripts/sanitize.sh [address|thread]" >&2
        exit 2
        ;;
    esac
done
exit "$status"
