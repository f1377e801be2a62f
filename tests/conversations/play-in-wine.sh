#!/usr/bin/env bash
# play-in-wine.sh BUILD WINDOWS_BUILD [FILE...]: plays the conversations, or those named, between the server
# of a build, native or for Windows, and the Windows host with the module in its container. Wine must have
# been started.
set -euo pipefail
build=$(realpath "$1")
windows=$(realpath "$2")
here=$(realpath "$(dirname "$0")")
root=$(realpath "$here/../..")
shift 2
[ "$#" -gt 0 ] || set -- "$here"/*.talk

# Wine takes the ANSI code page from the locale.
export LOCPATH=$root/build/wine/locales
if ! [ -d "$LOCPATH/ja_JP.UTF-8" ]; then
  mkdir -p "$LOCPATH"
  localedef -i ja_JP -f UTF-8 "$LOCPATH/ja_JP.UTF-8"
fi

# Wine knows this system's files as those of the drive Z.
module=Z:$windows/com/TlkC2.dll
server="'$build/tools/tlk/tlk'"
[ -x "$build/tools/tlk/tlk" ] || server="'$root/scripts/run-in-wine.sh' '$build/tools/tlk/tlk.exe'"
exec "$here/play.py" --windows "$server serve" \
  "'$root/scripts/run-in-wine.sh' '$windows/tools/tlk/tlk.exe' host --module '${module//\//\\}'" "$@"
