#!/usr/bin/env bash
# blocks.sh LANGUAGE DOCUMENT: prints the fenced blocks of that language in a Markdown document, one after the
# other. The documents' samples are built and run from there, so that what is shown is what was tried.
set -euo pipefail
sed -n "/^\`\`\`$1\$/,/^\`\`\`\$/p" "$2" | grep -v '^```'
