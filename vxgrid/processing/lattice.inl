#pragma once

// Arithmetic of plain lattices shared by the sources that work on them.

#include <emmintrin.h>

#include <cmath>
#include <cstddef>
#include <limits>

#include <vxgrid/processing/grid_struct.h>

namespace VXCore::lattice {

// Truncation that is defined for every number: what no int can hold, not-a-number included, gives the lowest
// int, as the processor's own conversion does.
inline int truncate(float x) { return _mm_cvttss_si32(_mm_set_ss(x)); }
inline int truncate(double x) { return _mm_cvttsd_si32(_mm_set_sd(x)); }

// 2 trunc(steps) + 3, the samples of an axis that reaches past so many steps on both sides of its middle.
// What no int can hold becomes the nearest int, and not-a-number 3.
inline int odd_dimension(float steps) {
  const float half = std::trunc(steps);
  if (!(half < 0x1p30f)) return half > 0.0f ? std::numeric_limits<int>::max() : 3;
  return half < -0x1p30f ? std::numeric_limits<int>::min() : static_cast<int>(half) * 2 + 3;
}

// Elements of a record that may be used; 0 for an empty, negative or overflowing one.
inline std::ptrdiff_t element_count(const GridStruct& grid) {
  if (grid.xdim < 1 || grid.ydim < 1 || grid.zdim < 1 || vx_grid_struct_overflow(grid)) return 0;
  return std::ptrdiff_t{grid.xdim} * grid.ydim * grid.zdim;
}

// One axis of a lattice: half its span, and its bounds.
struct Span {
  Span(float mid, int dim, float spacing)
      : half(static_cast<float>(dim - 1) * spacing * 0.5f), low(mid - half), high(mid + half) {}
  float half, low, high;
};

// A record that looks at the values of a grid object.
template <class Grid>
GridStruct view(const Grid& grid, const float* floats) {
  GridStruct v{};
  v.floats = const_cast<float*>(floats);  // routines that only read take a record too
  v.spacing = grid.GetSpacing();
  if (v.spacing != 0) v.inverse_spacing = 1.0f / v.spacing;
  v.xdim = static_cast<int>(grid.GetXDim());
  v.ydim = static_cast<int>(grid.GetYDim());
  v.zdim = static_cast<int>(grid.GetZDim());
  v.xmid = grid.GetXMid();
  v.ymid = grid.GetYMid();
  v.zmid = grid.GetZMid();
  return v;
}

// A grid counts as sized when a dimension is above 1.
template <class Grid>
bool is_sized(const Grid& grid) {
  return grid.GetXDim() > 1 || grid.GetYDim() > 1 || grid.GetZDim() > 1;
}

}  // namespace VXCore::lattice
