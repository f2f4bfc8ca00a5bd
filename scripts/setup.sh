#!/usr/bin/env bash
# Prepares a Debian 12 machine for pagefold and builds it into build/.
#
# Installs the Debian packages the build needs, but only those that are
# missing (so a second run touches nothing), then configures and builds.
#   scripts/setup.sh              install what is missing, build into build/
#   scripts/setup.sh --deps-only  install what is missing, build nothing
#   scripts/setup.sh --with-chromium  also install the headless browser that
#                                 pagefold-preview --against and its tests run
#   scripts/setup.sh --picture-check  also install what
#                                 scripts/compare-pictures.py needs
#   scripts/setup.sh --fuzz-deps  also what scripts/fuzz.sh needs, build nothing
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."

# What the library, the command, the plug-ins, the tests and the benchmarks
# are built from (python3: the checks of the include direction and of
# docs/page-format.md; clang-format: the format check); the Python module and
# its tests (pybind11, pytest); the Debian package (dpkg-shlibdeps from
# dpkg-dev, which CPack runs only where `file` is installed).
REQUIRED=(
  build-essential g++ cmake pkg-config python3 clang-format
  libpcre2-dev libutf8proc-dev libspng-dev zlib1g-dev
  libgtest-dev libgmock-dev libbenchmark-dev libssl-dev
  python3-dev python3-pybind11 python3-pytest dpkg-dev file
  # The picture plug-in: glyphs and emoji (FreeType, HarfBuzz), spinners
  # (giflib), and the icon and colour emoji fonts it draws from.
  libfreetype-dev libharfbuzz-dev libgif-dev
  fonts-material-design-icons-iconfont fonts-noto-color-emoji
  # pagefold-preview: drawing (cairo), the default CJK font, and the
  # Latin-only font its font check is tested with.
  libcairo2-dev fonts-noto-cjk fonts-dejavu-core
)
# Nice to have.
OPTIONAL=()
# The browser comparison of pictures, on request only.
PICTURE_CHECK=(chromium python3-pil)
# Only for scripts/fuzz.sh: clang with libFuzzer and the sanitizer runtimes.
FUZZ=(clang-14 libclang-rt-14-dev)

deps_only=0
for arg in "$@"; do
  case "$arg" in
    --deps-only) deps_only=1 ;;
    --with-chromium) REQUIRED+=(chromium) ;;
    --picture-check) REQUIRED+=("${PICTURE_CHECK[@]}") ;;
    --fuzz-deps) deps_only=1; REQUIRED+=("${FUZZ[@]}") ;;
    *) echo "setup.sh: unknown option $arg" >&2; exit 2 ;;
  esac
done

installed() {
  dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q "install ok installed"
}

missing_of() {
  local p
  for p in "$@"; do installed "$p" || echo "$p"; done
}

as_root() {
  if [ "$(id -u)" -eq 0 ]; then
    "$@"
  elif command -v sudo >/dev/null 2>&1; then
    sudo "$@"
  else
    echo "setup.sh: installing packages needs root (run as root or install sudo)" >&2
    exit 1
  fi
}

mapfile -t missing < <(missing_of "${REQUIRED[@]}")
missing_optional=()
# The optional packages are tried only together with required ones, so that a
# machine with everything required never runs apt-get again.
if [ "${#missing[@]}" -gt 0 ]; then
  mapfile -t missing_optional < <(missing_of "${OPTIONAL[@]}")
fi
if [ "${#missing[@]}" -gt 0 ]; then
  export DEBIAN_FRONTEND=noninteractive
  echo "setup.sh: installing ${missing[*]} ${missing_optional[*]}"
  as_root apt-get update -q
  as_root apt-get install -y -q --no-install-recommends "${missing[@]}"
  if [ "${#missing_optional[@]}" -gt 0 ]; then
    as_root apt-get install -y -q --no-install-recommends "${missing_optional[@]}" ||
      echo "setup.sh: optional ${missing_optional[*]} not installed; continuing" >&2
  fi
fi

if [ "$deps_only" -eq 1 ]; then
  exit 0
fi

cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build build -j "$(nproc)"
echo "setup.sh: built into build/ (command: build/pagefold)"
