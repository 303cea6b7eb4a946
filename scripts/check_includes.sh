#!/usr/bin/env bash
# A folder of vxgrid/ includes itself and the folders before it, never one behind it, and nothing of molio/,
# tools/ or the tests. Names each line that breaks this and fails.
set -euo pipefail
cd "${1:-$(dirname "$0")/..}"

find vxgrid -mindepth 2 \( -name '*.h' -o -name '*.inl' -o -name '*.cpp' \) -print0 | sort -z | xargs -0 -r awk '
  BEGIN {
    count = split("host xtal grid processing formats gaussian molgrid reflection realspace exchange", order, " ")
    for (i = 1; i <= count; ++i) rank[order[i]] = i
  }
  FNR == 1 {
    split(FILENAME, path, "/")
    here = path[2]
    if (!(here in rank)) { print FILENAME ": folder " here " has no place in the order"; bad = 1 }
  }
  /^[ \t]*#[ \t]*include/ {
    if (!match($0, /[<"][^>"]*[>"]/)) next
    split(substr($0, RSTART + 1, RLENGTH - 2), name, "/")
    if (name[1] == "vxgrid" && (name[2] in rank) && rank[name[2]] <= rank[here]) next
    if (name[1] == "vxgrid" || name[1] == "molio" || name[1] == "tools" || name[1] == "tests" || name[1] == "..") {
      print FILENAME ":" FNR ": " here " may not include this: " $0
      bad = 1
    }
  }
  END { exit bad }'
