#!/usr/bin/env bash
# docs/commands.md names every command and notification of the vocabulary,
# as read from the library's own tables: the exported words (the X-macro
# rows of src/vocabulary.cpp) and the notifications without a constant
# (NOTIFY_* of src/vocabulary_internal.h). A name counts when it stands in
# backticks.
#   commands_doc_test.sh SRC_DIR COMMANDS_MD
set -euo pipefail
src=$1
doc=$2
names=$( (sed -n 's/^ *X(\(CONF\|CONFNOTIFY\), *[A-Za-z0-9_]*, *"\([^"]*\)").*/\2/p' "$src/vocabulary.cpp"
          sed -n 's/.*constexpr const char\* NOTIFY_[A-Z0-9_]* = "\([^"]*\)".*/\1/p' "$src/vocabulary_internal.h") | sort -u)
count=$(echo "$names" | grep -c . || true)
# The tables' form changed if nothing (or hardly anything) is read.
[ "$count" -ge 100 ] || { echo "read only $count names from $src: has the vocabulary's form changed?" >&2; exit 1; }
missing=0
while read -r name; do
  if ! grep -qF "\`$name\`" "$doc"; then
    echo "not in $(basename "$doc"): $name"
    missing=$((missing + 1))
  fi
done <<<"$names"
[ "$missing" -eq 0 ] || { echo "$missing of $count names are not documented" >&2; exit 1; }
echo "all $count names documented"
