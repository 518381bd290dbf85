#!/usr/bin/env bash
# Builds the whole project for the controller (32-bit ARM, Debian armhf) and runs the complete
# test suite there, under qemu-user; the broker, the sqlite3 shell and clang-format stay native.
# Usage: scripts/armhf.sh            (sysroot: ./build-armhf-sysroot, build dir: ./build-armhf)
#
# The sysroot is made once from Debian's own armhf packages and never touches the host's package
# set: debootstrap's first stage downloads them into the folder (--foreign: nothing of the
# target is run), then every downloaded package is unpacked there. Delete the folder to make it
# anew. Host tools come from apt-get (cross compiler, qemu-user, debootstrap).
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
cross_packages="g++-arm-linux-gnueabihf qemu-user debootstrap cmake make pkg-config"
# shellcheck disable=SC2086
scripts/install-deps.sh $cross_packages $runtime_packages clang-format git

mirror=${EHS_DEBIAN_MIRROR:-http://deb.debian.org/debian}
suite=bookworm
sysroot=$PWD/build-armhf-sysroot
build="build-armhf"
jobs=$(nproc 2>/dev/null || echo 2)
# What the project links and the tests need, with their dependencies (debootstrap resolves them).
target_packages="libc6-dev,libstdc++-12-dev,libmosquitto-dev,libsqlite3-dev,rapidjson-dev,libcurl4-openssl-dev,libsystemd-dev,libgtest-dev,libgmock-dev"

seconds() { date +%s; }

as_root=""
[ "$(id -u)" -eq 0 ] || as_root="sudo"

make_sysroot() {
    local work=$sysroot.partial
    $as_root rm -rf "$work"
    $as_root debootstrap --arch=armhf --foreign --variant=minbase --include="$target_packages" \
        "$suite" "$work" "$mirror" >"$work.log" 2>&1 || {
        tail -20 "$work.log"
        echo "debootstrap failed (full log: $work.log)"
        exit 1
    }
    [ -z "$as_root" ] || $as_root chown -R "$(id -u):$(id -g)" "$work"
    local deb
    for deb in "$work"/var/cache/apt/archives/*.deb; do
        dpkg-deb -x "$deb" "$work"
        basename "$deb" .deb >>"$work/ehs-packages.txt"
    done
    rm -rf "$work"/var/cache/apt/archives/*.deb "$work/debootstrap"
    # Absolute links (libm.so -> /lib/...) would point into the host: make them relative.
    local link target
    while IFS= read -r -d '' link; do
        target=$(readlink "$link")
        ln -sfn "$(realpath -s -m --relative-to="$(dirname "$link")" "$work$target")" "$link"
    done < <(find "$work" -type l -lname '/*' -print0)
    # qemu -L looks up every absolute path in the sysroot first: device nodes, /proc, /tmp and
    # the like must be the host's (ftok("/dev/random") has to name the same file for every test).
    rm -rf "${work:?}"/{dev,proc,sys,tmp,run,var/tmp}
    mv "$work" "$sysroot"
    mv "$work.log" "$sysroot/ehs-debootstrap.log"
}

start=$(seconds)
if [ ! -f "$sysroot/ehs-packages.txt" ]; then
    echo "making the armhf sysroot in $sysroot ($suite, $mirror)"
    make_sysroot
fi
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
