#!/usr/bin/env bash
# check.sh FILE...: checks on built programs and modules, native and Windows, that what guards them against
# faults of their own is in them. First that the check itself finds a program which lacks each of them.
set -euo pipefail

# guards FILE: what must guard it, a line for each: the command that tells of it; a pattern that a line of
# its output must have; and what it is.
guards() {
  local mingw=x86_64-w64-mingw32
  case $1 in
    *.dll | *.exe)
      echo "$mingw-objdump -p;DYNAMIC_BASE;address that changes"
      echo "$mingw-objdump -p;NX_COMPAT;data without code"
      echo "$mingw-objdump -p;pei-i386|HIGH_ENTROPY_VA;address out of all 64 bits"
      echo "$mingw-nm;__stack_chk_fail;guarded stacks"
      ;;
    *)
      echo "readelf -hW;Type: +DYN;address that changes (PIE)"
      echo "readelf -lW;GNU_STACK.* RW +0x;stack without code"
      echo "readelf -lW;GNU_RELRO;tables that end up read-only (RELRO)"
      echo "readelf -dW;BIND_NOW|Flags:.* NOW;symbols bound at its start (BIND_NOW)"
      echo "readelf -sW;__stack_chk_fail;guarded stacks"
      echo "readelf -sW;__(mem|str|sn|vsn)[a-z]+_chk;checked buffer functions"
      ;;
  esac
}

# lacking FILE: tells of each guard that it lacks, in a line.
lacking() {
  local command pattern what
  while IFS=';' read -r command pattern what; do
    $command "$1" | grep -E -- "$pattern" >/dev/null || echo "$1 has no $what"
  done < <(guards "$1")
}

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
echo 'int main() {}' | g++ -x c++ -no-pie -z execstack -z norelro -z lazy -o "$folder/bare" -
[ "$(lacking "$folder/bare" | wc -l)" = 6 ] || { echo "A program without any guard passes" >&2 && exit 1; }

failed=0
for file in "$@"; do
  lacks=$(lacking "$file")
  if [ -z "$lacks" ]; then echo "ok $file"; else failed=1 && echo "$lacks" >&2; fi
done
exit $failed
