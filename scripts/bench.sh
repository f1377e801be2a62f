#!/usr/bin/env bash
# bench.sh [--json FILE] [--only SUBJECT]: measures this project beside what bounds it and the best peers.
#
# Builds the release preset with the measurements, runs those of every subject, or of the one that is
# named, one after the other, and prints a table of them; --json writes the same as an array of objects.
# A bound that is not met shows in the table and fails nothing.
set -euo pipefail

subjects=(receive roundtrip building large logging locks gate lists hostile idle tap)

# fail TEXT... : ends with status 2.
fail() {
  echo "bench.sh: $*" >&2
  exit 2
}

json=
chosen=("${subjects[@]}")
while [ "$#" -gt 0 ]; do
  [ "$#" -ge 2 ] || fail "usage: bench.sh [--json FILE] [--only SUBJECT]"
  case $1 in
    --json)
      json=$(realpath -- "$2") && : >"$json" || fail "cannot write $2"
      ;;
    --only)
      [[ " ${subjects[*]} " == *" $2 "* ]] || fail "no subject $2; there are: ${subjects[*]}"
      chosen=("$2")
      ;;
    *) fail "usage: bench.sh [--json FILE] [--only SUBJECT]" ;;
  esac
  shift 2
done

cd "$(dirname "$0")/.."
. scripts/packages.sh

# One row for a line of figures, and one more for each further peer.
rows='
def digits: if . == 0 then . else
  pow(10; 2 - (fabs | log10 | floor)) as $scale | (. * $scale | round) / $scale end;
def side($unit): if . == null then "-\t-\t-"
  else "\(.figure | digits) \($unit) \(.name)\t\(.ratio | digits)\t\(.bound)" end;
def verdict: if .met then "yes" else "NO" end;
"subject\twhat\tthis project\tlimit\tratio\tbound\tpeer\tratio\tbound\tmet",
(.[] | . as $line | [.rivals[] | select(.kind == "limit")] as $limits
  | [.rivals[] | select(.kind == "peer")] as $peers
  | range([1, ($peers | length)] | max)
  | (if $line.bound then "-\t-\t\($line.bound)" else $limits[.] | side($line.unit) end) as $limit
  | "\($line.subject)\t\($line.what)\t\($line.ours | digits) \($line.unit)\t\($limit)\t\($peers[.]
      | side($line.unit))\t\($line | verdict)")'

need_bench_tools
cmake --preset release -DTLKC2_BENCH=ON >/dev/null
build release "${chosen[@]/#/compare_}"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for subject in "${chosen[@]}"; do
  echo "Measuring $subject"
  (cd "$work" && "$OLDPWD/build/release/bench/compare_$subject" >>lines)
done
jq -s . "$work/lines" >"$work/json"
[ -z "$json" ] || cp "$work/json" "$json"

echo
echo "$(date -u '+%Y-%m-%d %H:%M') UTC, $(nproc) x $(sed -n 's/^model name\s*: //p' /proc/cpuinfo | head -n 1)"
jq -r "$rows" "$work/json" | column -t -s $'\t' -o '  ' -R 3,5,8
