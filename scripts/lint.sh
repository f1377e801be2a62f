#!/usr/bin/env bash
# Checks the sources: format, guards on one line, which way the includes point, that nothing but
# platform/StandardOutput.h prints, warnings as errors, clang-tidy as each of the builds sees them,
# that each public name is documented and each drawing is what its source gives.
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

echo "Checking that a guard that fits a line stands on one"
scripts/check-guards.sh "${sources[@]}"

echo "Checking that includes point downwards"
scripts/check-includes.sh "${sources[@]}"

echo "Checking that the library prints in one place"
if git grep -nE 'std::(v?printf|puts|fputs|cout|cerr)|stdout' -- \
  '*.cpp' '*.h' ':!tests' ':!tools' ':!bench' ':!fuzz'; then
  exit 1
fi

echo "Checking that each public name is documented, and the drawings"
scripts/docs.sh >/dev/null
scripts/drawings.sh --check

# configure PRESET [OPTION...]: for building each source by itself, which finds what it fails to include.
configure() {
  cmake --preset "$1" -B "build/lint/$1" -DCMAKE_UNITY_BUILD=OFF \
    -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON "${@:2}" >/dev/null
}

configure debug -DTLKC2_BENCH=ON -DTLKC2_REPLAY=ON
configure windows-x64
configure windows-x86
echo "Building debug, each source by itself"
quietly build/lint/debug.log cmake --build build/lint/debug
# Of the Windows builds, the generated headers that their sources include are enough.
quietly build/lint/windows-x64.log cmake --build build/lint/windows-x64 --target tlkc2_idl
quietly build/lint/windows-x86.log cmake --build build/lint/windows-x86 --target tlkc2_idl
scripts/tidy.sh build/lint/debug build/lint/windows-x64 build/lint/windows-x86
echo "Clean"
