#!/usr/bin/env bash
# Installs a build into a scratch prefix and uses it as an outside project does: through find_package, through
# pkg-config and through the installed command.  run.sh SOURCE_DIR BUILD_DIR
set -euo pipefail
source=$1 build=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build" --prefix "$scratch/prefix" >/dev/null
cmake -S "$source/tests/consumer" -B "$scratch/cmake" -DCMAKE_PREFIX_PATH="$scratch/prefix" >/dev/null
cmake --build "$scratch/cmake"
"$scratch/cmake/consumer" "$source/examples/data"

pc=$(find "$scratch/prefix" -name vxgrid.pc)
export PKG_CONFIG_PATH=${pc%/*}
lib=${pc%/pkgconfig/*}
export LD_LIBRARY_PATH=$lib
flags() { pkg-config --define-prefix "$@" vxgrid; }
# shellcheck disable=SC2046
c++ -std=c++17 $(flags --cflags) "$source/tests/consumer/consumer.cpp" -o "$scratch/consumer" $(flags --libs) \
  -lvxgrid_molio
"$scratch/consumer" "$source/examples/data"

"$scratch/prefix/bin/vxgrid" info "$source/examples/data/4hg7.mtz" >/dev/null
echo "installed, found by CMake and by pkg-config, and run"
