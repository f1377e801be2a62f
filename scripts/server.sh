# Sourced by other scripts: the development server, beside which something else is to run.

# start_server TLK OUTPUT: starts the server of that program for one client and at most a minute, with
# its output in that file; leaves its process in `server` and its port in `port`.
start_server() {
  : >"$2"  # The server may take its time to make it.
  "$1" serve --clients 1 --for 60 >>"$2" &
  server=$!
  for _ in $(seq 200); do
    port=$(sed -n 's/^listening 127\.0\.0\.1://p' "$2")
    [ -z "$port" ] || return 0
    sleep 0.05
  done
  echo "The server did not start" >&2
  return 1
}
