#!/usr/bin/env bash
# Every C++ file as clang-format writes it; names those that differ and fails.
set -euo pipefail
cd "${1:-$(dirname "$0")/..}"

find bench examples fuzz molio python tests tools vxgrid \( -name '*.h' -o -name '*.inl' -o -name '*.cpp' \) -print0 | sort -z |
  xargs -0 -r clang-format --dry-run -Werror
