#!/usr/bin/env bash
# Fails (status 1) when clang-format would change a tracked C++ file, and
# names the files; `scripts/check-format.sh --fix` formats them instead.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

mapfile -t files < <(git ls-files '*.cpp' '*.hpp' '*.h')
if [ "${1:-}" = "--fix" ]; then
  clang-format -i "${files[@]}"
  exit 0
fi
bad=()
for f in "${files[@]}"; do
  clang-format --dry-run --Werror "$f" >/dev/null 2>&1 || bad+=("$f")
done
if [ "${#bad[@]}" -gt 0 ]; then
  echo "check-format: clang-format would change ${#bad[@]} file(s); run scripts/check-format.sh --fix:" >&2
  printf '  %s\n' "${bad[@]}" >&2
  exit 1
fi
echo "check-format: ${#files[@]} files formatted"
