#!/usr/bin/env bash
# host-in-wine.sh PROGRAM ARGUMENT...: runs a host that is a Windows program. Its ANSI code page is the
# one that TLK_CODE_PAGE names, as for a native host: Wine takes it from the locale.
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
locales=$root/build/wine/locales

case ${TLK_CODE_PAGE:-} in
  '') ;;
  CP932) export LOCPATH=$locales LC_ALL=ja_JP.UTF-8 ;;
  *) echo "no locale has the code page $TLK_CODE_PAGE" >&2; exit 1 ;;
esac
exec "$root/scripts/run-in-wine.sh" "$@"
