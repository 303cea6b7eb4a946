#!/usr/bin/env bash
# Installs what is missing, builds the library and the command, and scores the sample crystal.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh build
cmake -S . -B build/quickstart -G Ninja -DCMAKE_BUILD_TYPE=Release -DVXGRID_TESTS=OFF -DVXGRID_PYTHON=OFF >/dev/null
cmake --build build/quickstart

vxgrid=build/quickstart/tools/vxgrid
echo
echo "$vxgrid fit examples/data/4hg7.pdb examples/data/4hg7.mtz --sort"
$vxgrid fit examples/data/4hg7.pdb examples/data/4hg7.mtz --sort
