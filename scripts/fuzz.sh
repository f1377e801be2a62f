#!/usr/bin/env bash
# fuzz.sh SECONDS [TARGET...]: fuzzes each target, or those named, for so long; all start with their corpus.
#
# What a fuzzer finds of new inputs stays in build/fuzz/found/TARGET; what it finds of faults in
# build/fuzz/faults, and the script ends with 1.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

seconds=${1:?"usage: fuzz.sh SECONDS [TARGET...]"}
shift
need_fuzz_tools
build fuzz
targets=("$@")
[ "$#" -gt 0 ] || mapfile -t targets < <(ls fuzz/corpus)
mkdir -p build/fuzz/faults
failed=0
printf '%-14s %12s %10s %10s %8s\n' target executions per-second coverage result
for target in "${targets[@]}"; do
  mkdir -p "build/fuzz/found/$target"
  log=build/fuzz/$target.log
  result=ok
  "build/fuzz/fuzz/fuzz_$target" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=2048 -close_fd_mask=1 \
    -print_final_stats=1 -artifact_prefix="build/fuzz/faults/$target-" \
    "build/fuzz/found/$target" "fuzz/corpus/$target" >"$log" 2>&1 || { result=FAULT && failed=1; }
  executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
  rate=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log")
  coverage=$(sed -n 's/.* cov: \([0-9]*\).*/\1/p' "$log" | tail -1)
  printf '%-14s %12s %10s %10s %8s\n' "$target" "${executions:--}" "${rate:--}" "${coverage:--}" "$result"
  [ $result = ok ] || grep -E 'ERROR|Does not hold|SUMMARY|Test unit written' "$log" >&2 || tail -5 "$log" >&2
done
exit $failed
