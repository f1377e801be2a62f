#!/usr/bin/env bash
# package.sh: makes what users install, with checksums, in build/packages: the Debian packages, and for
# Windows a zip and an installer. Twice the same commit gives twice the same bytes.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

packages=$PWD/build/packages
rm -rf "$packages"
mkdir -p "$packages"
# The time that everything made here bears.
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH

need_package_tools
packaging/debian/make.sh "$packages"
packaging/windows/make.sh "$packages"
cd "$packages"
sha256sum -- * >SHA256SUMS
cat SHA256SUMS
