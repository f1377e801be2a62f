#!/usr/bin/env bash
# check.sh BUILD WORK TLK FLAGS: installs BUILD below WORK, builds the README's program against it with
# the compiler flags FLAGS, and runs it against the server of the program TLK. Without sanitizers also with
# the static library, by pkg-config, with an older language, and each program of docs/native.md.
set -euo pipefail
build=$1 work=$2/work tlk=$3 flags=$4
here=$(cd "$(dirname "$0")" && pwd)
cd "$here/../.."
. scripts/server.sh
. tests/consumer/greet.sh

rm -rf "$work"
mkdir -p "$work/tmp"
cmake --install "$build" --prefix "$work/prefix" >/dev/null

# A folder of the program's own that is called like one of the library's does no harm.
mkdir -p "$work/own/platform"
echo '#error "the program has this one"' >"$work/own/platform/Platform.h"

# build_project TARGET: the README's program with one of the libraries.
build_project() {
  mkdir -p "$work/$1"
  scripts/blocks.sh cpp README.md >"$work/$1/main.cpp"
  scripts/blocks.sh cmake README.md | sed "s/TlkC2::TlkC2/TlkC2::$1/" >"$work/$1/CMakeLists.txt"
  cmake -S "$work/$1" -B "$work/$1/build" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" \
    -DCMAKE_CXX_FLAGS="$flags -I$work/own" >/dev/null
  cmake --build "$work/$1/build"
}

server=
trap '[ -z "$server" ] || kill "$server" 2>/dev/null || true' EXIT
build_project TlkC2
greet "$tlk" "$work/TlkC2/build/greeter" "$work/tmp"
grep -q 'Message Recieved. Greeting' "$work/tmp/TLK_Client.log"
[ -z "$flags" ] || exit 0

build_project Static
greet "$tlk" "$work/Static/build/greeter" "$work/tmp"

export PKG_CONFIG_PATH
PKG_CONFIG_PATH=$(find "$work/prefix" -name pkgconfig)
flags=$(pkg-config --static --cflags --libs tlkc2)
read -ra flags <<<"$flags"
g++ -std=c++20 -static -w "$work/Static/main.cpp" -o "$work/all-static" "${flags[@]}" 2>"$work/linker.txt"
greet "$tlk" "$work/all-static" "$work/tmp"

if g++ -std=c++17 -c "$work/Static/main.cpp" -o "$work/old.o" "${flags[@]}" 2>"$work/old.txt"; then exit 1; fi
grep -q 'fatal error: TlkC2 needs C++20 (-std=c++20)' "$work/old.txt"
[ "$(grep -c 'error' "$work/old.txt")" -eq 1 ]

"$here/run-guide.sh" "$PWD/docs/native.md" "$work/prefix" "$work/guide"
