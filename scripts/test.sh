#!/usr/bin/env bash
# Set up, build and run the whole test suite.
#   test.sh                           plain build in build/
#   test.sh --sanitize                address and undefined-behaviour sanitizers, in build-asan/
#   test.sh --lobby-screenshot FILE   the plain suite, then a picture of the lobby window under Xvfb
#   test.sh --tsan [SECONDS]          the thread stress program under ThreadSanitizer, in build-tsan/
#                                     (60 s by default); any report fails it
#   test.sh --windows                 cross-built for Windows with mingw-w64 in build-win/, run under
#                                     Wine (scripts/test-windows.sh)
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
shot=""
if [ "${1:-}" = "--windows" ]; then
  exec scripts/test-windows.sh
elif [ "${1:-}" = "--tsan" ]; then
  seconds=${2:-60}
  dir=build-tsan
  cmake -S . -B "$dir" -DORVANE_TSAN=ON -DORVANE_BUILD_TESTS=OFF -DORVANE_BUILD_BENCH=OFF \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
  cmake --build "$dir" -j2 --target orvane-stress
  # The first report ends the run with a failure.
  TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1 ${TSAN_OPTIONS:-}" "$dir/stress/orvane-stress" "$seconds"
  exit
elif [ "${1:-}" = "--sanitize" ]; then
  dir=build-asan
  scripts/build.sh "$dir" -DORVANE_SANITIZE=ON -DORVANE_BUILD_TESTS=ON -DORVANE_BUILD_BENCH=OFF -DCMAKE_BUILD_TYPE=Debug
  export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
  export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
else
  [ "${1:-}" = "--lobby-screenshot" ] && shot=${2:?usage: test.sh --lobby-screenshot FILE}
  dir=build
  scripts/build.sh "$dir" -DORVANE_BUILD_TESTS=ON
fi
ctest --test-dir "$dir" -j2 --output-on-failure --timeout 120
if [ -n "$shot" ]; then
  ORVANE_LOBBY_TOOL="$PWD/$dir/src/orvane-lobby-screenshot" scripts/lobby-screenshot.sh "$shot"
fi
