#!/usr/bin/env bash
# tidy.sh NATIVE WINDOWS: runs clang-tidy over every source as one of these two build folders compiles
# it. What both compile is the core, which knows no operating system: the native one is enough for it.
set -euo pipefail
cd "$(dirname "$0")/.."
export LC_ALL=C
native=$1
windows=$2

# Where the cross compiler finds its headers is nothing that clang can guess. Its own intrinsics stand
# in for those of GCC, so they come before the headers of the system and after those of C++.
mingw_arguments() {
  local compiler=x86_64-w64-mingw32-g++-posix folder
  local arguments=(--target=x86_64-w64-mingw32 -nostdlibinc)
  while read -r folder; do
    case $folder in
      */c++*) arguments+=("-isystem$folder") ;;
      */x86_64-w64-mingw32/include) arguments+=("-idirafter$folder") ;;
    esac
  done < <("$compiler" -E -v -x c++ /dev/null 2>&1 | sed -n '/^#include <...>/,/^End/p')
  printf -- '--extra-arg=%s\n' "${arguments[@]}"
}

# compiled_in FOLDER: the sources of this project that are built there.
compiled_in() {
  sed -nE "s|^ *\"file\": \"$PWD/([^\"]+)\",?\$|\\1|p" "$1/compile_commands.json" | sort -u
}

# tidy FOLDER [ARGUMENT...]: checks the sources named on the standard input.
tidy() {
  xargs -r -P "$(nproc)" -n 4 clang-tidy -p "$@" --quiet 2>&1 |
    { grep -vE '^[0-9]+ warnings? (generated|and)' || true; }
}

# The consumer's project is built against an installed copy, by its test.
sources=$(git ls-files '*.cpp' ':!tests/consumer' | sort)
not_native=$(comm -23 <(echo "$sources") <(compiled_in "$native"))
nowhere=$(comm -23 <(echo "$not_native") <(compiled_in "$windows"))
if [ -n "$nowhere" ]; then
  sed 's/$/: no build compiles it/' <<<"$nowhere" >&2
  exit 1
fi

failed=0
echo "Running clang-tidy over the native sources"
comm -12 <(echo "$sources") <(compiled_in "$native") | tidy "$native" || failed=1
echo "Running clang-tidy over the Windows sources"
mapfile -t arguments < <(mingw_arguments)
tidy "$windows" "${arguments[@]}" <<<"$not_native" || failed=1
exit "$failed"
