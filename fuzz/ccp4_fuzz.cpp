// CCP4 maps from untrusted bytes: as a grid, as an image, and what was read written again.

#include <vxgrid/formats/ccp4.h>
#include <vxgrid/processing/make_grid.h>

#include <cmath>

#include "fuzz.h"

using namespace VXCore;

// A large map of few bytes is slow to write and tells nothing new.
constexpr unsigned int kSmall = 65536;

// Samples of the grid made regular, which a map without a group becomes on its way to a file: with steps of
// very different length along the axes these are many, as they all get the shortest one.
static double regular_size(const VXZemoGrid& grid) {
  float centre[3], extents[3];
  VXGetCenterAndExtents(grid, centre, extents);
  double n = 1;
  for (const float extent : extents) n *= std::fabs((extent + 1e-5f) / grid.GetSpacing()) + 2;
  return n;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const QuietLog quiet;
  FuzzInput in(bytes, size);
  VXZemoGrid grid;
  const bool as_grid = VXReadCCP4Map(in, grid);
  in.seek(0);
  VXCCP4Map map;
  const bool as_image = map.Read(in);
  map.Dump(true);
  VXHost::vxosstream out;
  if (as_grid && grid.GetSize() < kSmall) {
    if (regular_size(grid) < kSmall) VXWriteCCP4Grid(out, grid);
    grid.SetSpaceGroup(1);
    VXWriteCCP4Grid(out, grid);
  }
  if (as_image && map.GetGridSize() < kSmall) {
    VXCCP4ToGrid(grid, map);
    map.Write(out);
  }
  return 0;
}
