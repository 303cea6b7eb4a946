#!/usr/bin/env bash
# Installs what is missing, builds with warnings as errors and runs every test; then the same tests once more
# under AddressSanitizer and UndefinedBehaviorSanitizer. With names of presets, just those:
#   scripts/test.sh ci
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh build python test
[ $# -gt 0 ] || set -- ci asan
for preset in "$@"; do
  echo "== $preset"
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset"
  ctest --preset "$preset" -j "$(nproc)"
done
