#!/usr/bin/env bash
# Shows a host talking to a message server, first natively, then through the ActiveX module in its
# container under Wine: builds if need be, starts the development server and a tap in front of it, plays a host
# script, and shows what each of them sees, and the trace log. All of it is `tlk`, or `tlk.exe`.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
. scripts/server.sh
. scripts/wine.sh

work=$(mktemp -d)
started=()
cleanup() {
  [ "${#started[@]}" -eq 0 ] || kill "${started[@]}" 2>/dev/null || true
  end_wine
  rm -rf "$work"
}
trap cleanup EXIT

show() { printf '\n%s\n' "$1" && tr -d '\r' <"$2" | sed 's/^/    /'; }

# converse TLK [HOST_OPTION...]: plays the script between a server, a tap and a host of that program.
converse() {
  local tlk=$1
  shift
  rm -f "$work"/*
  start_listening "$work/server.txt" "$tlk" serve --clients 1 --for 60
  started+=("$listening")
  start_listening "$work/tap.txt" "$tlk" tap --listen 0 --to 127.0.0.1 "$port" --clients 1 --for 60
  started+=("$listening")
  cat >"$work/host.script" <<SCRIPT
connect 127.0.0.1 $port
send Greeting "<Text>Good morning</Text>"
wait message 5000
request Question "<Text>What time is it?</Text>" 5000
status
disconnect
SCRIPT
  # The temporary folder is where the control puts its trace log.
  TMPDIR=$work "$tlk" host --quiet --script "$work/host.script" "$@" </dev/null >"$work/host.txt"
  wait "${started[@]}"
  started=()
  TMPDIR=$work "$tlk" log </dev/null >"$work/log.txt"
  show "The host is told:" "$work/host.script"
  show "The host sees:" "$work/host.txt"
  show "The server sees:" "$work/server.txt"
  show "The tap between them sees:" "$work/tap.txt"
  show "The trace log says:" "$work/log.txt"
}

need_build_tools
build release
printf '\n== The native control ==\n'
converse build/release/tools/tlk/tlk

printf '\n'
need_windows_tools
build windows-x64 TlkC2 tlk
start_wine
module=$PWD/build/windows-x64/com/TlkC2.dll
tlk_in_wine() { scripts/run-in-wine.sh build/windows-x64/tools/tlk/tlk.exe "$@"; }
printf '\n== The ActiveX control in its container ==\n'
converse tlk_in_wine --module "Z:${module//\//\\}"
