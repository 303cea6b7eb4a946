#include <vxgrid/processing/grid_struct.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <vxgrid/grid/grid_accessors.h>
#include <vxgrid/grid/zemogrid.h>
#include <vxgrid/host/error_handler.h>
#include <vxgrid/processing/lattice.inl>

namespace VXCore {
namespace {

std::size_t elements(const GridStruct& grid, int count) {
  return static_cast<std::size_t>(count < 1 ? lattice::element_count(grid) : count);
}

// 4 n bytes; null for the count of a record that overflows.
void* allocate(const GridStruct& grid, int count) {
  if (count < 1 && vx_grid_struct_overflow(grid)) return nullptr;
  return std::malloc(4 * elements(grid, count));
}

void copy_geometry(GridStruct& to, const GridStruct& from) {
  to.xdim = from.xdim;
  to.ydim = from.ydim;
  to.zdim = from.zdim;
  to.xmid = from.xmid;
  to.ymid = from.ymid;
  to.zmid = from.zmid;
  to.spacing = from.spacing;
  to.inverse_spacing = from.inverse_spacing;
}

// Copies an array of the record over the first field of a part of the grid.
template <class Part, class T>
bool put_field(Part& part, const T* values, const GridStruct& grid) {
  if (lattice::element_count(grid) != static_cast<std::ptrdiff_t>(part.GetSize())) {
    VXThrow.Warning("Attempting to set grid data with wrong size array");
    return false;
  }
  return part.SetValues(0, values, part.GetSize());  // warns of a field that does not exist
}

}  // namespace

void vx_allocate_grid_struct(GridStruct& grid, bool integers, bool floats, int count) {
  if (integers) grid.integers = static_cast<int*>(allocate(grid, count));
  if (floats) grid.floats = static_cast<float*>(allocate(grid, count));
}

void vx_reallocate_grid_struct(GridStruct& grid, int count, bool integers, bool floats) {
  const std::size_t bytes = 4 * static_cast<std::size_t>(std::max(count, 0));
  if (integers) grid.integers = static_cast<int*>(std::realloc(grid.integers, bytes));
  if (floats) grid.floats = static_cast<float*>(std::realloc(grid.floats, bytes));
}

void vx_deallocate_grid_struct(GridStruct& grid, bool integers, bool floats) {
  if (integers) {
    std::free(grid.integers);
    grid.integers = nullptr;
  }
  if (floats) {
    std::free(grid.floats);
    grid.floats = nullptr;
  }
}

void vx_zero_grid_struct(GridStruct& grid, bool integers, bool floats, int count) {
  const std::size_t bytes = 4 * elements(grid, count);
  if (integers && grid.integers) std::memset(grid.integers, 0, bytes);
  if (floats && grid.floats) std::memset(grid.floats, 0, bytes);
}

bool vx_grid_struct_overflow(int x, int y, int z) {
  if (x == 0 || y == 0 || z == 0) return false;
  const std::uint64_t xy = static_cast<std::uint64_t>(std::int64_t{x} * y);
  return xy >= 2147483648u || xy * static_cast<std::uint64_t>(std::int64_t{z}) > 2147483647u;
}

bool vx_grid_struct_overflow(const GridStruct& grid) {
  return vx_grid_struct_overflow(grid.xdim, grid.ydim, grid.zdim);
}

int vx_grid_struct_midpoint(GridStruct* grid) {
  const auto middle = [](int dim) { return (std::int64_t{dim} - 1) >> 1; };
  return static_cast<int>(middle(grid->xdim) +
                          grid->xdim * (middle(grid->ydim) + grid->ydim * middle(grid->zdim)));
}

int vx_convert_grid_object_to_grid_structure(GridStruct& out, const VXZemoGrid& grid) {
  copy_geometry(out, lattice::view(grid, nullptr));
  out.floats = nullptr;
  out.integers = nullptr;
  if (grid.GetFloatsSet()) {
    vx_allocate_grid_struct(out, false, true, 0);
    if (out.floats) vx_get_grid_floats(out.floats, grid);
  }
  if (grid.GetIntegersSet()) {
    vx_allocate_grid_struct(out, true, false, 0);
    if (out.integers) vx_get_grid_integers(out.integers, grid);
  }
  return 1;
}

bool VXConvertGridStructureToGridObject(VXZemoGrid& out, const GridStruct& grid) {
  if (grid.name) out.SetTitle(grid.name);
  out.SetSpacing(grid.spacing);
  out.SetMid(grid.xmid, grid.ymid, grid.zmid);
  out.SetDim(static_cast<unsigned int>(grid.xdim), static_cast<unsigned int>(grid.ydim),
             static_cast<unsigned int>(grid.zdim));
  const bool floats_done = !grid.floats || put_field(out.GetFloats(), grid.floats, grid);
  const bool integers_done = !grid.integers || put_field(out.GetIntegers(), grid.integers, grid);
  return floats_done && integers_done;
}

int vx_set_grid_from_points(float* xyz, int n, float xextra, float yextra, float zextra, float spacing,
                            GridStruct* grid) {
  if (spacing == 0) return 0;
  const float extra[3] = {xextra, yextra, zextra};
  float* const mid[3] = {&grid->xmid, &grid->ymid, &grid->zmid};
  int* const dim[3] = {&grid->xdim, &grid->ydim, &grid->zdim};
  for (int a = 0; a < 3; ++a) {
    float low = xyz[a], high = xyz[a];
    for (std::ptrdiff_t i = 1; i < n; ++i) {
      low = std::min(low, xyz[3 * i + a]);
      high = std::max(high, xyz[3 * i + a]);
    }
    const double span = 2.0 * extra[a] + (high - low);
    *mid[a] = (low + high) * 0.5f;
    // One spacing of padding on both sides, and the truncation rounded up.
    *dim[a] = lattice::truncate(span * (1.0 / spacing)) + 3;
  }
  grid->floats = nullptr;
  grid->integers = nullptr;
  grid->spacing = spacing;
  grid->inverse_spacing = 1.0f / spacing;
  return 1;
}

int vx_set_grid_values_by_function(GridStruct grid, float (*fn)(float x, float y, float z)) {
  if (lattice::element_count(grid) == 0) return 1;
  const float step = grid.spacing;
  const float xlow = lattice::Span(grid.xmid, grid.xdim, step).low;
  const float ylow = lattice::Span(grid.ymid, grid.ydim, step).low;
  float* value = grid.floats;
  float z = lattice::Span(grid.zmid, grid.zdim, step).low;
  for (int k = 0; k < grid.zdim; ++k, z += step) {
    float y = ylow;
    for (int j = 0; j < grid.ydim; ++j, y += step) {
      float x = xlow;
      for (int i = 0; i < grid.xdim; ++i, x += step) *value++ = fn(x, y, z);
    }
  }
  return 1;
}

void vi_copy_grid(int, GridStruct* out, GridStruct in, int kind) {
  copy_geometry(*out, in);
  if (in.name && *in.name) {
    // The copy counts strlen characters and no end mark; the 0 behind them is a guard for readers that
    // look for one.
    const std::size_t length = std::strlen(in.name);
    out->name = static_cast<char*>(std::malloc(length + 1));
    if (out->name) std::memcpy(out->name, in.name, length + 1);
  }
  if (kind == 1) {
    vx_allocate_grid_struct(*out, false, true, 0);
    if (out->floats) std::memcpy(out->floats, in.floats, 4 * elements(in, 0));
  }
}

void vi_clear_grid(GridStruct* grid, int kind) {
  if (kind == 1) vi_zero_grid(*grid);
}

void vi_zero_grid(GridStruct grid) { vi_constant_grid(grid, 0.0f); }

void vi_constant_grid(GridStruct grid, float value) {
  std::fill_n(grid.floats, lattice::element_count(grid), value);
}

int vi_get_grid_limits(GridStruct grid, float* xmin, float* ymin, float* zmin, float* xmax, float* ymax,
                       float* zmax) {
  const lattice::Span x(grid.xmid, grid.xdim, grid.spacing), y(grid.ymid, grid.ydim, grid.spacing),
      z(grid.zmid, grid.zdim, grid.spacing);
  *xmin = x.low;
  *ymin = y.low;
  *zmin = z.low;
  *xmax = x.high;
  *ymax = y.high;
  *zmax = z.high;
  return 1;
}

int vi_print_grid_limits(GridStruct grid) {
  float low[3], high[3];
  vi_get_grid_limits(grid, &low[0], &low[1], &low[2], &high[0], &high[1], &high[2]);
  std::printf("grid extents are: %f to %f, %f to %f, %f to %f\n", low[0], high[0], low[1], high[1], low[2],
              high[2]);
  return 1;
}

}  // namespace VXCore
