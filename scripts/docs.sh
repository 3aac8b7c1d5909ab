#!/usr/bin/env bash
# Builds the HTML reference of the public headers with Doxygen:
#   docs.sh [BUILD_DIR]    (default build/; the reference goes to BUILD_DIR/docs/html)
# Any warning (an undocumented member among them) fails it.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
dir=${1:-build}
[ -f "$dir/CMakeCache.txt" ] || cmake -S . -B "$dir" >/dev/null
cmake --build "$dir" --target docs
