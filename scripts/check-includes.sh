#!/usr/bin/env bash
# Checks the files named: a folder includes only itself and the folders below it, the core includes
# neither a header of an operating system nor what stands behind its ports, and no file asks which
# system it is compiled for.
set -euo pipefail

# From the top of the house to the ground. The two folders on one floor share a class.
declare -A floor=([tests]=7 [tools]=6 [com]=5 [control]=4 [transport]=4 [xml]=3 [log]=2 [thread]=1 [platform]=0)
posix='sys/|net/|netinet/|arpa/|(unistd|fcntl|poll|pthread|signal|dlfcn|iconv|sched)\.h'
windows='(win[a-z0-9]*|ws2[a-z]*|ole[a-z0-9]*|oaidl|ocidl|objidl|objbase|unknwn|msxml[0-9]*|comdef|io|process)\.h'
behind='(platform/(posix|windows)|xml/(pugixml|msxml))/'
failed=0

complain() {
  echo "$1" >&2
  failed=1
}

# The DOM adapters and the control that brings its own ports live in folders of the core, but are no
# part of it.
is_core() {
  case $1 in
    xml/msxml/* | xml/pugixml/* | control/NativeControl.*) return 1 ;;
    control/* | transport/* | xml/* | log/* | thread/*) return 0 ;;
    *) return 1 ;;
  esac
}

for file in "$@"; do
  folder=${file%%/*}
  here=${floor[$folder]:-}
  [ -n "$here" ] || continue
  while IFS= read -r included; do
    target=${included%%/*}
    there=${floor[$target]:-}
    if [ -n "$there" ] && [ "$there" -gt "$here" ]; then
      complain "$file: includes $included, which lies above it"
    fi
  done < <(sed -nE 's/^#include "([^"]+)".*/\1/p' "$file")
  if is_core "$file" && grep -niE "^ *# *include *[<\"]($posix|$windows|$behind)" "$file" >&2; then
    complain "$file: belongs to the core, which knows no system"
  fi
done
if grep -nE '^ *# *(el)?if.*\b(_WIN(32|64)|__(linux|unix|MINGW(32|64))__)' "$@" >&2; then
  complain "an #if on a system: where two differ, the build takes the one file or the other"
fi
exit "$failed"
