# Sourced by the tests that build the README's program, after scripts/server.sh.

# greet TLK PROGRAM FOLDER: runs the program beside a server of TLK. FOLDER is for what they leave.
greet() {
  start_server "$1" "$3/server.txt"
  TMPDIR=$3 timeout 20 "$2" "$port" >"$3/greeter.txt" || echo "ended with $?" >>"$3/greeter.txt"
  wait "$server"
  server=
  diff - "$3/greeter.txt" <<'EXPECTED'
connected
<Data><Text>Good morning</Text></Data>
not connected
EXPECTED
}
