#!/usr/bin/env bash
# check.sh FILE...: checks on built programs and modules, native and Windows, that what guards them against
# faults of their own is in them. First that the check itself finds a program which lacks all of it.
set -euo pipefail

# expect FILE WHAT PATTERN: the text on standard input, read to its end, must have a line of the pattern.
expect() {
  grep -E -- "$3" >/dev/null && return
  echo "$1 has no $2" >&2
  return 1
}

check_native() {
  local bad=0
  readelf -hW "$1" | expect "$1" 'address that changes (PIE)' 'Type: +DYN' || bad=1
  readelf -lW "$1" | expect "$1" 'stack without code' 'GNU_STACK.* RW +0x' || bad=1
  readelf -lW "$1" | expect "$1" 'tables that end up read-only (RELRO)' 'GNU_RELRO' || bad=1
  readelf -dW "$1" | expect "$1" 'symbols bound at its start (BIND_NOW)' 'BIND_NOW|Flags:.* NOW' || bad=1
  readelf -sW "$1" | expect "$1" 'guarded stacks' '__stack_chk_fail' || bad=1
  readelf -sW "$1" | expect "$1" 'checked buffer functions' '__(mem|str|sn|vsn)[a-z]+_chk' || bad=1
  return $bad
}

check_windows() {
  local bad=0 headers
  headers=$(x86_64-w64-mingw32-objdump -p "$1")
  expect "$1" 'address that changes' 'DYNAMIC_BASE' <<<"$headers" || bad=1
  expect "$1" 'data without code' 'NX_COMPAT' <<<"$headers" || bad=1
  if grep -q 'pei-x86-64' <<<"$headers"; then
    expect "$1" 'address out of all 64 bits' 'HIGH_ENTROPY_VA' <<<"$headers" || bad=1
  fi
  x86_64-w64-mingw32-nm "$1" | expect "$1" 'guarded stacks' '__stack_chk_fail' || bad=1
  return $bad
}

check() {
  case $1 in
    *.dll | *.exe) check_windows "$1" ;;
    *) check_native "$1" ;;
  esac
}

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
echo 'int main() {}' | g++ -x c++ -no-pie -z execstack -z norelro -z lazy -o "$folder/bare" -
if check "$folder/bare" 2>"$folder/report"; then
  echo "A program without any guard passes" >&2
  exit 1
fi

failed=0
for file in "$@"; do
  if check "$file"; then echo "ok $file"; else failed=1; fi
done
exit $failed
