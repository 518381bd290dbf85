#!/usr/bin/env bash
# Builds the whole project for the controller (32-bit ARM, Debian armhf) and runs the complete
# test suite there, under qemu-user; the broker, the sqlite3 shell and clang-format stay native.
# Usage: scripts/armhf.sh            (sysroot: ./build-armhf-sysroot, build dir: ./build-armhf)
#
# The sysroot is made once from Debian's own armhf packages (scripts/armhf-sysroot.sh). Host tools
# come from apt-get (cross compiler, qemu-user, debootstrap).
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
cross_packages="g++-arm-linux-gnueabihf qemu-user debootstrap cmake make pkg-config"
# shellcheck disable=SC2086
scripts/install-deps.sh $cross_packages $runtime_packages clang-format git logrotate

sysroot=$PWD/build-armhf-sysroot
build="build-armhf"
jobs=$(nproc 2>/dev/null || echo 2)

seconds() { date +%s; }

start=$(seconds)
scripts/armhf-sysroot.sh
sysroot_done=$(seconds)

cmake -S . -B "$build" -DCMAKE_TOOLCHAIN_FILE=cmake/armhf-toolchain.cmake -DCMAKE_SYSROOT="$sysroot" \
    -DEHS_BUILD_TESTS=ON >/dev/null
cmake --build "$build" -j "$jobs"
build_done=$(seconds)

# The suites that need their own network and IPC namespaces make them with unshare(); without
# root they first need a user namespace, which a process under qemu-user cannot make (qemu runs
# threads of its own, and unshare(CLONE_NEWUSER) refuses threaded callers): so ctest gets one.
in_namespace=()
[ "$(id -u)" -eq 0 ] || in_namespace=(unshare --user --map-root-user)
status=0
(cd "$build" && "${in_namespace[@]}" ctest --output-on-failure -j "$jobs") || status=$?
tests_done=$(seconds)

echo "armhf: sysroot $((sysroot_done - start)) s, build $((build_done - sysroot_done)) s," \
    "tests $((tests_done - build_done)) s"
exit "$status"
