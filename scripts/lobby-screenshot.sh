#!/usr/bin/env bash
# Takes a picture of the lobby window:   lobby-screenshot.sh OUT.png
# Runs the lobby under Xvfb with openbox (which draws the title bar), saves
# the screen, then closes the window as its close button would (wmctrl -c)
# and checks that the close action ran. ORVANE_LOBBY_TOOL may name an
# already built orvane-lobby-screenshot; otherwise the one of build/ is
# brought up to date (configuring build/ first when it is new) and used.
set -euo pipefail
out=$(realpath -m "${1:?usage: lobby-screenshot.sh OUT.png}")
root=$(cd "$(dirname "$0")/.." && pwd)
title="In Meeting - LOBBY"

if [ "${2:-}" != "--inside" ]; then
  if [ -z "${ORVANE_LOBBY_TOOL:-}" ]; then
    "$root/scripts/setup.sh"
    "$root/scripts/build.sh" "$root/build" --target orvane-lobby-screenshot
    export ORVANE_LOBBY_TOOL="$root/build/src/orvane-lobby-screenshot"
  fi
  # Wide enough for the whole window, close button included.
  exec xvfb-run -a -s "-screen 0 1440x900x24" "$0" "$out" --inside
fi

# From here on inside Xvfb.
log=$(mktemp)
openbox >/dev/null 2>&1 &
wm=$!
trap 'kill "$wm" 2>/dev/null || true; rm -f "$log"' EXIT
"$ORVANE_LOBBY_TOOL" 30 >"$log" 2>&1 &
app=$!

for _ in $(seq 100); do
  wmctrl -l 2>/dev/null | grep -qF "$title" && break
  sleep 0.1
done
wmctrl -l 2>/dev/null | grep -qF "$title" || { echo "no lobby window appeared" >&2; cat "$log" >&2; exit 1; }
sleep 0.5  # let the window manager frame it and the text be drawn
import -window root "$out"
echo "saved $out"

wmctrl -c "$title"
rc=0
wait "$app" || rc=$?
if [ "$rc" -ne 0 ] || ! grep -q "lobby close action ran" "$log"; then
  echo "the close button did not end the lobby (exit $rc):" >&2
  cat "$log" >&2
  exit 1
fi
