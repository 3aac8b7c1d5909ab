#!/usr/bin/env bash
# The layout pictures in docs/ are what the tool draws now:
# layout_pictures_test.sh TOOL DOCS_DIR
set -euo pipefail
tool=$1
docs=$2
fresh=$(mktemp -d)
trap 'rm -rf "$fresh"' EXIT
"$tool" --docs "$fresh"
if ! diff -r "$fresh/layouts" "$docs/layouts" || ! diff "$fresh/layouts.md" "$docs/layouts.md"; then
  echo "docs/layouts.md or docs/layouts/ differ from what orvane-layout-svg draws now:" \
       "run scripts/layout-pictures.sh and commit the result" >&2
  exit 1
fi
