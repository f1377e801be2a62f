#!/usr/bin/env bash
# Checks the files named: a folder includes only itself and the folders below it, and the core includes
# no header of an operating system.
set -euo pipefail

# From the top of the house to the ground. The two folders on one floor share a class.
declare -A floor=([tests]=7 [tools]=6 [com]=5 [control]=4 [transport]=4 [xml]=3 [log]=2 [thread]=1 [platform]=0)
system='sys/|net/|netinet/|arpa/|unistd\.h|fcntl\.h|poll\.h|pthread\.h|signal\.h|dlfcn\.h|iconv\.h|windows\.h|winsock'
failed=0

complain() {
  echo "$1" >&2
  failed=1
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
  case $folder in control | transport | xml | log | thread)
    if grep -nE "^#include <($system)" "$file" >&2; then
      complain "$file: includes a system header"
    fi
    ;;
  esac
done
exit "$failed"
