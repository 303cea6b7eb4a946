#!/usr/bin/env bash
# vxgrid/vxgrid.h includes every public header, folder by folder in the order in which includes run, a blank line
# before each folder. Prints what differs and fails; with --write it writes the list instead.
set -euo pipefail
cd "$(dirname "$0")/.."

list() {
  for folder in host xtal grid processing formats gaussian molgrid reflection realspace exchange; do
    ls "vxgrid/$folder"/*.h >/dev/null 2>&1 || continue
    echo
    find "vxgrid/$folder" -name '*.h' | LC_ALL=C sort | sed 's/.*/#include <&>/'
  done
}

whole() {
  sed '/^$/,$d' vxgrid/vxgrid.h
  echo
  sed -n '/^\/\//p' vxgrid/vxgrid.h
  list
}

if [ "${1:-}" = --write ]; then
  text=$(whole)
  echo "$text" >vxgrid/vxgrid.h
else
  diff vxgrid/vxgrid.h <(whole)
fi
