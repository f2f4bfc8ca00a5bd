#!/usr/bin/env bash
# Sets up, builds, and converts the demo prototype examples/demo.html into
# examples/out/, printing the result record.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
scripts/setup.sh
mkdir -p examples/out
build/pagefold examples/demo.html examples/out/
