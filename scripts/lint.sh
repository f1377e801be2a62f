#!/usr/bin/env bash
# Checks the sources: format, which way the includes point, warnings as errors, clang-tidy.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

need_test_tools
need clang-format clang-tidy

mapfile -t sources < <(git ls-files '*.cpp' '*.h')
echo "Checking the format of ${#sources[@]} files"
clang-format --dry-run -Werror "${sources[@]}"

echo "Checking that includes point downwards"
scripts/check-includes.sh "${sources[@]}"

build debug
echo "Running clang-tidy"
git ls-files '*.cpp' | grep -v '^tests/consumer/' |
  xargs -P "$(nproc)" -n 4 clang-tidy -p build/debug --quiet 2>build/tidy.log ||
  { grep -v 'warnings generated' build/tidy.log >&2; exit 1; }
echo "Clean"
