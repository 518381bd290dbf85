#!/bin/sh
# Fails when a tracked C++ file differs from what .clang-format makes of it.
# Usage: scripts/check-format.sh [clang-format binary]
set -eu
cd "$(dirname "$0")/.."
clang_format=${1:-clang-format}
files=$(git ls-files '*.cpp' '*.h' 2>/dev/null || find . -name '*.cpp' -o -name '*.h' | grep -v '^./build')
[ -n "$files" ] || exit 0
# shellcheck disable=SC2086
"$clang_format" --dry-run --Werror $files
