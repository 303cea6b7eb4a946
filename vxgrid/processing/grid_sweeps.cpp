#include <vxgrid/processing/grid_sweeps.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>

#include <vxgrid/processing/lattice.inl>

namespace VXCore {
namespace {

// The six sweeps over the faces, with the linear index of each visit.
template <class Visit>
void sweep_boundary(const GridStruct& grid, Visit visit) {
  const std::ptrdiff_t count = lattice::element_count(grid);
  if (count == 0) return;
  const std::ptrdiff_t row = grid.xdim, plane = row * grid.ydim;
  for (std::ptrdiff_t i = 0; i < plane; ++i) visit(i);
  for (std::ptrdiff_t i = count - plane; i < count; ++i) visit(i);
  for (std::ptrdiff_t i = 0; i < count; i += row) visit(i);
  for (std::ptrdiff_t i = row - 1; i < count; i += row) visit(i);
  for (std::ptrdiff_t p = 0; p < count; p += plane)
    for (std::ptrdiff_t i = p; i < p + row; ++i) visit(i);
  for (std::ptrdiff_t p = plane; p <= count; p += plane)
    for (std::ptrdiff_t i = p - row; i < p; ++i) visit(i);
}

}  // namespace

void vi_Boundary0(GridStruct grid) { vi_Boundary_f0(grid, 0.0f); }

void vi_Boundary_f0(GridStruct grid, float value) {
  sweep_boundary(grid, [&](std::ptrdiff_t i) { grid.floats[i] = value; });
}

void vi_scale_boundary(GridStruct grid, float factor) {
  sweep_boundary(grid, [&](std::ptrdiff_t i) { grid.floats[i] *= factor; });
}

void vi_PrintBoundary(GridStruct grid) {
  sweep_boundary(grid, [&](std::ptrdiff_t i) {
    std::printf("%d %f\n", static_cast<int>(i), static_cast<double>(grid.floats[i]));
  });
}

void vi_Inner_f0(GridStruct grid) {
  if (lattice::element_count(grid) == 0 || grid.xdim < 3) return;
  for (std::ptrdiff_t z = 1; z < grid.zdim - 1; ++z)
    for (std::ptrdiff_t y = 1; y < grid.ydim - 1; ++y)
      std::fill_n(grid.floats + 1 + grid.xdim * (y + grid.ydim * z), grid.xdim - 2, 0.0f);
}

// One component after the other, as each reads only values and x components that stand before it is made: the
// last elements read on beyond the values, into the x components at the head of the next block.
int vi_add_simple_gradients_to_grid(GridStruct* grid) {
  const std::ptrdiff_t count = lattice::element_count(*grid);
  const std::ptrdiff_t strides[3] = {1, grid->xdim, std::ptrdiff_t{grid->xdim} * grid->ydim};
  const float scale = 1 / grid->spacing;
  const float* const values = grid->floats;
  for (int axis = 0; axis < 3; ++axis) {
    float* const out = grid->floats + (axis + 1) * count;
    const float* const next = values + strides[axis];
    for (std::ptrdiff_t i = 0; i < count; ++i) out[i] = (next[i] - values[i]) * scale;
  }
  return 1;
}

}  // namespace VXCore
