#!/usr/bin/env bash
# play-sessions.sh TLK DOCUMENT: whether each session in the document runs as it stands there. A session is
# a fenced block that begins with a line "$ COMMAND"; its lines "> INPUT" are what the command reads, and all
# others what it prints. Nothing may be left behind in the temporary folder.
set -euo pipefail
PATH=$(cd "$(dirname "$1")" && pwd):$PATH
document=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export TMPDIR=$work/left-behind
mkdir "$TMPDIR"

awk -v work="$work" '
  /^```/ { session = ""; opened = !opened; next }
  opened && /^\$ / { session = sprintf("%s/%03d.session", work, ++count) }
  session != "" { print > session }' "$document"

failed=0 played=0
for session in "$work"/*.session; do
  sed -n 's/^> //p' "$session" >"$work/input"
  bash -c "$(sed -n '1s/^\$ //p' "$session")" <"$work/input" >"$work/printed" 2>"$work/errors" ||
    { cat "$work/errors" && failed=1; }
  diff --label "$(head -n 1 "$session")" --label printed -u \
    <(sed -e 1d -e '/^> /d' "$session") "$work/printed" || failed=1
  played=$((played + 1))
done
[ "$played" -eq "$(grep -c '^\$ ' "$document")" ] || failed=1
[ "$(cat "$work"/*.session | grep -c '^> ')" -eq "$(grep -c '^> ' "$document")" ] || failed=1
rmdir "$TMPDIR" || failed=1
echo "$played sessions"
exit "$failed"
