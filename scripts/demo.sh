#!/usr/bin/env bash
# Shows a host talking to a message server, first natively, then through the ActiveX module in its
# container under Wine: builds if need be, starts the development server, plays a host script against
# it, and shows both sides and the trace log.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
. scripts/server.sh
. scripts/wine.sh

work=$(mktemp -d)
server=
cleanup() {
  [ -z "$server" ] || kill "$server" 2>/dev/null || true
  end_wine
  rm -rf "$work"
}
trap cleanup EXIT

show() { printf '\n%s\n' "$1" && tr -d '\r' <"$2" | sed 's/^/    /'; }

# converse HOST...: plays the script between the server and that host.
converse() {
  rm -f "$work"/*
  start_server "$server_program" "$work/server.txt"
  cat >"$work/host.script" <<SCRIPT
connect 127.0.0.1 $port
send Greeting "<Text>Good morning</Text>"
wait message 5000
request Question "<Text>What time is it?</Text>" 5000
status
disconnect
SCRIPT
  # The temporary folder is where the control puts its trace log.
  TMPDIR=$work "$@" host --quiet --script "$work/host.script" </dev/null >"$work/host.txt"
  wait "$server"
  server=
  show "The host is told:" "$work/host.script"
  show "The host sees:" "$work/host.txt"
  show "The server sees:" "$work/server.txt"
  show "The trace log says:" "$work/TLK_Client.log"
}

need_build_tools
build release
server_program=build/release/tools/tlk/tlk
printf '\n== The native control ==\n'
converse "$server_program"

printf '\n'
need_windows_tools
build windows-x64 TlkC2 tlk
start_wine
module=$PWD/build/windows-x64/com/TlkC2.dll
in_container() {
  local command=$1
  shift
  scripts/run-in-wine.sh build/windows-x64/tools/tlk/tlk.exe "$command" \
    --module "Z:${module//\//\\}" "$@"
}
printf '\n== The ActiveX control in its container ==\n'
converse in_container
