#pragma once

// What is sampled: a lattice of values and how it stands in the world.

#include <algorithm>

#include <vxgrid/grid/grid_accessors.h>
#include <vxgrid/processing/lattice.inl>
#include <vxgrid/processing/orientation.inl>

namespace VXCore::lattice {

struct Source {
  GridStruct lattice;
  float orientation[9];

  explicit Source(const GridStruct& grid, const float* matrix = kIdentity) : lattice(grid) {
    std::copy_n(matrix, 9, orientation);
  }
  // The current float field.
  explicit Source(const VXZemoGrid& grid) : Source(view(grid, vi_grid_floats(grid))) {
    grid.GetOrientation(orientation);
  }
  explicit Source(const VXScalarGrid& grid) : Source(view(grid, grid.GetValues())) {}

  void get_mid(float* mid) const {
    mid[0] = lattice.xmid;
    mid[1] = lattice.ymid;
    mid[2] = lattice.zmid;
  }
};

// From the world to the axes of the source. A singular matrix leaves the points where they are.
inline Turn unturn(const Source& source) {
  const float origin[3] = {0, 0, 0};
  float inverse[9], mid[3];
  source.get_mid(mid);
  return invert(source.orientation, inverse) ? Turn(inverse, mid) : Turn(kIdentity, origin);
}

}  // namespace VXCore::lattice
