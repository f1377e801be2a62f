#!/usr/bin/env bash
# check.sh BUILD WORK TLK FLAGS: installs BUILD below WORK, builds the consumer project against it with
# the compiler flags FLAGS, and runs it against the server of the program TLK.
set -euo pipefail
build=$1 work=$2 tlk=$3 flags=$4
source=$(cd "$(dirname "$0")" && pwd)/project

rm -rf "$work/prefix" "$work/build" "$work/tmp"
mkdir -p "$work/tmp"
cmake --install "$build" --prefix "$work/prefix" >/dev/null
cmake -S "$source" -B "$work/build" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" \
  -DCMAKE_CXX_FLAGS="$flags" >/dev/null
cmake --build "$work/build"
"$work/prefix/bin/tlk" --version

"$tlk" serve --clients 1 --for 60 >"$work/server.txt" &
server=$!
trap 'kill "$server" 2>/dev/null || true' EXIT
for _ in $(seq 200); do
  port=$(sed -n 's/^listening 127\.0\.0\.1://p' "$work/server.txt")
  [ -z "$port" ] || break
  sleep 0.05
done
[ -n "$port" ] || { echo "The server did not start" >&2; exit 1; }

TMPDIR=$work/tmp "$work/build/greeter" "$port" >"$work/greeter.txt"
wait "$server"
diff - "$work/greeter.txt" <<'EXPECTED'
connected
a message of 38 characters
not connected
EXPECTED
grep -q 'Message Recieved. Greeting' "$work/tmp/TLK_Client.log"
