#!/usr/bin/env bash
# Configures and builds into a build directory, showing the build's progress:
#   build.sh DIR [--target NAME] [cmake options...]
# It configures when DIR has not been configured yet or options are given,
# then builds everything or the one target. The whole output goes to
# DIR/build.log; the terminal sees the progress (one line that counts up, or
# a line per tenth of the build when the output is not a terminal), and on a
# failure the errors and the end of the log.
set -euo pipefail
cd "$(dirname "$0")/.."
dir=$1
shift
target=()
if [ "${1:-}" = "--target" ]; then
  target=(--target "${2:?usage: build.sh DIR [--target NAME] [cmake options...]}")
  shift 2
fi
mkdir -p "$dir"
log=$dir/build.log
: >"$log"

if [ $# -gt 0 ] || [ ! -f "$dir/CMakeCache.txt" ]; then
  echo "configuring $dir ..."
  if ! cmake -S . -B "$dir" "$@" >>"$log" 2>&1; then
    cat "$log" >&2
    exit 1
  fi
fi

# Make prints "[ 42%] Building CXX object .../name.cpp.o", Ninja "[12/80] ...".
progress() {
  local tty=0 next=0 line pct what
  [ -t 1 ] && tty=1
  while IFS= read -r line; do
    if [[ $line =~ ^\[\ *([0-9]+)%\]\ (.*)$ ]]; then
      pct=${BASH_REMATCH[1]}
      what=${BASH_REMATCH[2]}
    elif [[ $line =~ ^\[([0-9]+)/([0-9]+)\]\ (.*)$ ]]; then
      pct=$((100 * BASH_REMATCH[1] / BASH_REMATCH[2]))
      what=${BASH_REMATCH[3]}
    else
      continue
    fi
    what=${what#Building CXX object }
    what=${what##*/}
    what=${what%.o}
    if [ "$tty" -eq 1 ]; then
      printf '\r\033[K[%3d%%] building %s: %s' "$pct" "$dir" "$what"
    elif [ "$pct" -ge "$next" ]; then
      printf '[%3d%%] building %s: %s\n' "$pct" "$dir" "$what"
      next=$((pct / 10 * 10 + 10))
    fi
  done
  [ "$tty" -eq 0 ] || printf '\r\033[K'
}

set +e
cmake --build "$dir" -j2 "${target[@]}" 2>&1 | tee -a "$log" | progress
status=${PIPESTATUS[0]}
set -e
if [ "$status" -ne 0 ]; then
  echo "the build failed (whole log: $log):" >&2
  grep -E "error|Error|undefined reference" "$log" | head -40 >&2 || true
  tail -20 "$log" >&2
  exit "$status"
fi
echo "built $dir${target[*]:+ (${target[1]})}"
