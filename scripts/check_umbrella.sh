#!/usr/bin/env bash
# vxgrid/vxgrid.h includes every public header, folder by folder in the order in which includes run, names in
# alphabetic order within a folder. Prints what differs and fails; with --write it writes the list instead.
set -euo pipefail
cd "$(dirname "$0")/.."

list() {
  for folder in host xtal grid processing formats gaussian molgrid reflection realspace exchange; do
    [ ! -d "vxgrid/$folder" ] || find "vxgrid/$folder" -name "*.h" | LC_ALL=C sort | sed "s/.*/#include <&>/"
  done
}

if [ "${1:-}" = --write ]; then
  { sed '/^#include/,$d' vxgrid/vxgrid.h; list; } >vxgrid/vxgrid.h.new
  mv vxgrid/vxgrid.h.new vxgrid/vxgrid.h
else
  diff <(grep '^#include' vxgrid/vxgrid.h) <(list)
fi
