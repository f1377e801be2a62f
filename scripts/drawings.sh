#!/usr/bin/env bash
# drawings.sh [--check]: makes the drawings of docs/, NAME.svg of drawings/NAME.dot; or says which of those
# that are there are not what their sources give.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

need_docs_tools

# draw SOURCE: what is written of it. The boxes are measured with one font and shown with whatever the
# reader has; a ground of its own lets it be read on a dark page as well.
draw() {
  dot -Tsvg -Gfontname='DejaVu Sans' -Nfontname='DejaVu Sans' -Efontname='DejaVu Sans' -Gfontsize=11 \
    -Nfontsize=11 -Gbgcolor=white -Gpad=0.1 -Ncolor='#55606c' -Ecolor='#55606c' "$1" |
    sed -e 's/font-family="DejaVu Sans"/font-family="DejaVu Sans,Verdana,sans-serif"/' -e '/^<!--/d' -e '/^ -->/d'
}

for source in docs/drawings/*.dot; do
  drawing=docs/$(basename "$source" .dot).svg
  if [ "${1:-}" != --check ]; then
    draw "$source" >"$drawing"
    echo "$drawing"
  elif ! draw "$source" | cmp -s - "$drawing"; then
    echo "$drawing is not what $source gives: scripts/drawings.sh makes it" >&2
    exit 1
  fi
done
