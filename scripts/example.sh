#!/usr/bin/env bash
# Sets up, builds, and converts the demo prototype examples/demo.html the way
# a project lays out its files: the pages into examples/out/ui/, the pictures
# into examples/out/resources/images/. Prints the result record and then the
# pictures that were made.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
scripts/setup.sh
rm -rf examples/out
build/pagefold examples/demo.html examples/out/ui
echo
echo "Pages:    $(cd examples/out/ui && echo *)"
echo "Pictures: examples/out/resources/images/"
(cd examples/out/resources/images && ls -l --time-style=+ | tail -n +2 | awk '{printf "  %8d  %s\n", $5, $NF}')
