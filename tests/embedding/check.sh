#!/usr/bin/env bash
# check.sh NATIVE_BUILD WINDOWS_BUILD: builds the sample of docs/embedding.md as the guide says, from what
# is installed, runs every sample under Wine, which must have been started, and looks whether the guide
# shows them, and the control's identifiers, as they are.
set -euo pipefail
native=$(realpath "$1")
windows=$(realpath "$2")
samples=$(realpath "$(dirname "$0")")
cd "$samples/../.."
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

# compare WHAT FILE: whether the file holds what standard input says; line ends do not count.
compare() {
  cat >"$work/expected"
  if tr -d '\r' <"$2" | diff "$work/expected" - >"$work/difference"; then
    echo "ok $1"
  else
    echo "FAILED $1" && cat "$work/difference"
    exit 1
  fi
}

# The guide's blocks of a language, all together.
block() { sed -n "/^\`\`\`$1\$/,/^\`\`\`\$/p" docs/embedding.md | grep -v '^```'; }
compare "the guide shows greeter.cpp" <(block cpp) <"$samples/greeter.cpp"
compare "the guide shows greeter.exe.manifest" <(block xml) <"$samples/greeter.exe.manifest"
compare "the guide shows status.vbs" <(block vb) <"$samples/status.vbs"
compare "the guide shows status.js" <(block js) <"$samples/status.js"
sed -nE 's/.*\b(uu)?id\(([^)]*)\).*/\2/p; s/^ *(library|coclass|(disp)?interface|HRESULT) (\w+).*/\3/p' \
  com/TlkC2.idl | paste -d ' ' - - |
  compare "the guide shows the identifiers" <(sed -nE 's/^\| `(\w+)` \| `([^`]*)` \|.*/\2 \1/p' docs/embedding.md)

greet() {
  start_server "$native/tools/tlk/tlk" "$work/server.txt"
  TMPDIR=$work timeout 60 "$run" "$work/greeter.exe" "$port" </dev/null >"$work/log.txt" 2>"$work/told.txt" ||
    { cat "$work/told.txt" && exit 1; }
  wait "$server"
  server=
}

# The Windows DOM may indent.
expect_greeting() {
  tr -d '\r' <"$work/told.txt" | sed -z 's/>\n\t*</></g' >"$work/settled.txt"
  compare "$1" "$work/settled.txt" <<'EXPECTED'
status 3
message Greeting: <Data><Text>Good morning</Text></Data>
status 0
EXPECTED
}

cmake --install "$windows" --prefix "$work" >"$work/quiet.txt"
cp "$samples"/greeter.* "$work"
block sh | (cd "$work" && bash -e)
greet
expect_greeting "greeter without registration"
rm "$work/greeter.exe.manifest"

# What a script says itself. The trace log's lines go to the same output, and as another thread writes
# them, one may stand before the end of the script's own line.
script() {
  TMPDIR=$work timeout 60 "$run" cscript //nologo "$(windows_path "$samples/$1")" \
    </dev/null >"$work/script.txt" 2>&1 || { cat "$work/script.txt" && exit 1; }
  sed -E 's/\([0-9]+\) [A-Z] .*//' "$work/script.txt" | grep -aE '^(status|connected|reply|the status)'
}

# For the user, in the registry alone: this Wine shows a program the machine's classes only.
dll=$(windows_path "$work/TlkC2.dll")
is_users() { quietly reg query 'HKCU\Software\Classes\TlkC2.Tlkc\CurVer' && echo yes || echo no; }
quietly regsvr32 /s /n /i:user "$dll"
compare "registered for the user" <(is_users) <<<yes
quietly regsvr32 /s /u /n /i:user "$dll"
compare "unregistered for the user" <(is_users) <<<no

quietly regsvr32 /s "$dll"
greet
expect_greeting "greeter, registered"
script status.vbs >"$work/vbs.txt"
compare "status.vbs" "$work/vbs.txt" <<'EXPECTED'
status 0
connected 0
reply nothing
EXPECTED
script status.js >"$work/js.txt"
compare "status.js" "$work/js.txt" <<'EXPECTED'
status 0
the status is read-only
EXPECTED

# The tool finds the same control by its name.
tlk() { TMPDIR=$work timeout 60 "$run" "$windows/tools/tlk/tlk.exe" "$@" 2>"$work/quiet.txt"; }
echo status | tlk host --quiet >"$work/host.txt"
compare "tlk host, registered" "$work/host.txt" <<<'status hr=0x00000000 value=0'
tlk doctor </dev/null | tail -n 1 >"$work/doctor.txt"
compare "tlk doctor, registered" "$work/doctor.txt" <<<'all fits'
