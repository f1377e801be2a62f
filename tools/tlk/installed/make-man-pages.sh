#!/usr/bin/env bash
# make-man-pages.sh TLK FOLDER: writes the man pages of the program TLK, compressed, into FOLDER: one for it and
# one for each of its commands, from what their --help says. They bear the date of SOURCE_DATE_EPOCH, if
# that is set, else today's.
set -euo pipefail
tlk=$1 folder=$2
here=$(cd "$(dirname "$0")" && pwd)
day=$(date -u -d "@${SOURCE_DATE_EPOCH:-$(date +%s)}" +%Y-%m-%d)
version=$("$tlk" --version)
commands=$("$tlk" --help | awk '/^[A-Z].*:$/ { listed = /^Subcommands:/; next } listed && NF { print $1 }')

# page NAME [COMMAND]
page() {
  "$tlk" "${@:2}" --help >"$work/help"
  awk -v name="$1" -v day="$day" -v version="$version" -v commands="${commands//$'\n'/ }" \
    -f "$here/help-to-man.awk" "$work/help" >"$work/$1.1"
  gzip -9n "$work/$1.1"
  install -m 644 "$work/$1.1.gz" "$folder"
}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$folder"
page tlk
for command in $commands; do
  page "tlk-$command" "$command"
done
