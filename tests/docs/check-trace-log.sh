#!/usr/bin/env bash
# check-trace-log.sh SOURCE: whether docs/trace-log.md has each record of the control, its line, its
# text and the line of the end that follows in one row of a table, and all that the codec and the
# logger say; and whether its commands do what it says.
set -euo pipefail
cd "$1"
records=$(tr '\n' ' ' <transport/TraceLog.h | grep -oE '\{ *[0-9]+, *"[^"]*" *\}(, *[0-9]+)?' |
  sed -E 's/^\{ *([0-9]+), *"(.*)" *\}(, *([0-9]+))?$/\1 [\4] \2/')
[ "$(wc -l <<<"$records")" -ge 30 ] || { echo "TraceLog.h was not understood" >&2; exit 1; }
missing=0
while read -r line end text; do
  if ! grep -F "| $line |" docs/trace-log.md | grep -F "\`$text" | grep -qF "| ${end:1:-1}"; then
    echo "docs/trace-log.md lacks line $line: $text" >&2
    missing=1
  fi
done <<<"$records"

# Each text up to the first value in it; the gate has reasons, which are not held to the page.
said=$(grep -ohE --exclude='Gate*' '"[A-Z][A-Za-z()]+ [^"]*"' \
  log/*.cpp xml/*.{h,cpp} platform/StandardOutput.cpp |
  sed -E 's/^"|"$//g; s/%.*//' | sort -u)
[ "$(wc -l <<<"$said")" -ge 50 ] || { echo "The texts were not understood" >&2; exit 1; }
while IFS= read -r text; do
  if ! grep -qF "\`$text" docs/trace-log.md; then
    echo "docs/trace-log.md lacks the text: $text" >&2
    missing=1
  fi
done <<<"$said"

# sample WORD: the command of the page that begins with that word, for the file $log.
sample() { sed -n "/^$1 /,/^\`\`\`/p" docs/trace-log.md | sed '$d; s/TLK_Client\.log/"$log"/'; }
export log=docs/trace-log.md
forged=$(sh -c "$(sample awk)")
if [ "$(wc -l <<<"$forged")" -ne 1 ] || [[ $forged != *"(17642) E Connection was reset." ]]; then
  echo "Among its own samples, its command for forged lines shows this: $forged" >&2
  missing=1
fi
log=$(mktemp)
trap 'rm "$log"' EXIT
printf '%b' "$(printf '\\x%x' {128..255})" >"$log"
if [ "$(sh -c "$(sample LC_ALL=C)" | iconv -f UTF-8 -t UTF-16LE | wc -c)" -ne 256 ]; then
  echo "Its command for the code page does not get through every byte" >&2
  missing=1
fi
exit "$missing"
