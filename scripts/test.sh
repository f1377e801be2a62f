#!/usr/bin/env bash
# test.sh [--native] [PRESET...]: builds and runs every test.
#
# Natively in debug, asan-ubsan and tsan, conversations included, in debug under valgrind too; then, unless
# --native is given, the Windows module in both bitnesses and its tests under Wine, and the packages, which are
# made for it. With presets named, natively in these alone.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
. scripts/wine.sh
. scripts/wine32.sh

# test_preset PRESET: runs the tests of a preset, and tells of each case that it left out, and why, which
# nobody would hear otherwise.
test_preset() {
  echo "Testing $1"
  ctest --preset "$1"
  tr -d '\r' <"build/$1/Testing/Temporary/LastTest.log" | awk '
    /^Skipped: / { print }
    /: Skipped$/ { getline reason }
    /^\[  SKIPPED \] .* ms\)$/ { print "Skipped " $4 ": " reason }'
}

windows=yes
[ "${1:-}" != --native ] || { windows=no && shift; }
[ "$#" -eq 0 ] || windows=no

need_test_tools
[ $windows = no ] || need_windows_tools
native=("$@")
[ "$#" -gt 0 ] || native=(debug asan-ubsan tsan)
for preset in "${native[@]}"; do
  build "$preset"
  test_preset "$preset"
done
[ $windows = yes ] || exit 0

build windows-x64
packaging=
trap 'kill $packaging 2>/dev/null || true; end_wine; end_wine32' EXIT
start_wine
echo "Making the packages meanwhile"
nice scripts/package.sh >build/package.log 2>&1 &
packaging=$!
test_preset windows-x64
echo "Playing the conversations against the module in its container"
tests/conversations/play-in-wine.sh "build/${native[0]}" build/windows-x64
echo "Playing random commands on messages with both builds"
tests/differential/play.py "build/${native[0]}" build/windows-x64
echo "Running the samples of docs/embedding.md"
tests/embedding/check.sh "build/${native[0]}" build/windows-x64

wait "$packaging" || { cat build/package.log >&2 && exit 1; }
cat build/packages/SHA256SUMS
echo "Testing the packages"
nice tests/packages/debian.sh build/packages >build/debian-packages.log 2>&1 &
packaging=$!
tests/packages/windows.sh build/packages "build/${native[0]}"
wait "$packaging" || { cat build/debian-packages.log >&2 && exit 1; }
cat build/debian-packages.log

build windows-x86
echo "The 32-bit module, without conversations and samples: the system's container does not run there"
if start_wine32; then
  in_wine32 test_preset windows-x86
else
  ctest --preset windows-x86 --tests-regex '^com-module$'
fi
