#!/usr/bin/env bash
# Draws docs/layouts.md and docs/layouts/*.svg again from the layout
# catalogue: layout-pictures.sh [BUILD_DIR] (default build/).
set -euo pipefail
cd "$(dirname "$0")/.."
dir=${1:-build}
[ -f "$dir/CMakeCache.txt" ] || cmake -S . -B "$dir" >/dev/null
cmake --build "$dir" -j2 --target orvane-layout-svg
# Pictures of layouts or counts that are gone must not stay behind.
rm -f docs/layouts/*.svg
"$dir/tools/orvane-layout-svg" --docs docs
echo "docs/layouts.md and $(ls docs/layouts/*.svg | wc -l) pictures written"
