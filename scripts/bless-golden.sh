#!/usr/bin/env bash
# Accepts what the golden test produced for the named cases (or every case
# that has an actual/ folder): copies actual/ over the expected files.
# Read the difference before blessing it: the expected files are the contract.
set -euo pipefail
cd "$(dirname "$0")/../tests/golden"
cases=("$@")
if [ ${#cases[@]} -eq 0 ]; then
  mapfile -t cases < <(find . -mindepth 2 -maxdepth 2 -type d -name actual -printf '%h\n' | sed 's|^\./||')
fi
for c in "${cases[@]}"; do
  [ -d "$c/actual" ] || { echo "no actual output for $c" >&2; continue; }
  rm -rf "$c/pages"
  cp "$c/actual/record.json" "$c/record.json"
  [ -d "$c/actual/pages" ] && cp -r "$c/actual/pages" "$c/pages"
  # Cases converted with the real plug-ins also pin their pictures.
  [ -f "$c/actual/pictures.json" ] && cp "$c/actual/pictures.json" "$c/pictures.json"
  rm -rf "$c/actual"
  echo "blessed $c"
done
