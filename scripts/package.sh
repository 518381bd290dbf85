#!/usr/bin/env bash
# Builds the Debian packages of the service with CPack and checks them with lintian:
#   build-deb-amd64/ehs_<version>_amd64.deb   native
#   build-deb-armhf/ehs_<version>_armhf.deb   cross, with the armhf sysroot (scripts/armhf-sysroot.sh)
# Usage: scripts/package.sh [amd64|armhf]...   (both by default; the version is CMake's project version)
#
# Release builds with Debian's hardening flags (dpkg-buildflags: fortify, stack protector, relro,
# bind-now), binaries stripped, no tests or benchmarks. Depends come from dpkg-shlibdeps: the
# host's package database natively, the sysroot's symbols files for armhf.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
# shellcheck disable=SC2086
scripts/install-deps.sh $build_packages dpkg-dev fakeroot lintian g++-arm-linux-gnueabihf qemu-user debootstrap

jobs=$(nproc 2>/dev/null || echo 2)
export DEB_BUILD_MAINT_OPTIONS=hardening=+all

package() {
    local arch=$1 build=build-deb-$1
    local -a cross=()
    if [ "$arch" = armhf ]; then
        scripts/armhf-sysroot.sh
        cross=(-DCMAKE_TOOLCHAIN_FILE=cmake/armhf-toolchain.cmake -DCMAKE_SYSROOT="$PWD/build-armhf-sysroot")
    fi
    # CMake reads the flags from the environment when it first configures the directory.
    local cppflags
    cppflags=$(DEB_HOST_ARCH=$arch dpkg-buildflags --get CPPFLAGS)
    CFLAGS="$(DEB_HOST_ARCH=$arch dpkg-buildflags --get CFLAGS) $cppflags" \
        CXXFLAGS="$(DEB_HOST_ARCH=$arch dpkg-buildflags --get CXXFLAGS) $cppflags" \
        LDFLAGS="$(DEB_HOST_ARCH=$arch dpkg-buildflags --get LDFLAGS)" \
        cmake -S . -B "$build" "${cross[@]}" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DEHS_BUILD_TESTS=OFF \
        -DCMAKE_INSTALL_PREFIX=/usr -DEHS_SYSTEMD_UNIT_DIR=/lib/systemd/system \
        -DCMAKE_SKIP_INSTALL_ALL_DEPENDENCY=ON >/dev/null
    cmake --build "$build" -j "$jobs" --target ehs ehs_broadcast_reader ehs_documents
    rm -f "$build"/ehs_*.deb
    (cd "$build" && cpack -G DEB >/dev/null)
    local deb
    deb=$(ls "$build"/ehs_*_"$arch".deb)
    echo "$deb"
    dpkg-deb -f "$deb" Package Version Architecture Depends Recommends
    # Errors fail the run; warnings are printed (each kept one has its reason in the overrides).
    lintian --allow-root --fail-on error "$deb"
}

for arch in "${@:-amd64 armhf}"; do
    # shellcheck disable=SC2086
    for one in $arch; do package "$one"; done
done
