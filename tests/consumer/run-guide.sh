#!/usr/bin/env bash
# run-guide.sh GUIDE PREFIX WORK: builds each program of the guide against the library installed in
# PREFIX, runs it below WORK beside a server of its own, and compares what it prints with what the guide
# says: the block behind it.
set -euo pipefail
guide=$1 prefix=$2 work=$3
. "$(dirname "$0")/../../scripts/server.sh"
export PKG_CONFIG_PATH
PKG_CONFIG_PATH=$(find "$prefix" -name pkgconfig)
flags=$(pkg-config --cflags --libs tlkc2 glib-2.0)
read -ra flags <<<"$flags -Wl,-rpath,$(dirname "$PKG_CONFIG_PATH")"

rm -rf "$work" && mkdir -p "$work/tmp"
awk -v work="$work" '
  /^```cpp$/ { file = sprintf("%s/%d.cpp", work, ++count); next }
  /^```$/ && !file && printed < count { printed = count; file = sprintf("%s/%d.expected", work, count); next }
  /^```/ { file = ""; next }
  file { print > file }' "$guide"

server=
trap '[ -z "$server" ] || kill "$server" 2>/dev/null || true' EXIT
cd "$work"
programs=(*.cpp)
[ "${#programs[@]}" -eq "$(grep -c '^```cpp$' "$guide")" ]
printf '%s\n' "${programs[@]%.cpp}" |
  xargs -P 2 -I {} g++ -std=c++20 -Wall -Wextra -Werror {}.cpp -o {} "${flags[@]}"
for program in "${programs[@]%.cpp}"; do
  start_server "$prefix/bin/tlk" server.txt
  TMPDIR=$work/tmp timeout 20 "./$program" "$port" >"$program.printed"
  kill "$server" 2>/dev/null || true  # Those that never connect leave it waiting.
  wait "$server" || true
  server=
  diff -u "$program.expected" "$program.printed"
done
echo "${#programs[@]} programs"
