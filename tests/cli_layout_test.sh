#!/usr/bin/env bash
# orvane-cli's layout command: the cells of a layout in a 1920x1080 window,
# as a table and a drawing. Layout 15 is square, so it fills 1080x1080 from
# x 420; its grid is 12x12 (90 a unit) and it has six cells, so the seventh
# participant has none.
#   cli_layout_test.sh ORVANE_CLI
set -euo pipefail
cli=$1
script=$(mktemp)
trap 'rm -f "$script"' EXIT
printf 'layout 15 7\nlayout 16 1\n' >"$script"
out=$("$cli" --script "$script")

expect() {
  if ! grep -qxF -- "$1" <<<"$out"; then
    echo "missing line: '$1'" >&2
    echo "$out" >&2
    exit 1
  fi
}
expect "  layout 15, 7 participants: proportions 1:1, in 1920x1080 at [420,0,1500,1080]"
expect "        0   420    0   1140     720    720     720"
expect "        1   420  720    780    1080    360     360"
expect "        4  1140  360   1500     720    360     360"
expect "        5  1140    0   1500     360    360     360"
expect "  without a place: 1 of the 7"
# The top edge of cells 0 and 5, the row across cells 0 and 4 with the
# labels between, and the bottom edge of cells 1 to 3.
expect "  +------------------------------+---------------+"
expect "  |                              |       4       |"
expect "  |       1       |      2       |       3       |"
expect "  +---------------+--------------+---------------+"
expect "  layout 16 is not in the catalogue"
