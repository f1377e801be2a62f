#!/usr/bin/env bash
# check-trace-log.sh SOURCE TLK: whether docs/trace-log.md has each record of the control, its line, its
# text and the line of the end that follows in one row of a table, and all that the codec and the
# logger say; whether its commands do what it says; and whether `tlk log --explain` has found all of it there.
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

# explained: how many of the records on standard input have an explanation that says something.
explained() { "$1" log - --explain | grep -cE '^= .{10}'; }
# said_of SOURCE TLK: the same for the lines of a source.
said_of() { sed -E "s/^([0-9]+).*/11\/21\/2026 12:29:15.147  (1) E x ($1 - \1)/" | explained "$2"; }
lines=$(sed -E 's/^([0-9]+) \[([0-9]*)\].*/\1 \2/' <<<"$records" | tr ' ' '\n' | grep .)
codec=$(grep -oE '^\| \(?[BP] [^|]*' docs/trace-log.md)
for source in Tlkc TLK_XMLBuilder TLK_XMLParser; do
  case $source in
    *Builder) lines=$(grep -oE 'B [0-9]+(, [0-9]+)*' <<<"$codec" | grep -oE '[0-9]+') ;;
    *Parser) lines=$(grep -oE 'P [0-9]+(, [0-9]+)*' <<<"$codec" | grep -oE '[0-9]+') ;;
  esac
  wanted=$(wc -l <<<"$lines")
  if [ "$wanted" -lt 10 ] || [ "$(said_of "$source" "$2" <<<"$lines")" -ne "$wanted" ]; then
    echo "tlk log --explain has nothing to say of some of these lines of $source:" $lines >&2
    missing=1
  fi
done

# What the page shows of its own samples is what the reader makes of them.
for options in '--errors --explain' '--json --line 150'; do
  shown=$("$2" log $options docs/trace-log.md)
  sample=$(sed -n "/^\\$ tlk log $options\$/,/^\`\`\`/p" docs/trace-log.md | sed '1d; $d')
  [ -n "$sample" ] || { echo "docs/trace-log.md does not show tlk log $options" >&2; missing=1; }
  while IFS= read -r line; do
    grep -qxF -- "$line" <<<"$shown" || { echo "tlk log does not print: $line" >&2; missing=1; }
  done <<<"$sample"
done
exit "$missing"
