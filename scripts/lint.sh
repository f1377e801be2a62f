#!/usr/bin/env bash
# Checks the sources: format, which way the includes point, warnings as errors, clang-tidy as each of the
# builds sees them.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

need_test_tools
need_bench_tools
need_windows_tools
need clang-format clang-tidy

mapfile -t sources < <(git ls-files '*.cpp' '*.h')
echo "Checking the format of ${#sources[@]} files"
clang-format --dry-run -Werror "${sources[@]}"

echo "Checking that includes point downwards"
scripts/check-includes.sh "${sources[@]}"

cmake --preset debug -DTLKC2_BENCH=ON >/dev/null
build debug
# Of the Windows builds, the generated headers that their sources include are enough.
build windows-x64 tlkc2_idl
build windows-x86 tlkc2_idl
scripts/tidy.sh build/debug build/windows-x64 build/windows-x86
echo "Clean"
