#!/usr/bin/env bash
# orvane-cli reads its commands strictly. Each row below is one script line
# and what must be told of it on standard error: the script's file and line,
# what is wrong, and (for a word that does not fit) the usage. Orders the
# simulated servers or engine cannot carry out are refused with why. Then
# piped input gets the same errors without a file, and --trace writes the
# wire's JSON lines to their own file, not to the timeline.
#   cli_strict_test.sh ORVANE_CLI
set -euo pipefail
cli=$1
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT

rows=(
  "mute maybe~mute: maybe is not on or off~  usage: mute on|off"
  "lock~lock: on|off is missing~  usage: lock on|off"
  "mute on now~mute: unexpected argument now"
  "call~call: NUMBER is missing~  usage: call NUMBER [passcode=P] [force] [name=N]"
  "call 8001 passcode~call: passcode is not passcode=P, force or name=N"
  "wait soon~wait: soon is not a number from 0 to 600000~  usage: wait MS"
  "layout 15~layout: COUNT is missing~  usage: layout ID COUNT"
  "frobnicate 3~unknown command frobnicate~  usage: COMMAND [ARGUMENTS]  (help lists the commands)"
  "portal lock maybe~portal: maybe is not on or off~  usage: portal mute NAME on|off"
  "h323 ring~h323: ring is not call, hangup or answer"
  "ignore REGISTR~ignore: REGISTR is not one of REGISTER, UNREGISTER,"
  "conference 8009 meeting~conference: meeting is not meeting=M, passcode=P or busy=CONFID"
  "ctrl ctrl_cmd_x [1]~ctrl: [1] is not a JSON object"
  "participant Nobody mute on~participant: Nobody is not in the meeting"
  # Well formed, but impossible: the simulators say why.
  "bye~bye: refused: there is no call"
  "kick~kick: refused: the engine refused it"
  "part Nobody~part: refused: Nobody is not in the conference"
  "portal lock on~portal: refused: no conference is under way"
  "cancel~cancel: refused: there is no call"
)
: >"$dir/bad.orv"
for row in "${rows[@]}"; do
  [[ $row == \#* ]] && continue
  echo "${row%%~*}" >>"$dir/bad.orv"
done
# A library refusal is shown as the library tells it.
echo "raw confNoSuchThing {}" >>"$dir/bad.orv"

status=0
"$cli" --script "$dir/bad.orv" >"$dir/out" 2>"$dir/err" || status=$?
fail() {
  echo "$1" >&2
  echo "---- stderr ----" >&2
  cat "$dir/err" >&2
  echo "---- stdout ----" >&2
  cat "$dir/out" >&2
  exit 1
}
[ "$status" -eq 2 ] || fail "exit status $status, not 2"
n=0
for row in "${rows[@]}"; do
  [[ $row == \#* ]] && continue
  n=$((n + 1))
  IFS='~' read -r -a parts <<<"$row"
  want="$dir/bad.orv:$n: ${parts[1]}"
  grep -qF -- "$want" "$dir/err" || fail "missing: $want"
  if [ ${#parts[@]} -gt 2 ]; then
    grep -qF -- "${parts[2]}" "$dir/err" || fail "missing after line $n: ${parts[2]}"
  fi
done
grep -qF 'servers  refused bye: there is no call' "$dir/out" || fail "the servers' log line is missing"
grep -qF 'engine   refused endCall: not in a meeting' "$dir/out" || fail "the engine's log line is missing"
grep -qF 'notify   confsdknotify_command_refused {"command":"confNoSuchThing","reason":"unknown_command"}' \
  "$dir/out" || fail "the library's refusal is missing"

# Typed through a pipe: the same errors, without a file; no prompt.
printf 'mute maybe\nstate\nquit\n' | "$cli" >"$dir/out" 2>"$dir/err"
grep -qxF 'mute: maybe is not on or off' "$dir/err" || fail "piped: the error is missing"
grep -qxF '  usage: mute on|off' "$dir/err" || fail "piped: the usage is missing"
grep -qF '  conference running: no' "$dir/out" || fail "piped: state did not run after the error"
if grep -qF 'orvane> ' "$dir/out"; then fail "piped: a prompt was written"; fi

# Options: a bad one ends the program at once with the usage.
status=0
"$cli" --platform XX >"$dir/out" 2>"$dir/err" || status=$?
[ "$status" -eq 2 ] || fail "--platform XX: exit status $status"
grep -qxF 'orvane-cli: --platform: XX is not QV or QC' "$dir/err" || fail "--platform XX: no error"
grep -qF 'usage: orvane-cli [--script FILE]' "$dir/err" || fail "--platform XX: no usage"

# --trace: each wire message a JSON line in its own file; the timeline has
# none.
printf 'call 8001\nleave\n' >"$dir/call.orv"
"$cli" --script "$dir/call.orv" --trace "$dir/wire.jsonl" >"$dir/out" 2>"$dir/err" || fail "--trace run failed"
grep -q '^{"dir":"out","msg":{.*"id":"INVITE_MQ_CALLMASTER".*},"t":[0-9.]*}$' "$dir/wire.jsonl" ||
  fail "--trace: no INVITE line"
grep -q '^{"dir":"in","msg":{.*"ACCEPTED".*},"t":' "$dir/wire.jsonl" || fail "--trace: no ACCEPTED line"
if grep -v '^{"dir":"\(in\|out\)","msg":.*,"t":[0-9.]*}$' "$dir/wire.jsonl"; then fail "--trace: a line of another form"; fi
if grep -q '^{' "$dir/out"; then fail "--trace: JSON in the timeline"; fi
grep -qF 'wire>    INVITE to 8001' "$dir/out" || fail "--trace: the timeline lost its wire lines"
echo "cli strict: ${#rows[@]} refused lines, piped input, options and --trace as expected"
