#!/usr/bin/env bash
# screenshot.sh [console|control]...: takes the pictures docs/console.png, of the host console beside the
# development server in a terminal, and docs/control.png, of the control in its container under Wine; by
# default both. Each is a real session, typed by this script on a screen that exists only in memory.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
. scripts/server.sh
. scripts/wine.sh

work=$(mktemp -d)
screen=
server=
wine=
cleanup() {
  terminal kill-server 2>/dev/null || true
  [ -z "$server" ] || kill "$server" 2>/dev/null || true
  [ -z "$wine" ] || end_wine
  [ -z "$screen" ] || kill "$screen" 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT

# until_true COMMAND...: waits until it succeeds, for half a minute at most.
until_true() {
  for _ in $(seq 600); do
    ! "$@" >"$work/tried" 2>&1 || return 0
    sleep 0.05
  done
  echo "In vain: $*" >&2
  return 1
}

# start_screen SIZE: one of that many pixels.
start_screen() {
  : >"$work/display"
  Xvfb -displayfd 3 -screen 0 "$1x24" -fbdir "$work" -nolisten tcp -nocursor \
    3>"$work/display" 2>/dev/null &
  screen=$!
  until_true test -s "$work/display"
  DISPLAY=:$(cat "$work/display")
  export DISPLAY
}

# take FILE: writes what the screen shows as PNG, without the black around it, and ends the screen.
take() {
  xwdtopnm -quiet "$work/Xvfb_screen0" | pnmcrop -quiet -black | pnmquant -quiet 64 |
    pnmtopng -quiet -compression 9 >"$1"
  kill "$screen"
  wait "$screen" 2>/dev/null || true
  screen=
  echo "$1"
}

terminal() { tmux -L "tlk-$$" "$@"; }

# shows PANE TEXT: whether that text stands in that part of the terminal.
shows() { terminal capture-pane -p -t ":.$1" | grep -F -- "$2"; }

# say PANE LINE TEXT: types a line there, and waits until the text has appeared.
say() {
  terminal send-keys -t ":.$1" -l -- "$2"
  terminal send-keys -t ":.$1" Enter
  until_true shows "$1" "$3"
}

console() {
  need tmux xterm fonts-dejavu-core
  build release tlk
  start_screen 1200x800
  cat >"$work/terminal.conf" <<'CONF'
set -g status off
set -g pane-border-status top
set -g pane-border-format " #{pane_title} "
set -g pane-border-style fg=colour244
set -g pane-active-border-style fg=colour114
CONF
  cat >"$work/shell.rc" <<RC
PS1='\[\e[1;32m\]\$\[\e[0m\] '
PATH=$PWD/build/release/tools/tlk:\$PATH
export TMPDIR=$work
RC
  local shell="bash --rcfile $work/shell.rc"
  xterm -b 10 -bg '#1b2029' -fg '#dfe3ea' \
    -fa 'DejaVu Sans Mono' -fs 11 -geometry 92x25 -e tmux -L "tlk-$$" -f "$work/terminal.conf" \
    new-session "$shell" 2>/dev/null &
  until_true shows 0 '$'
  terminal split-window -l 7 "$shell"
  until_true shows 1 '$'
  terminal select-pane -t :.0 -T 'a host'
  terminal select-pane -t :.1 -T 'a server to try it with'
  say 1 'tlk serve' listening
  port=$(terminal capture-pane -p -t :.1 | sed -n 's/^listening 127\.0\.0\.1://p')
  terminal select-pane -t :.0
  say 0 'tlk host --quiet' '>'
  say 0 "connect 127.0.0.1 $port" pVal=1
  say 0 'send Greeting "<Text>Good morning</Text>"' 'Good morning</Text></Data>'
  say 0 'request Question "<Text>What time is it?</Text>" 5000' 'request hr='
  say 0 'disconnect' 'disconnect hr='
  until_true shows 1 closed
  take docs/console.png
  terminal kill-server
}

# press TEXT: types a line into the window that has the focus.
press() { xdotool type --delay 10 -- "$1" && xdotool key Return; }

# drag X Y TO_X TO_Y: moves what lies there to another place, with the mouse and as fast as a hand.
drag() {
  xdotool mousemove "$1" "$2" sleep 0.1 mousedown 1 sleep 0.1 mousemove "$((($1 + $3) / 2))" \
    "$((($2 + $4) / 2))" sleep 0.1 mousemove "$3" "$4" sleep 0.3 mouseup 1
}

# lies_at NAME X Y: whether the window of that name is there.
lies_at() { xwininfo -root -tree | grep -E "\"$1\": .* \+$2\+$3\$"; }

# logged TEXT: whether the trace log has it.
logged() { grep -F -- "$1" "$work/TLK_Client.log"; }

# is_still: whether everything has been painted, that is, nothing is for half a second.
is_still() {
  cp "$work/Xvfb_screen0" "$work/before"
  sleep 0.5
  cmp "$work/Xvfb_screen0" "$work/before"
}

# Wine's own desktop has the frames of windows. A new window lies in its corner: the console is moved
# aside first, and the control last, in front of it.
control() {
  need_windows_tools
  need xdotool x11-utils fonts-wine fonts-dejavu-core
  build windows-x64 TlkC2 tlk
  build release tlk
  start_screen 912x480
  # A Wine of its own: the services of the other one have no screen.
  export TLK_WINE_PREFIX=$PWD/build/wine/screen TLK_WINE_DISPLAY=$DISPLAY
  wine=yes
  start_wine
  set_console FaceName REG_SZ 'DejaVu Sans Mono'
  set_console FontSize REG_DWORD $((16 << 16))
  set_console WindowSize REG_DWORD $(((18 << 16) + 104))
  set_console ScreenBufferSize REG_DWORD $(((18 << 16) + 104))
  local folder=$TLK_WINE_PREFIX/drive_c/TlkC2
  mkdir -p "$folder"
  cp build/windows-x64/com/TlkC2.dll build/windows-x64/tools/tlk/tlk.exe "$folder"
  # The marks on the buttons of a window.
  cp /usr/share/wine/fonts/marlett.ttf "$TLK_WINE_PREFIX/drive_c/windows/Fonts"
  start_server build/release/tools/tlk/tlk "$work/server.txt"

  cat >"$folder/greeting.txt" <<SCRIPT
connect 127.0.0.1 $port
send Greeting "<Text>Good morning</Text>"
wait message 5000
pump 60000
SCRIPT

  (cd "$folder" && TMPDIR=$work exec "$run_in_wine" explorer /desktop=TlkC2,912x480 \
    wineconsole cmd /k "title Command Prompt& cls") </dev/null >"$work/output" 2>&1 &
  until_true lies_at 'Command Prompt' 0 0
  drag 60 12 84 36
  until_true lies_at 'Command Prompt' 24 24
  press 'type greeting.txt'
  until_true is_still
  press 'tlk host --window --quiet --module TlkC2.dll --script greeting.txt'
  until_true lies_at 'tlk host' 0 0
  until_true logged 'Message Recieved. Greeting'
  until_true is_still
  drag 60 12 624 268
  until_true lies_at 'tlk host' 564 256
  until_true is_still
  take docs/control.png
}

# set_console NAME TYPE VALUE: a setting of all consoles.
set_console() {
  "$run_in_wine" reg add 'HKCU\Console' /v "$1" /t "$2" /d "$3" /f </dev/null >"$work/registry" 2>&1
}

need xvfb netpbm
[ "$#" -gt 0 ] || set -- console control
for picture in "$@"; do
  case $picture in
    console | control) "$picture" ;;
    *) echo "No such picture: $picture" >&2 && exit 1 ;;
  esac
done
