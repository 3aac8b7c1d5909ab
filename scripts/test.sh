#!/usr/bin/env bash
# Set up, build and run the whole test suite.
#   test.sh              plain build in build/
#   test.sh --sanitize   address and undefined-behaviour sanitizers, in build-asan/
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
if [ "${1:-}" = "--sanitize" ]; then
  dir=build-asan
  scripts/build.sh "$dir" -DORVANE_SANITIZE=ON -DORVANE_BUILD_BENCH=OFF -DCMAKE_BUILD_TYPE=Debug
  export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
  export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
else
  dir=build
  scripts/build.sh "$dir"
fi
ctest --test-dir "$dir" -j2 --output-on-failure --timeout 120
