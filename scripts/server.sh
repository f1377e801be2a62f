# Sourced by other scripts: the development server, beside which something else is to run.

# start_server TLK OUTPUT: starts the server of that program for one client and at most a minute, with
# its output in that file; leaves its process in `server` and its port in `port`.
start_server() {
  start_listening "$2" "$1" serve --clients 1 --for 60
  server=$listening
}

# start_listening OUTPUT COMMAND...: starts what listens somewhere and says so first, with its output in that
# file; leaves its process in `listening` and its port in `port`.
start_listening() {
  local output=$1
  shift
  : >"$output"  # The command may take its time to make it.
  "$@" >>"$output" &
  listening=$!
  for _ in $(seq 200); do
    port=$(tr -d '\r' <"$output" | sed -n 's/^listening 127\.0\.0\.1://p')
    [ -z "$port" ] || return 0
    sleep 0.05
  done
  echo "Nothing listens: $*" >&2
  return 1
}
