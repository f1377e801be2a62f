#!/usr/bin/env bash
# tidy.sh FOLDER...: runs clang-tidy over every source, as the first of these build folders that
# compiles it does. What several compile is the core, which knows no system: once is enough for it.
set -euo pipefail
cd "$(dirname "$0")/.."
export LC_ALL=C

# compiled_in FOLDER: the sources of this project that are built there.
compiled_in() {
  sed -nE "s|^ *\"file\": \"$PWD/([^\"]+)\",?\$|\\1|p" "$1/compile_commands.json" | sort -u
}

# cross_arguments FOLDER: what clang needs to know of the cross compiler there, if it is one. Clang's
# intrinsics stand in for those of GCC, so they come after the headers of C++ and before the system's.
cross_arguments() {
  local compiler target folder
  compiler=$(grep -oEm1 '[^ "]+-w64-mingw32-g\+\+[^ "]*' "$1/compile_commands.json") || return 0
  target=${compiler##*/}
  target=${target%%-g++*}
  printf -- '--extra-arg=%s\n' "--target=$target" -nostdlibinc
  while read -r folder; do
    case $folder in
      */c++*) echo "--extra-arg=-isystem$folder" ;;
      */"$target"/include) echo "--extra-arg=-idirafter$folder" ;;
    esac
  done < <("$compiler" -E -v -x c++ /dev/null 2>&1 | sed -n '/^#include <...>/,/^End/p')
}

# tidy FOLDER: checks the sources named on the standard input.
tidy() {
  local arguments
  mapfile -t arguments < <(cross_arguments "$1")
  xargs -r -P "$(nproc)" -n 4 clang-tidy -p "$1" --quiet "${arguments[@]}" 2>&1 |
    { grep -vE '^[0-9]+ warnings? (generated|and)' || true; }
}


left=$(git ls-files '*.cpp' | sort)
nowhere=$(comm -23 <(echo "$left") <(for folder in "$@"; do compiled_in "$folder"; done | sort -u))
if [ -n "$nowhere" ]; then
  printf '%s\n' "No build compiles these:" "$nowhere" >&2
  exit 1
fi

failed=0
for folder in "$@"; do
  here=$(comm -12 <(echo "$left") <(compiled_in "$folder"))
  left=$(comm -23 <(echo "$left") <(echo "$here"))
  echo "Running clang-tidy over $(grep -c . <<<"$here") sources of $folder"
  tidy "$folder" <<<"$here" || failed=1
done
exit "$failed"
