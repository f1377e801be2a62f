#!/usr/bin/env bash
# play-in-wine.sh NATIVE_BUILD WINDOWS_BUILD [FILE...]: plays the conversations, or those named, between
# the native server and the Windows host with the module in its container. Wine must have been started.
# Prints a line for each, and then why those that failed did.
set -euo pipefail

native=$(realpath "$1")
windows=$(realpath "$2")
here=$(realpath "$(dirname "$0")")
shift 2
[ "$#" -gt 0 ] || set -- "$here"/*.talk
mapfile -t files < <(realpath "$@")
cd "$here/../.."

# Wine knows this system's files as those of the drive Z.
module=Z:$windows/com/TlkC2.dll
export serve="'$native/tools/tlk/tlk' serve"
export host="'$here/host-in-wine.sh' '$windows/tools/tlk/tlk.exe' host --module '${module//\//\\}'"
export runner=$native/tests/conversations/conversation_runner
reports=$(mktemp -d)
export reports
trap 'rm -rf "$reports"' EXIT

for needed in "$native/tools/tlk/tlk" "$runner" "$windows/tools/tlk/tlk.exe" "$windows/com/TlkC2.dll"; do
  [ -f "$needed" ] || { echo "There is no $needed" >&2; exit 1; }
done

locale=build/wine/locales/ja_JP.UTF-8
if ! [ -d $locale ]; then
  mkdir -p "$(dirname $locale)"
  localedef -i ja_JP -f UTF-8 $locale
fi

# What failed leaves its report behind.
play() {
  local name
  name=$(basename "$1" .talk)
  if "$runner" --windows --serve "$serve" --host "$host" "$1" >"$reports/$name" 2>&1 </dev/null; then
    rm "$reports/$name"
    echo "ok $name"
  else
    echo "FAILED $name"
  fi
}
export -f play

printf '%s\0' "${files[@]}" | xargs -0 -P 4 -I '{}' bash -c 'play "$1"' play '{}'

failed=$(find "$reports" -type f | wc -l)
for report in "$reports"/*; do
  [ ! -f "$report" ] || { printf '\n' && cat "$report"; }
done
echo "$(($# - failed)) of $# conversations went under Wine as they do natively"
[ "$failed" -eq 0 ]
