#!/usr/bin/env bash
# Makes the armhf sysroot (./build-armhf-sysroot) from Debian's own armhf packages, once; used by
# armhf.sh (cross build and tests under qemu-user) and package.sh (the armhf package).
#
# It never touches the host's package set: debootstrap's first stage downloads the packages into
# the folder (--foreign: nothing of the target is run), then every downloaded package is
# unpacked there. Their symbols and shlibs control files are gathered in DEBIAN/ at the top of
# the folder, where dpkg-shlibdeps looks for them when a library lies outside the host's package
# database: so the armhf package's Depends come from the armhf libraries themselves. Delete the
# folder to make it anew; a folder of an older version of this script (no DEBIAN/) is remade.
set -euo pipefail
cd "$(dirname "$0")/.."

mirror=${EHS_DEBIAN_MIRROR:-http://deb.debian.org/debian}
suite=bookworm
sysroot=$PWD/build-armhf-sysroot
# What the project links and the tests need, with their dependencies (debootstrap resolves them).
target_packages="libc6-dev,libstdc++-12-dev,libmosquitto-dev,libsqlite3-dev,rapidjson-dev,libcurl4-openssl-dev,libsystemd-dev,libgtest-dev,libgmock-dev"

[ ! -f "$sysroot/DEBIAN/symbols" ] || exit 0
echo "making the armhf sysroot in $sysroot ($suite, $mirror)"
as_root=""
[ "$(id -u)" -eq 0 ] || as_root="sudo"
work=$sysroot.partial
$as_root rm -rf "$work" "$sysroot"
$as_root debootstrap --arch=armhf --foreign --variant=minbase --include="$target_packages" \
    "$suite" "$work" "$mirror" >"$work.log" 2>&1 || {
    tail -20 "$work.log"
    echo "debootstrap failed (full log: $work.log)"
    exit 1
}
[ -z "$as_root" ] || $as_root chown -R "$(id -u):$(id -g)" "$work"
mkdir -p "$work/DEBIAN" "$work.control"
for deb in "$work"/var/cache/apt/archives/*.deb; do
    dpkg-deb -x "$deb" "$work"
    basename "$deb" .deb >>"$work/ehs-packages.txt"
    rm -rf "$work.control"/*
    dpkg-deb -e "$deb" "$work.control"
    for info in symbols shlibs; do
        [ ! -f "$work.control/$info" ] || cat "$work.control/$info" >>"$work/DEBIAN/$info"
    done
done
rm -rf "$work.control" "$work"/var/cache/apt/archives/*.deb "$work/debootstrap"
# Absolute links (libm.so -> /lib/...) would point into the host: make them relative.
while IFS= read -r -d '' link; do
    target=$(readlink "$link")
    ln -sfn "$(realpath -s -m --relative-to="$(dirname "$link")" "$work$target")" "$link"
done < <(find "$work" -type l -lname '/*' -print0)
# qemu -L looks up every absolute path in the sysroot first: device nodes, /proc, /tmp and the
# like must be the host's (ftok("/dev/random") has to name the same file for every test).
rm -rf "${work:?}"/{dev,proc,sys,tmp,run,var/tmp}
mv "$work" "$sysroot"
mv "$work.log" "$sysroot/ehs-debootstrap.log"
