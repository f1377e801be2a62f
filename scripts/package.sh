#!/usr/bin/env bash
# package.sh: makes what users install, with checksums, in build/packages: the Debian packages, and for
# Windows a zip and an installer. Twice the same commit gives twice the same bytes.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

packages=$PWD/build/packages
rm -rf "$packages"
mkdir -p "$packages"
# The time that everything made here bears: the commit's, or outside a clone the changelog's.
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct 2>/dev/null || stat -c %Y CHANGELOG.md)}
export SOURCE_DATE_EPOCH

need_package_tools
packaging/debian/make.sh "$packages"
packaging/windows/make.sh "$packages"
cd "$packages"
sha256sum -- * >SHA256SUMS
cat SHA256SUMS
