#!/usr/bin/env bash
# Builds the tests in each of the presets named (by default debug, asan-ubsan and tsan) and runs them
# all, conversations included.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

need_test_tools
[ "$#" -gt 0 ] || set -- debug asan-ubsan tsan
for preset in "$@"; do
  build "$preset"
  echo "Testing $preset"
  ctest --preset "$preset"
done
