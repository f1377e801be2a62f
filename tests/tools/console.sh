#!/usr/bin/env bash
# A console hears of a message, and ends, while its standard input is open and still; and it takes a
# last line without an end.
set -euo pipefail
tlk=$1
TMPDIR=$(mktemp -d)
export TMPDIR
trap 'rm -rf "$TMPDIR"' EXIT

exec 3< <("$tlk" serve --clients 1 --for 30)
IFS=: read -r _ port <&3
exec 4> >(exec timeout 30 "$tlk" host --quiet >"$TMPDIR/output")
host=$!
printf 'on message quit\r\nconnect 127.0.0.1 %s\nsend Hello <a/>\n' "$port" >&4
wait "$host"
printf status | "$tlk" host --quiet >>"$TMPDIR/output"
diff - "$TMPDIR/output" <<'LINES'
event ConnStatusChanged status=3
connect hr=0x00000000 pVal=1
send hr=0x00000000
event TlkMsgRecieved type="Hello" data="<Data><a/></Data>"
status hr=0x00000000 value=0
LINES
