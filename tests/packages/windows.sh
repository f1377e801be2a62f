#!/usr/bin/env bash
# windows.sh FOLDER NATIVE_BUILD: tries the zip and the setup in that folder as README.txt tells their users
# to, under a Wine of its own; then the setup once more in one that runs 32-bit programs, if it can be had.
set -euo pipefail
packages=$(realpath "$1")
tlk=$(realpath "$2")/tools/tlk/tlk
cd "$(dirname "$0")/../.."
. scripts/server.sh
. scripts/wine.sh
. scripts/wine32.sh
root=$PWD
export TLK_WINE_PREFIX=$PWD/build/wine/trial
work=$(mktemp -d)
temporary=$work  # The setup has the user's own.
server='' user=''
cleanup() {
  for process in $server $user; do kill "$process" 2>/dev/null || true; done
  end_wine
  rm -rf "$work" "$TLK_WINE_PREFIX"
}
trap cleanup EXIT
exec </dev/null

fail() { echo "FAILED $*" >&2 && exit 1; }

# wine STATUS PROGRAM ARGUMENT...: runs a program that is to end with that status; what it said is then in
# $work/said.txt, on one line what the Windows DOM may indent.
wine() {
  local expected=$1 status=0
  shift
  env -u TMPDIR ${temporary:+"TMPDIR=$temporary"} timeout 60 "$run_in_wine" "$@" \
    >"$work/output.txt" 2>"$work/errors.txt" || status=$?
  cat "$work/output.txt" "$work/errors.txt" | tr -d '\r' | sed -z 's/>\n\t*</></g' >"$work/said.txt"
  [ "$status" = "$expected" ] || { cat "$work/said.txt" >&2 && fail "$* ended with $status"; }
}

# says WHAT LINE...: whether the last program said each of these lines, among others.
says() {
  local what=$1 line
  shift
  for line in "$@"; do
    grep -qxF -e "$line" "$work/said.txt" || { cat "$work/said.txt" >&2 && fail "$what: no \"$line\""; }
  done
  echo "ok $what"
}

until_true() {
  local end=$((SECONDS + 30))
  until "$@"; do [ $SECONDS -lt $end ] || fail "in vain: $*"; sleep 0.1; done
}

