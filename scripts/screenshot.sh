#!/usr/bin/env bash
# screenshot.sh [FILE]: takes a picture of the control in its container, on a screen that exists only in
# memory, and writes it as PNG to FILE (by default docs/control.png).
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
. scripts/wine.sh
picture=${1:-docs/control.png}

need_windows_tools
need netpbm
build windows-x64 TlkC2 tlk
work=$(mktemp -d)
screen=
cleanup() {
  [ -z "$screen" ] || kill "$screen" 2>/dev/null || true
  end_wine
  rm -rf "$work"
}
trap cleanup EXIT

Xvfb -displayfd 3 -screen 0 320x200x24 -fbdir "$work" -nolisten tcp -wr -nocursor \
  3>"$work/display" 2>/dev/null &
screen=$!
for _ in $(seq 100); do
  [ ! -s "$work/display" ] || break
  sleep 0.05
done
[ -s "$work/display" ] || { echo "The screen did not start" >&2; exit 1; }
# A Wine of its own: the services of the other one have no screen.
export TLK_WINE_PREFIX=$PWD/build/wine/screen
TLK_WINE_DISPLAY=:$(cat "$work/display")
export TLK_WINE_DISPLAY
start_wine

# The window is painted while messages are delivered; the host says when that has been done.
module=$PWD/build/windows-x64/com/TlkC2.dll
mkfifo "$work/commands"
TMPDIR=$work scripts/run-in-wine.sh build/windows-x64/tools/tlk/tlk.exe host --window --quiet \
  --module "Z:${module//\//\\}" <"$work/commands" >"$work/output" 2>"$work/errors" &
exec 4>"$work/commands"
echo "pump 1000" >&4
for _ in $(seq 400); do
  ! grep -q '^pump' "$work/output" || break
  sleep 0.05
done
grep -q '^pump' "$work/output" || { cat "$work/errors" >&2; exit 1; }
xwdtopnm -quiet "$work/Xvfb_screen0" | pnmtopng -quiet >"$picture"
echo quit >&4
echo "$picture"
