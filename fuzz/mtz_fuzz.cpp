// MTZ files: the list of columns, the whole set, and the map when its indices are small.

#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/reflection/mtz.h>
#include <vxgrid/reflection/reflection.h>
#include <vxgrid/reflection/reflection_impl.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "fuzz.h"

namespace {

// Expansion and a transform take as much as the indices ask for; the fuzzer stays with small ones.
bool is_small(const VXCore::VXReflectionImpl& set) {
  if (set.nref > 1000) return false;
  for (std::size_t i = 0; i < set.nref; ++i)
    for (const int index : {set.h[i], set.k[i], set.l[i]})
      if (index < -8 || index > 8) return false;
  return true;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  using namespace VXCore;
  const QuietLog quiet;
  std::vector<std::string> names;
  std::vector<char> types;
  FuzzInput list(bytes, size);
  VXGetMTZFileColumnNamesAndTypes(list, names, types);

  FuzzInput in(bytes, size);
  VXReflection set;
  if (!VXReadReflectionMTZ(in, set, VXMTZColumnNames()) || set.GetCount() == 0) return 0;
  set.CalcResolution();
  set.Sort();
  if (!is_small(*set.GetImpl()) || !set.Expand()) return 0;
  VXSkewGrid grid;
  for (unsigned int type = 0; type < 14; ++type) set.MakeMap(grid, type);
  return 0;
}
