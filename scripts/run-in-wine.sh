#!/usr/bin/env bash
# run-in-wine.sh PROGRAM ARGUMENT...: runs a Windows program under the project's Wine as if it were one
# of this system, with its standard streams and its exit status. TMPDIR, when set, is its temporary
# folder. There is no screen unless TLK_WINE_DISPLAY names one.
set -euo pipefail
export WINEPREFIX=${TLK_WINE_PREFIX:-$(cd "$(dirname "$0")/.." && pwd)/build/wine/prefix}
export WINEDEBUG=${WINEDEBUG:--all}
export WINEDLLOVERRIDES="mscoree,mshtml="
[ -d "$WINEPREFIX" ] || { echo "Wine is not set up: scripts/test.sh does that" >&2; exit 1; }

# Wine keeps its server in TMPDIR, and hands on the temporary folder under a name of its own.
if [ -n "${TMPDIR:-}" ]; then
  export WINETMP=Z:${TMPDIR//\//\\}
  unset TMPDIR
fi
unset DISPLAY
[ -z "${TLK_WINE_DISPLAY:-}" ] || export DISPLAY=$TLK_WINE_DISPLAY
exec /usr/lib/wine/wine64 "$@"
