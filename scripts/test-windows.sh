#!/usr/bin/env bash
# The library and its tests cross-built for 64-bit Windows with mingw-w64
# (cmake/mingw-w64.cmake) in build-win/, and run under Wine.
#   test-windows.sh               install the toolchain when missing, build, run
#   test-windows.sh --toolchain   only install it; when that fails, say why in
#                                 one line and exit 1
set -euo pipefail
cd "$(dirname "$0")/.."
dir=build-win

if [ "${1:-}" = "--under-display" ]; then
  # Debian's wine64 puts its programs outside PATH.
  PATH=$PATH:/usr/lib/wine
  wine=$(command -v wine || command -v wine64)
  # A prefix of our own, so that stopping its server stops nobody else's programs.
  export WINEPREFIX=${ORVANE_WINEPREFIX:-${XDG_CACHE_HOME:-$HOME/.cache}/orvane-wine}
  export WINEDEBUG=${WINEDEBUG:--all}
  mkdir -p "$WINEPREFIX"
  # Wine's server is started apart, with no pipe of ctest's: a server that
  # inherited one would keep ctest waiting after the last test.
  wineserver -p 60 </dev/null >/dev/null 2>&1 || true  # one that runs already will do
  "$wine" wineboot </dev/null >/dev/null 2>&1
  trap 'wineserver -k </dev/null >/dev/null 2>&1 || true' EXIT
  ctest --test-dir "$dir" -j2 --output-on-failure --timeout 120
  exit
fi

toolchain=(g++-mingw-w64-x86-64 wine64 googletest xvfb xauth)
if [ "${1:-}" = "--toolchain" ]; then
  out=$(scripts/setup.sh "${toolchain[@]}" 2>&1) ||
    { echo "the toolchain (${toolchain[*]}) cannot be installed: $(tail -n1 <<<"$out")"; exit 1; }
  exit 0
fi
scripts/setup.sh "${toolchain[@]}"

scripts/build.sh "$dir" -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64.cmake -DCMAKE_BUILD_TYPE=Release \
  -DORVANE_BUILD_TESTS=ON -DORVANE_BUILD_BENCH=OFF -DORVANE_BUILD_STRESS=OFF

# Wine's programs share one desktop, and the first that needs it fixes its
# display for the rest of the run: one X server for the whole run, so that
# the lobby's window can be shown whichever test comes first.
exec xvfb-run -a -s "-screen 0 1280x1024x24" "$0" --under-display
