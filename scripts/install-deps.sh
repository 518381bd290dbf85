#!/bin/sh
# Installs the Debian packages given as arguments when they are missing (apt-get, as root or
# through sudo). Used by run.sh and test.sh so a fresh Debian machine needs nothing else.
set -eu
missing=""
for package in "$@"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" ||
        missing="$missing $package"
done
[ -n "$missing" ] || exit 0
echo "installing:$missing"
as_root=""
[ "$(id -u)" -eq 0 ] || as_root="sudo"
export DEBIAN_FRONTEND=noninteractive
$as_root apt-get update -q
# shellcheck disable=SC2086
$as_root apt-get install -y -q --no-install-recommends $missing
