#!/usr/bin/env bash
# check.sh NATIVE_BUILD WINDOWS_BUILD: builds the program that docs/embedding.md shows as the guide says, from
# what is installed, runs it and the guide's scripts under Wine, which must have been started, and looks
# whether the guide has the control's identifiers as they are.
set -euo pipefail
native=$(realpath "$1")
windows=$(realpath "$2")
cd "$(dirname "$0")/../.."
. scripts/server.sh
run=$PWD/scripts/run-in-wine.sh
work=$(mktemp -d)
server=
cleanup() {
  [ -z "$server" ] || kill "$server" 2>/dev/null || true
  [ ! -e "$work/TlkC2.dll" ] || quietly regsvr32 /s /u "$(windows_path "$work/TlkC2.dll")" || true
  rm -rf "$work"
}
trap cleanup EXIT

windows_path() { local path=Z:$1 && echo "${path//\//\\}"; }
quietly() { timeout 60 "$run" "$@" </dev/null >"$work/quiet.txt" 2>&1; }

# compare WHAT EXPECTED: whether that is what standard input says; line ends do not count.
compare() {
  tr -d '\r' | diff <(echo "$2") - >"$work/difference" && echo "ok $1" && return
  echo "FAILED $1" && cat "$work/difference"
  return 1
}

block() { scripts/blocks.sh "$1" docs/embedding.md; }
block cpp >"$work/greeter.cpp"
block xml >"$work/greeter.exe.manifest"
block vb >"$work/status.vbs"
block js >"$work/status.js"
sed -nE 's/.*\b(uu)?id\(([^)]*)\).*/\2/p; s/^ *(library|coclass|(disp)?interface|HRESULT) (\w+).*/\3/p' \
  com/TlkC2.idl | paste -d ' ' - - | compare "the guide shows the identifiers" \
  "$(sed -nE 's/^\| `(\w+)` \| `([^`]*)` \|.*/\2 \1/p' docs/embedding.md)"

# greet HOW: runs the guide's program against a server. The Windows DOM may indent what it says.
greet() {
  start_server "$native/tools/tlk/tlk" "$work/server.txt"
  TMPDIR=$work timeout 60 "$run" "$work/greeter.exe" "$port" </dev/null >"$work/log.txt" 2>"$work/told.txt" ||
    { cat "$work/told.txt" && exit 1; }
  wait "$server"
  server=
  tr -d '\r' <"$work/told.txt" | sed -z 's/>\n\t*</></g' | compare "greeter $1" 'status 3
message Greeting: <Data><Text>Good morning</Text></Data>
status 0'
}

cmake --install "$windows" --prefix "$work" >"$work/quiet.txt"
block sh | (cd "$work" && bash -e)
greet "without registration"
rm "$work/greeter.exe.manifest"

# What a script says itself. The trace log's lines go to the same output, and as another thread writes
# them, one may stand before the end of the script's own line.
script() {
  TMPDIR=$work timeout 60 "$run" cscript //nologo "$(windows_path "$work/$1")" \
    </dev/null >"$work/script.txt" 2>&1 || { cat "$work/script.txt" >&2 && exit 1; }
  sed -E 's/\([0-9]+\) [A-Z] .*//' "$work/script.txt" | grep -aE '^(status|connected|reply|the status)'
}

# For the user, in the registry alone: this Wine shows a program the machine's classes only.
dll=$(windows_path "$work/TlkC2.dll")
is_users() { quietly reg query 'HKCU\Software\Classes\TlkC2.Tlkc\CurVer' && echo yes || echo no; }
quietly regsvr32 /s /n /i:user "$dll"
is_users | compare "registered for the user" yes
quietly regsvr32 /s /u /n /i:user "$dll"
is_users | compare "unregistered for the user" no

quietly regsvr32 /s "$dll"
greet registered
script status.vbs | compare status.vbs $'status 0\nconnected 0\nreply nothing'
script status.js | compare status.js $'status 0\nthe status is read-only'

# The tool finds the same control by its name.
tlk() { TMPDIR=$work timeout 60 "$run" "$windows/tools/tlk/tlk.exe" "$@" 2>"$work/quiet.txt"; }
echo status | tlk host --quiet | compare "tlk host, registered" 'status hr=0x00000000 value=0'
tlk doctor </dev/null | tail -n 1 | compare "tlk doctor, registered" 'all fits'
