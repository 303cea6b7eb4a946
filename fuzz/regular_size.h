#pragma once

#include <cmath>

#include <vxgrid/processing/make_grid.h>

/// Samples of the grid made regular, which a map without a group becomes on its way to a CCP4 file and every
/// grid that is read as a plain one: with steps of very different length along the axes these are many, as
/// they all get the shortest one. Large ones of few bytes are slow, or too large for memory, and tell nothing
/// new.
template <class Grid>
double regular_size(const Grid& grid) {
  float centre[3], extents[3];
  VXCore::VXGetCenterAndExtents(grid, centre, extents);
  double n = 1;
  for (const float extent : extents) n *= std::fabs((extent + 1e-5f) / grid.GetSpacing()) + 2;
  return n;
}
