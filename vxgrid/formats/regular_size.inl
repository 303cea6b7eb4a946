#pragma once

#include <algorithm>
#include <cmath>

#include <vxgrid/grid/zemogrid.h>
#include <vxgrid/host/error_handler.h>
#include <vxgrid/processing/make_grid.h>

namespace VXCore {

/// Points of the grid that VXMakeRegularGrid makes of an oblique one at its own spacing, and its dimensions;
/// those that no grid can have may be negative, infinite or not-a-number.
inline double regular_points(const VXZemoGrid& grid, float dims[3]) {
  float center[3] = {}, extents[3] = {};
  VXGetCenterAndExtents(grid, center, extents);
  double points = 1;
  for (int axis = 0; axis < 3; ++axis) {
    dims[axis] = std::trunc((extents[axis] + 1e-5f) / grid.GetSpacing() + 1.0f);
    points *= dims[axis];
  }
  return points;
}

/// Whether a grid from a file is made regular: with steps of very different length along its axes, a file of
/// some bytes would take gigabytes, as all get the shortest one. At most 2^24 points are made of any source,
/// and 64 of each of its samples. False after a Warning that ends in `advice`. What VXMakeRegularGrid refuses
/// is left to it.
inline bool regular_size_is_bearable(const VXZemoGrid& grid, const char* advice) {
  constexpr float kMost = 16777216;  // 2^24, along an axis too
  float dims[3];
  const double points = regular_points(grid, dims);
  for (const float dim : dims)
    if (!(dim >= 1 && dim <= kMost)) return true;
  if (points <= std::max<double>(kMost, 64.0 * grid.GetSize())) return true;
  VXThrow.Warning(
      "Regular grid of %.0f x %.0f x %.0f points at spacing %g would be too large for a source of %u%s",
      dims[0], dims[1], dims[2], grid.GetSpacing(), grid.GetSize(), advice);
  return false;
}

}  // namespace VXCore
