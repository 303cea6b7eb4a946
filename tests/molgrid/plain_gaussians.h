#pragma once

#include <cmath>
#include <cstddef>

#include <vxgrid/processing/grid_struct.h>

/// Adds prefactor * exp(-width * r^2) to the points within `radius` of the centre, with one exp for each.
inline void add_gaussian_with_exp(const VXCore::GridStruct& grid, const float* centre, float width,
                                  float prefactor, float radius) {
  const float h = grid.spacing;
  const int dim[3] = {grid.xdim, grid.ydim, grid.zdim};
  float low[3], high[3];
  VXCore::vi_get_grid_limits(grid, &low[0], &low[1], &low[2], &high[0], &high[1], &high[2]);
  int first[3], last[3];
  for (int a = 0; a < 3; ++a) {
    first[a] = std::max(static_cast<int>(std::ceil((centre[a] - radius - low[a]) / h)), 0);
    last[a] = std::min(static_cast<int>(std::floor((centre[a] + radius - low[a]) / h)), dim[a] - 1);
  }
  for (int k = first[2]; k <= last[2]; ++k)
    for (int j = first[1]; j <= last[1]; ++j) {
      const float dz = low[2] + static_cast<float>(k) * h - centre[2],
                  dy = low[1] + static_cast<float>(j) * h - centre[1];
      const float row_d2 = dz * dz + dy * dy;
      float* const row = grid.floats + (static_cast<std::ptrdiff_t>(k) * dim[1] + j) * dim[0];
      for (int i = first[0]; i <= last[0]; ++i) {
        const float dx = low[0] + static_cast<float>(i) * h - centre[0], d2 = dx * dx + row_d2;
        if (d2 <= radius * radius) row[i] += prefactor * std::exp(-width * d2);
      }
    }
}