check_links() {
  local page link target
  grep -oE '(href|src)="[^"]+"' ./*.html | grep -v '"https\?:' | sed -E 's/:[a-z]+="(.*)"/ \1/' |
    while read -r page link; do
      target=${link%%#*}
      [ -e "${target:-$page}" ] || fail "$page: nothing is at $link"
      [[ $link != *#* ]] || grep -q "id=\"${link#*#}\"" "${target:-$page}" || fail "$page: no place $link"
    done
}

unzip -q "$packages"/TlkC2-*-windows.zip -d "$work"
files=$(echo "$work"/TlkC2-*)
version=${files##*-}
setup=$packages/TlkC2-$version-setup.exe
cd "$files"
start_anew() { end_wine && rm -rf "$TLK_WINE_PREFIX" && start_wine; }
start_anew
if grep -raq "$root" .; then fail "a file tells where it was made"; fi
(cd docs && check_links)
echo "ok the pages' links lead somewhere, and no file tells where it was made"

# README.txt, step by step.
readme() { tr -d '\r' <README.txt | sed -n "s/^ *\($1.*\)/\1/p"; }
greet() {
  start_server "$tlk" "$work/server.txt"
  wine 0 "$1" "$port"
  wait "$server" && server=''
  says "$2" "${greeting[@]}"
}
mapfile -t greeting < <(readme 'status [03]' && readme 'message Greeting')

wine 0 'x64\tlk.exe' --version
says "tlk.exe tells its version" "tlk $version"
wine 1 'x64\tlk.exe' doctor
says "nothing is registered" "machine hive, 64-bit view: not registered"
start_server "$tlk" "$work/server.txt"
read -ra host < <(readme 'x64\\tlk.exe host')
wine 0 "${host[@]}" < <(readme '> ' | sed "s/^> //; s/1371/$port/")
wait "$server" && server=''
says "the control talks without being registered" 'connect hr=0x00000000 pVal=1' 'wait ok' \
  'event TlkMsgRecieved type="Greeting" data="<Data>\x0D\x0A\x09<Text>Good morning</Text>\x0D\x0A</Data>"'
readme x86_64-w64-mingw32-g++ | tr '\\' / | bash -e
greet 'x64\greeter.exe' "the sample greets, by its manifest"
cp x64/greeter.exe "$work"

# snapshot NAME: what is in the registry, and which files there are, once what waited for a restart is done.
# Here that deletes the uninstaller's copy of itself, but not the folder it was in.
snapshot() {
  local hive
  end_wine
  start_wine
  for hive in HKLM HKCU; do
    wine 0 reg export "$hive\\Software" "Z:$work/$hive.reg" /y
    iconv -f utf-16 "$work/$hive.reg" | tr -d '\r'
  done >"$work/$1.txt"
  find "$TLK_WINE_PREFIX/drive_c" ! -type d -printf '%P %s\n' -o -printf '%P\n' |
    grep -v '/~nsu[^/]*$' | sort >>"$work/$1.txt"
}

# use FOLDER: lets a program load the module that lies there, until end_use.
use() {
  mkfifo "$work/talk"
  TMPDIR=$work "$run_in_wine" "$1\\tlk.exe" host --module "$1\\TlkC2.dll" <"$work/talk" >"$work/user.txt" 2>&1 &
  user=$!
  exec 3>"$work/talk"
  echo status >&3
  until_true grep -q '^status hr=0x00000000' "$work/user.txt"
}

end_use() {
  exec 3>&-
  wait "$user" && user=''
  rm "$work/talk"
}

# cscript FILE LINE: lets each of the hosts run a script, which is to say a line that begins so.
cscript() {
  local host
  for host in "${hosts[@]}"; do
    wine 0 "C:\\windows\\$host\\cscript.exe" //nologo "Z:$1"
    grep -q -- "^$2" "$work/said.txt" || fail "the script host of $host does not say $2"
  done
}

# The uninstaller works in a copy of itself, under another name.
has_ended() {
  wine 0 wmic process get name
  tr -d '\0' <"$work/said.txt" >"$work/processes.txt"
  grep -q wmic "$work/processes.txt" && ! grep -q "$1" "$work/processes.txt"
}

# install_and_remove MODE HIVE FOLDER: for the user or the machine, twice, and away again.
install_and_remove() {
  local mode=$1 folder=$3 drive hosts
  local apps="$2\\Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\TlkC2"
  local class="$2\\Software\\Classes\\CLSID\\{152FDC3E-77C0-4E2B-957A-32C5CAE3B0CE}\\InprocServer32"
  drive=$TLK_WINE_PREFIX/drive_c
  hosts=(system32)
  [ ! -e "$drive/windows/syswow64/regsvr32.exe" ] || hosts+=(syswow64)
  wine 0 reg add 'HKCU\Software\Classes' /f  # Every user of Windows has it.
  echo 'WScript.Echo "yes"' >"$work/first.vbs"
  cscript "$work/first.vbs" yes  # It registers itself when it is first used.
  snapshot before

  mkdir -p "$drive/Elsewhere/x64/TlkC2.dll"  # Where a file cannot be written.
  temporary='' wine 2 "$setup" /S "/$mode" '/D=C:\Elsewhere'
  says "/$mode is whole or not at all" \
    'The files could not be written to C:\Elsewhere: TlkC2 is not installed.'
  rmdir "$drive"/Elsewhere/{x64/{TlkC2.dll,},}

  temporary='' wine 0 "$setup" /S "/$mode"
  [ ${#hosts[@]} = 2 ] || says "/$mode tells what is missing" \
    "The 32-bit control was not registered: 32-bit programs do not run here."
  wine 0 reg query "$apps"
  says "/$mode is among the apps" "    DisplayVersion    REG_SZ    $version" \
    "    QuietUninstallString    REG_SZ    \"$folder\\Uninstall.exe\" /S"
  wine 0 reg query "$class"
  says "/$mode is registered" "    (Default)    REG_SZ    $folder\\x64\\TlkC2.dll"
  if [ "$mode" = AllUsers ]; then
    wine 0 "$folder\\x64\\tlk.exe" doctor
    says "all is well with it" "all fits"
    greet "$work/greeter.exe" "the sample greets, by the registration"
    cscript "$files/samples/status.vbs" 'status 0'
  fi

  use "$folder\\x64"
  find "$drive" -path '*TlkC2*' -printf '%p %s %i\n' | sort >"$work/used.txt"
  temporary='' wine 3 "$setup" /S "/$mode"
  says "/$mode leaves what is in use" "A program is using TlkC2, which is installed in $folder: end it, and start \
again. Nothing was changed."
  find "$drive" -path '*TlkC2*' -printf '%p %s %i\n' | sort | diff "$work/used.txt" - || fail "it has changed"
  end_use

  wine 0 reg add "$apps" /v DisplayVersion /d 0.9 /f
  temporary='' wine 0 "$setup" /S "/$mode" '/D=C:\Elsewhere'
  wine 0 reg query "$apps"
  says "/$mode replaces another version" "    DisplayVersion    REG_SZ    $version"

  temporary='' wine 0 'C:\Elsewhere\Uninstall.exe' /S
  until_true has_ended Un.exe
  [ ! -e "$drive/Elsewhere" ] || fail "/$mode was not removed"
  snapshot after
  diff "$work/before.txt" "$work/after.txt" || fail "/$mode has left something"
  echo "ok /$mode leaves nothing"
}

echo "For the user in the registry alone: this Wine shows programs the machine's classes only, and has one class
of a user's for both bitnesses"
install_and_remove AllUsers HKLM 'C:\Program Files\TlkC2'
install_and_remove CurrentUser HKCU "C:\\users\\$(id -un)\\AppData\\Local\\Programs\\TlkC2"
if start_wine32; then
  end_wine32
  export WINEDLLPATH=$wine32/dlls
  start_anew
  echo "For the machine where 32-bit programs run"
  install_and_remove AllUsers HKLM 'C:\Program Files\TlkC2'
fi
