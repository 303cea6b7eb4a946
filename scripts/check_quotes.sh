#!/usr/bin/env bash
# The C++ example of the README is examples/fit_residues.cpp without its opening comment.
set -euo pipefail
cd "$(dirname "$0")/.."

diff <(awk '/^```cpp/ { inside = 1; next } /^```/ { inside = 0 } inside' README.md) \
  <(sed '1,/^$/d' examples/fit_residues.cpp)
