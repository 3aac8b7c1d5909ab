#!/usr/bin/env bash
# Recordings edited to expect something else: orvane-replay must fail and
# show the first difference, with its line, what was expected and what came.
#   replay_negative_test.sh ORVANE_REPLAY SESSION_DIR
set -euo pipefail
replay=$1
dir=$2
edited=$(mktemp --suffix=.session)
trap 'rm -f "$edited"' EXIT

# line SESSION PATTERN: the number of the first line matching PATTERN.
line() {
  local n
  n=$(grep -n -m1 -- "$2" "$dir/$1" | cut -d: -f1)
  [ -n "$n" ] || { echo "no line matches $2 in $1" >&2; exit 1; }
  echo "$n"
}
# time SESSION N: the time that line N starts with.
time_of() { sed -n "$2p" "$dir/$1" | cut -d' ' -f1; }

# expect_failure WANTED...: the replay exits 1 and its report has each line.
expect_failure() {
  local out rc=0
  out=$("$replay" "$edited") || rc=$?
  [ "$rc" -eq 1 ] || { echo "exit status $rc, expected 1:"; echo "$out"; exit 1; }
  for want in "$@"; do
    grep -qF -- "$want" <<<"$out" || { echo "the report lacks: $want"; echo "$out"; exit 1; }
  done
}

# What the engine is told: leave instead of the host's endMeeting.
s=refused_start_keeps_the_running_call.session
n=$(line $s ' engine > endMeeting ')
t=$(time_of $s "$n")
sed "${n}s/ engine > endMeeting / engine > leave /" "$dir/$s" >"$edited"
expect_failure "$edited:$n: the engine side differs from the recording" \
  "  expected: ($t s) leave [] -> 0" "  got:      ($t s) endMeeting [] -> 0"

# When: the BYE for the missing ACK recorded 5 s early.
s=ack_that_never_comes_ends_the_call.session
n=$(line $s ' server > .*"BYE_MQ_CALLMASTER"')
t=$(time_of $s "$n")
early=$(awk -v t="$t" 'BEGIN { printf "%.3f", t - 5 }')
sed "${n}s/^$t /$early /" "$dir/$s" >"$edited"
expect_failure "$edited:$n: the server side differs from the recording" "  expected: ($early s) {\"id\":\"BYE_MQ_CALLMASTER\"" \
  "  got:      ($t s) {\"id\":\"BYE_MQ_CALLMASTER\""

echo "edited recordings fail at their first difference"
