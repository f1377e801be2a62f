#!/usr/bin/env bash
# check-trace-log.sh SOURCE: whether docs/trace-log.md has each record of the control, its line and its
# text in one row of a table.
set -euo pipefail
cd "$1"
records=$(tr '\n' ' ' <transport/TraceLog.h | grep -oE '\{ *[0-9]+, *"[^"]*"' |
  sed -E 's/^\{ *([0-9]+), *"(.*)"$/\1 \2/')
[ "$(wc -l <<<"$records")" -ge 30 ] || { echo "TraceLog.h was not understood" >&2; exit 1; }
missing=0
while read -r line text; do
  if ! grep -F "| $line |" docs/trace-log.md | grep -qF "\`$text"; then
    echo "docs/trace-log.md lacks line $line: $text" >&2
    missing=1
  fi
done <<<"$records"
exit "$missing"
