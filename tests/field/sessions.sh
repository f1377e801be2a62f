#!/usr/bin/env bash
# sessions.sh TLK SOURCE: whether docs/field-tools.md installs and shows what it says, where the log is that of the
# stories in docs/trace-log.md, and the capture one of captures.txt; then whether lnav.md beside this holds.
set -euo pipefail
tlk=$(realpath "$1") source=$2 HOME=$(mktemp -d)
trap 'rm -rf "$HOME"' EXIT
mkdir "$HOME/field-tools" && cd "$HOME"
cp "$source"/tools/{lnav/tlkc2.json,wireshark/tlkc2.lua} field-tools
sed -n '/^## Stories/,$p' "$source/docs/trace-log.md" | sed -n '/^```$/,/^```$/{/^```/d;p}' |
  sed -z 's/\n (/\x01 (/g' | sort -s -k1,2 | tr '\001' '\n' >TLK_Client.log
"$source/tests/field/wireshark.py" - "$source/tests/field/captures.txt" 'what docs/' >talk.pcap
"$source/tests/docs/play-sessions.sh" "$tlk" "$source/docs/field-tools.md"
"$source/tests/docs/play-sessions.sh" "$tlk" "$source/tests/field/lnav.md"
