#!/usr/bin/env bash
# check-readme.sh SOURCE: whether the README shows the consumer project as it is.
set -euo pipefail
cd "$1"
block() { sed -n "/^\`\`\`$1\$/,/^\`\`\`\$/p" README.md | sed '1d;$d'; }
diff <(block cpp) tests/consumer/project/main.cpp
diff <(block cmake) tests/consumer/project/CMakeLists.txt
