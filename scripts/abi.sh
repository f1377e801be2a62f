#!/usr/bin/env bash
# abi.sh [REVISION]: tells what programs made with the shared library of REVISION, by default the last
# release (the newest tag v* before here), would notice with today's. Ends with 1 if that is anything; new
# names do not count.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
need_build_tools
need abigail-tools

revision=${1:-$(git describe --tags --match 'v*' --abbrev=0 2>/dev/null || true)}
if [ -z "$revision" ]; then
  echo "There is no release before this one to compare with"
  exit 0
fi
git rev-parse --quiet --verify "$revision^{commit}" >/dev/null || { echo "No revision $revision" >&2 && exit 2; }
if ! git grep -q tlkc2_shared "$revision" -- cmake; then
  echo "$revision has no shared library to compare with"
  exit 0
fi

work=$PWD/build/abi
rm -rf "$work" && git worktree prune && mkdir -p "$work"
trap 'git worktree remove --force "$work/source"' EXIT
git worktree add -q --detach "$work/source" "$revision"

# build_library SOURCE NAME: as it is released, and with what tells of types.
build_library() {
  echo "Building the library of $2"
  quietly "$work/$2.log" cmake -S "$1" -B "$work/$2" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTLKC2_TESTS=OFF
  quietly "$work/$2.log" cmake --build "$work/$2" --target tlkc2_shared
}
build_library "$work/source" before
build_library . now

if abidiff --no-added-syms --headers-dir1 "$work/before/include" --headers-dir2 "$work/now/include" \
  "$work"/{before,now}/libtlkc2.so; then
  echo "Programs made with $revision go on working"
else
  exit 1
fi
