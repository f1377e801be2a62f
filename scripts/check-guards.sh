#!/usr/bin/env bash
# Checks the files named: an `if` without `else` whose one statement fits the line has no braces. That
# every other body has them, clang-tidy checks.
set -euo pipefail

exec awk '
  FNR == 1 { guard = body = "" }
  guard != "" && body != "" && $0 == indent "}" && length(guard " " body) <= 100 {
    print FILENAME ":" FNR - 2 ": " guard " " body
    failed = 1
  }
  guard != "" && body == "" && /^ *[^ \/].*;$/ && !/^ *(if|for|while|do) / {
    body = $0
    sub(/^ */, "", body)
    next
  }
  { guard = body = "" }
  /^ *if (constexpr )?\(.*\) \{$/ {
    guard = substr($0, 1, length($0) - 2)
    indent = $0
    sub(/if.*/, "", indent)
  }
  END { exit failed }' "$@" >&2
