#!/usr/bin/env bash
# The whole-process benchmark: builds pagefold in Release into build-release/
# and converts every benchmark prototype several times, printing median time
# and peak memory next to the targets, and the growth per doubling, with the
# plug-ins beside the command as users run it (--alone: without them).
#   bench/run.sh [run.py options]     e.g. --runs 9, --only mixed_20000, --alone
#   bench/run.sh --check --scale full output sums of the big prototypes
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
cmake -S . -B build-release -DCMAKE_BUILD_TYPE=Release -DPAGEFOLD_BENCH=OFF >/dev/null
cmake --build build-release -j 2 --target pagefold pagefold_measure \
  pagefold_ui_emit pagefold_gen_res >/dev/null
exec /usr/bin/python3 bench/run.py --pagefold build-release/pagefold \
  --measure build-release/pagefold_measure "$@"
