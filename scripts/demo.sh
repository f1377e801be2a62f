#!/usr/bin/env bash
# Shows a host talking to a message server: builds if need be, starts the development server, plays a
# host script against it, and shows both sides and the trace log.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

need_build_tools
build release
tlk=build/release/tools/tlk/tlk

work=$(mktemp -d)
server=
trap '[ -z "$server" ] || kill "$server" 2>/dev/null || true; rm -rf "$work"' EXIT

"$tlk" serve --clients 1 --for 30 >"$work/server.txt" &
server=$!
for _ in $(seq 100); do
  port=$(sed -n 's/^listening 127\.0\.0\.1://p' "$work/server.txt")
  [ -z "$port" ] || break
  sleep 0.05
done
[ -n "$port" ] || { echo "The server did not start" >&2; exit 1; }

cat >"$work/host.script" <<SCRIPT
connect 127.0.0.1 $port
send Greeting "<Text>Good morning</Text>"
wait message 5000
request Question "<Text>What time is it?</Text>" 5000
status
disconnect
SCRIPT

# The temporary folder is where the control puts its trace log.
TMPDIR=$work "$tlk" host --quiet --script "$work/host.script" >"$work/host.txt"
wait "$server"
server=

show() { printf '\n%s\n' "$1" && sed 's/^/    /' "$2"; }
show "The host is told:" "$work/host.script"
show "The host sees:" "$work/host.txt"
show "The server sees:" "$work/server.txt"
show "The trace log says:" "$work/TLK_Client.log"
