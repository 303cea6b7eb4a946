#pragma once

#include <algorithm>
#include <functional>
#include <optional>
#include <vector>

#include <vxgrid/grid/value_grid.h>

/// Contour levels by a sort of all values, none of which is not-a-number.
inline std::vector<float> plain_contour_levels(const VXCore::VXFixedGrid<float>& grid, unsigned levels,
                                               bool descending, std::optional<float> limit, unsigned stride) {
  std::vector<float> v;
  if (stride < 2)
    v.assign(grid.GetValues(), grid.GetValues() + grid.GetSize());
  else
    for (unsigned x = 0; x < grid.GetXDim(); x += stride)
      for (unsigned y = 0; y < grid.GetYDim(); y += stride)
        for (unsigned z = 0; z < grid.GetZDim(); z += stride)
          v.push_back(grid[(z * grid.GetYDim() + y) * grid.GetXDim() + x]);
  if (descending)
    std::sort(v.begin(), v.end(), std::greater<>());
  else
    std::sort(v.begin(), v.end());

  const unsigned n = static_cast<unsigned>(v.size());
  v.push_back(v[0]);  // the second run of a grid that has but one
  const auto stops = [&](float value) { return descending ? !(value > *limit) : !(value < *limit); };
  unsigned hi = 0, lo = 0, i = 1;
  if (limit)
    while (i < n && !stops(v[i])) ++i;
  if (limit && i < n)
    hi = i - 1;
  else
    for (i = 1; i < n; ++i)
      if (v[i] != v[i - 1]) hi = i - 1;
  while (lo < n && v[lo] == v[0]) ++lo;

  std::vector<float> list{v[lo]};
  if (lo < hi && levels >= 3) {
    const unsigned m = levels - 1;
    const float span = static_cast<float>(hi - lo), base = static_cast<float>(lo) + 0.5f;
    const float u = 1.0f / static_cast<float>(m);
    for (unsigned k = 1; k < m; ++k) {
      const float t = static_cast<float>(k) * u;
      unsigned r = static_cast<unsigned>(t * t * span * t + base);
      if (r == levels) r = m;
      list.push_back(v[r]);
    }
  }
  list.push_back(v[hi]);
  return list;
}
