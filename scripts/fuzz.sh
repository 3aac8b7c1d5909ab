#!/usr/bin/env bash
# Builds the fuzz targets with clang-14, libFuzzer and the address and
# undefined-behaviour sanitizers in build-fuzz/, and runs them.
#   fuzz.sh                     every target for 60 s each
#   fuzz.sh TARGET [SECONDS]    one target (transport, engine, commands, confinfo), or "all"
# Each target starts from its seeds in fuzz/corpus/TARGET and keeps what it
# finds in build-fuzz/corpus/TARGET. A failing input is written to
# build-fuzz/artifacts/ and fails the script; rerun it with
#   ASAN_OPTIONS=malloc_context_size=30 build-fuzz/fuzz/orvane-fuzz-TARGET FILE
# (ORVANE_FUZZ_LOG=1 shows the library's log while it runs).
set -euo pipefail
cd "$(dirname "$0")/.."
all=(transport engine commands confinfo)
target=${1:-all}
seconds=${2:-60}
if [ "$target" = all ]; then
  targets=("${all[@]}")
elif [[ " ${all[*]} " == *" $target "* ]]; then
  targets=("$target")
else
  echo "usage: fuzz.sh [${all[*]// /|}|all] [SECONDS]" >&2
  exit 2
fi

scripts/setup.sh clang-14 libclang-rt-14-dev
dir=build-fuzz
cmake -S . -B "$dir" -DCMAKE_CXX_COMPILER=clang++-14 -DORVANE_BUILD_FUZZ=ON -DORVANE_BUILD_TESTS=OFF \
  -DORVANE_BUILD_BENCH=OFF -DORVANE_BUILD_STRESS=OFF -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$dir" -j2 --target "${targets[@]/#/orvane-fuzz-}"

mkdir -p "$dir/artifacts" "$dir/logs"
failed=0
for t in "${targets[@]}"; do
  mkdir -p "$dir/corpus/$t"
  log="$dir/logs/$t.log"
  if "$dir/fuzz/orvane-fuzz-$t" -dict=fuzz/orvane.dict -max_total_time="$seconds" -max_len=4096 -timeout=10 \
      -print_final_stats=1 -artifact_prefix="$dir/artifacts/$t-" "$dir/corpus/$t" "fuzz/corpus/$t" >"$log" 2>&1; then
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    rate=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log")
    echo "fuzz $t: $runs inputs in ${seconds} s, $rate/s, corpus $(ls "$dir/corpus/$t" | wc -l) files"
  else
    echo "fuzz $t: FAILED, see $log" >&2
    grep -A40 -m1 -E "ERROR:|orvane fuzz:|runtime error" "$log" >&2 || tail -40 "$log" >&2
    failed=1
  fi
done
exit $failed
