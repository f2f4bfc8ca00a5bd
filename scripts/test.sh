#!/usr/bin/env bash
# Sets up, builds and runs every test, then checks the formatting.
#   scripts/test.sh             build into build/ and run the tests there
#   scripts/test.sh --sanitize  build into build-asan/ with AddressSanitizer
#                               and UndefinedBehaviorSanitizer, run the tests there
# Both install Debian's chromium too, for the previewer's browser comparison.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."

sanitize=0
for arg in "$@"; do
  case "$arg" in
    --sanitize) sanitize=1 ;;
    *) echo "test.sh: unknown option $arg" >&2; exit 2 ;;
  esac
done

if [ "$sanitize" -eq 1 ]; then
  scripts/setup.sh --deps-only --with-chromium
  cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=Debug -DPAGEFOLD_SANITIZE=ON -DPAGEFOLD_BENCH=OFF
  cmake --build build-asan -j "$(nproc)"
  dir=build-asan
else
  scripts/setup.sh --with-chromium
  dir=build
fi
ctest --test-dir "$dir" --output-on-failure -j "$(nproc)"
# Formatting is part of the tree's shape: an unformatted file fails the run.
scripts/check-format.sh
