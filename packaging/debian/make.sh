#!/usr/bin/env bash
# make.sh FOLDER: puts the Debian packages libtlkc2-1, libtlkc2-dev and tlk into FOLDER.
#
# SOURCE_DATE_EPOCH is the time that everything in them bears. DEBFULLNAME and DEBEMAIL say who maintains
# them, as for all of Debian's tools.
set -euo pipefail
folder=$(realpath -- "${1:?"usage: make.sh FOLDER"}")
cd "$(dirname "$0")/../.."
. scripts/packages.sh

build=$PWD/build/debian
echo "Building the Debian packages"
umask 022
quietly "$build.configure.log" cmake --preset release -B "$build" -DCMAKE_INSTALL_PREFIX=/usr
quietly "$build.log" cmake --build "$build"
rm -rf "$build/packages"
BUILD=$build quietly "$build.cpack.log" cpack --config packaging/debian/Packages.cmake -B "$build/packages"
cp "$build"/packages/*.deb "$folder"
