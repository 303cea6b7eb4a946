// CCP4 maps from untrusted bytes: as a grid, as an image, and what was read written again.

#include <vxgrid/formats/ccp4.h>

#include <vxgrid/formats/regular_size.inl>

#include "fuzz.h"

using namespace VXCore;

// A large map of few bytes is slow to write and tells nothing new.
constexpr unsigned int kSmall = 65536;

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
    float dims[3];
    if (regular_points(grid, dims) < kSmall) VXWriteCCP4Grid(out, grid);
    grid.SetSpaceGroup(1);
    VXWriteCCP4Grid(out, grid);
  }
  if (as_image && map.GetGridSize() < kSmall) {
    VXCCP4ToGrid(grid, map);
    map.Write(out);
  }
  return 0;
}
