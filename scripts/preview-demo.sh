#!/usr/bin/env bash
# Converts examples/demo.html as scripts/example.sh does (pages in
# examples/out/ui/, pictures in examples/out/resources/images/), previews its
# pages as the device shows them and compares them with the prototype in
# headless Chromium (pictures and report in examples/out/preview/).
#   scripts/preview-demo.sh         all of that
#   scripts/preview-demo.sh --docs  and copy the pictures the README shows into docs/
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."

docs=0
for arg in "$@"; do
  case "$arg" in
    --docs) docs=1 ;;
    *) echo "preview-demo.sh: unknown option $arg" >&2; exit 2 ;;
  esac
done

scripts/setup.sh --with-chromium
pages=examples/out/ui
rm -rf examples/out
build/pagefold examples/demo.html "$pages" > /dev/null
build/pagefold-preview "$pages" --against examples/demo.html -o examples/out/preview

if [ "$docs" -eq 1 ]; then
  cp examples/out/preview/contact-sheet.png docs/preview-demo-contact-sheet.png
  cp examples/out/preview/home.preview.png docs/preview-demo-home.png
  cp examples/out/preview/home.compare.png docs/preview-demo-home-compare.png
  echo "preview-demo.sh: pictures copied into docs/"
fi
