#!/usr/bin/env bash
# docs.sh: makes the reference of the native library's public headers, with the pages of docs/ before it,
# in build/docs/html. A warning is an error: a public name without a word, a link that leads nowhere.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

need_docs_tools
# The headers as they are installed.
quietly build/release.configure.log cmake --preset release

# The links of the pages lead to headings by the name that the page's readers on the web know:
# "page.md#some-words". Here that name is given to them, with the page's own before it.
pages=build/docs/pages
rm -rf build/docs
mkdir -p "$pages"
for page in docs/*.md; do
  awk -v page="$(basename "$page" .md)" '
    /^ *```/ { isCode = !isCode }
    isCode { print; next }
    /^##+ / {
      name = tolower($0)
      sub(/^#+ /, "", name)
      gsub(/[^a-z0-9 -]/, "", name)
      gsub(/ /, "-", name)
      print $0 " {#" page "-" name "}"
      next
    }
    {
      $0 = gensub(/\]\(#([a-z0-9-]+)\)/, "](#" page "-\\1)", "g")
      print gensub(/\]\(([a-z-]+)\.md#([a-z0-9-]+)\)/, "](#\\1-\\2)", "g")
    }' "$page" >"$pages/$(basename "$page")"
done
doxygen docs/Doxyfile
echo build/docs/html/index.html
