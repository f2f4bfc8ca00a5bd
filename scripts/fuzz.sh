#!/usr/bin/env bash
# Fuzzes the whole conversion (tests/fuzz/convert_fuzz.cpp) with clang's
# libFuzzer, AddressSanitizer and UndefinedBehaviorSanitizer.
#   scripts/fuzz.sh [seconds]   build into build-fuzz/ and fuzz (60 s by default)
#
# Seeds: every golden case's input (the four shared samples among them) and
# the demo; inputs that reach new code are kept in build-fuzz/corpus. A crash,
# leak or broken invariant stops the run with status 1 and leaves the input in
# build-fuzz/crashes/ (replay: build-fuzz/tests/fuzz/convert_fuzz <file>).
# PAGEFOLD_FUZZ_PLUGINS=<dir> fuzzes with the plug-ins of <dir> instead of the
# test stand-ins.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."

seconds="${1:-60}"
case "$seconds" in
  ''|*[!0-9]*) echo "fuzz.sh: seconds must be a whole number, not '$seconds'" >&2; exit 2 ;;
esac

scripts/setup.sh --fuzz-deps
CC=clang-14 CXX=clang++-14 cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DPAGEFOLD_SANITIZE=ON -DPAGEFOLD_FUZZ=ON -DPAGEFOLD_BENCH=OFF >/dev/null
cmake --build build-fuzz --target convert_fuzz -j "$(nproc)"

seeds=build-fuzz/seeds
rm -rf "$seeds"
mkdir -p "$seeds" build-fuzz/corpus build-fuzz/crashes
for input in tests/golden/*/input.html; do
  cp "$input" "$seeds/golden_$(basename "$(dirname "$input")").html"
done
cp examples/demo.html "$seeds/demo.html"

# Deep nesting (up to 10,000 elements) is legal input; -timeout gives a slow
# one room, -rss_limit_mb bounds what one input may take.
build-fuzz/tests/fuzz/convert_fuzz -max_total_time="$seconds" -print_final_stats=1 \
  -dict=tests/fuzz/pagefold.dict -max_len=65536 -timeout=120 -rss_limit_mb=4096 \
  -artifact_prefix=build-fuzz/crashes/ \
  build-fuzz/corpus "$seeds"
