#!/usr/bin/env bash
# check.sh BUILD WORK TLK FLAGS: installs BUILD below WORK, builds the consumer project against it with
# the compiler flags FLAGS, and runs it against the server of the program TLK.
set -euo pipefail
build=$1 work=$2 tlk=$3 flags=$4
here=$(cd "$(dirname "$0")" && pwd)
source=$here/project
. "$here/../../scripts/server.sh"

rm -rf "$work/prefix" "$work/build" "$work/tmp"
mkdir -p "$work/tmp"
cmake --install "$build" --prefix "$work/prefix" >/dev/null
cmake -S "$source" -B "$work/build" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" \
  -DCMAKE_CXX_FLAGS="$flags" >/dev/null
cmake --build "$work/build"
"$work/prefix/bin/tlk" --version

server=
trap '[ -z "$server" ] || kill "$server" 2>/dev/null || true' EXIT
start_server "$tlk" "$work/server.txt"

TMPDIR=$work/tmp "$work/build/greeter" "$port" >"$work/greeter.txt"
wait "$server"
diff - "$work/greeter.txt" <<'EXPECTED'
connected
a message of 38 characters
not connected
EXPECTED
grep -q 'Message Recieved. Greeting' "$work/tmp/TLK_Client.log"
