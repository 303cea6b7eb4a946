#pragma once

#include <cfloat>
#include <vector>

#include <vxgrid/grid/scalargrid.h>

/// VXExtractBlob point by point, without its messages; the number of points cleared.
inline unsigned int plain_extract_blob(VXCore::VXScalarGrid& grid, unsigned int seed, float level) {
  const unsigned int n = grid.GetSize();
  const int X = static_cast<int>(grid.GetXDim()), P = X * static_cast<int>(grid.GetYDim());
  std::vector<int> offsets;
  for (const int centre : {0, X, -X, P, P + X, P - X, -P, -P + X, -P - X})
    for (const int step : {0, 1, -1})
      if (centre != 0 || step != 0) offsets.push_back(centre + step);

  const float* const values = grid.GetValues();
  if (level == FLT_MAX) level = values[seed];
  std::vector<bool> in_blob(n);
  in_blob[seed] = true;
  if (level >= 0)
    for (std::vector<unsigned int> frontier = {seed}, next; !frontier.empty();
         frontier.swap(next), next.clear())
      for (const unsigned int p : frontier)
        for (const int offset : offsets) {
          const unsigned int q = p + static_cast<unsigned int>(offset);
          if (q >= n || in_blob[q] || values[q] < level) continue;
          in_blob[q] = true;
          next.push_back(q);
        }

  unsigned int cleared = 0;
  for (unsigned int i = 0; i < n; ++i)
    if (!in_blob[i]) {
      grid[i] = 0;
      ++cleared;
    }
  return cleared;
}
