#!/usr/bin/env bash
# soak.sh [WAVES CLIENTS BURSTS SECONDS]: makes ten thousand connections to the development server and sends a
# million messages, counted both ways, or as many as the numbers say, with the release build, and checks that
# nothing is left behind. Prints a line for each thousand. tests/soak/soak.py tells what the numbers are.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

need_build_tools
need python3
build release tlk
exec tests/soak/soak.py build/release/tools/tlk/tlk "$@"
