#!/usr/bin/env bash
# check.sh FILE...: checks on built programs and modules, native and Windows, that what guards them against
# faults of their own is in them. First that the check itself finds a program which lacks each of them.
set -euo pipefail

# What must guard a file, a line for each: the command that tells of it; a pattern that a line of its
# output must have; and what it is.
windows='x86_64-w64-mingw32-objdump -p;DYNAMIC_BASE;address that changes
x86_64-w64-mingw32-objdump -p;NX_COMPAT;data without code
x86_64-w64-mingw32-objdump -p;pei-i386|HIGH_ENTROPY_VA;address out of all 64 bits
x86_64-w64-mingw32-nm;__stack_chk_fail;guarded stacks'
native='readelf -hW;Type: +DYN;address that changes (PIE)
readelf -lW;GNU_STACK.* RW +0x;stack without code
readelf -lW;GNU_RELRO;tables that end up read-only (RELRO)
readelf -dW;BIND_NOW|Flags:.* NOW;symbols bound at its start (BIND_NOW)
readelf -sW;__stack_chk_fail;guarded stacks
readelf -sW;__(mem|str|sn|vsn)[a-z]+_chk;checked buffer functions'

# lacking FILE...: tells of each guard that one of them lacks, in a line.
lacking() {
  local file guards command pattern what
  for file in "$@"; do
    case $file in *.dll | *.exe) guards=$windows ;; *) guards=$native ;; esac
    while IFS=';' read -r command pattern what; do
      $command "$file" | grep -E -- "$pattern" >/dev/null || echo "$file has no $what"
    done <<<"$guards"
  done
}

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
echo 'int main() {}' | g++ -x c++ -no-pie -z execstack -z norelro -z lazy -o "$folder/bare" -
[ "$(lacking "$folder/bare" | wc -l)" = 6 ] || { echo "A program without any guard passes" >&2 && exit 1; }

lacks=$(lacking "$@")
[ -z "$lacks" ] || { echo "$lacks" >&2 && exit 1; }
printf 'ok %s\n' "$@"
