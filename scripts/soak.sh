#!/usr/bin/env bash
# soak.sh [OPTION...]: makes ten thousand connections to the development server and a million messages,
# with the release build, and checks that nothing is left behind. Prints a line for each thousand. Options
# go to the program: --connections, --messages, --limit.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

need_test_tools
mkdir -p build
echo "Building release"
{ cmake --preset release -DTLKC2_TESTS=ON && cmake --build --preset release --target soak tlk; } \
  >build/release.log || { cat build/release.log >&2 && exit 1; }
exec build/release/tests/soak/soak --tlk build/release/tools/tlk/tlk "$@"
