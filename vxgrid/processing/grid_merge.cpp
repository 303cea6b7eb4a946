#include <vxgrid/processing/grid_merge.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/host/error_handler.h>
#include <vxgrid/host/zemomol.h>
#include <vxgrid/processing/lattice.inl>

namespace VXCore {
namespace {

using Index = std::int64_t;

// A run of elements, `to` and `from` being linear indices into two blocks; cut so that it stays inside both.
struct Run {
  Run(Index to_start, Index to_size, Index from_start, Index from_size, Index length)
      : to(to_start),
        from(from_start),
        first(std::max<Index>({0, -to_start, -from_start})),
        last(std::min({length, to_size - to_start, from_size - from_start})) {}
  Index to, from;
  Index first, last;  // of the run's elements, exclusive at the end
};

template <class T, class Op>
void apply(const Run& run, T* to, const T* from, Op op) {
  for (Index i = run.first; i < run.last; ++i) op(to[run.to + i], from[run.from + i]);
}

// Where the parts of one axis of two lattices meet, the low side clipped.
struct AxisRange {
  AxisRange(int offset, int dim)
      : start(std::max(offset, 0)), source(std::max<Index>(-Index{offset}, 0)), count(dim - source) {}
  // Both sides clipped.
  AxisRange(int offset, int dim, int target_dim) : AxisRange(offset, dim) {
    count = std::min(count, target_dim - start);
  }
  Index start, source, count;
};

template <class Op>
void merge(GridStruct& a, const GridStruct& b, const int* offset, Op op) {
  const AxisRange x(offset[0], b.xdim), y(offset[1], b.ydim), z(offset[2], b.zdim);
  const Index a_size = lattice::element_count(a), b_size = lattice::element_count(b);
  if (a_size == 0 || b_size == 0) return;
  for (Index k = 0; k < z.count; ++k)
    for (Index j = 0; j < y.count; ++j) {
      const Index row = y.start + j + a.ydim * (z.start + k);
      if (row >= a_size / a.xdim) break;  // above the block, as are the further rows of this plane
      const Index from = x.source + b.xdim * (y.source + j + b.ydim * (z.source + k));
      apply(Run(x.start + a.xdim * row, a_size, from, b_size, x.count), a.floats, b.floats, op);
    }
}

// The same with both sides clipped.
template <class Op>
void merge_overlap(const GridStruct& a, const GridStruct& b, const int* offset, Op op) {
  const AxisRange x(offset[0], b.xdim, a.xdim), y(offset[1], b.ydim, a.ydim), z(offset[2], b.zdim, a.zdim);
  if (x.count <= 0) return;
  for (Index k = 0; k < z.count; ++k)
    for (Index j = 0; j < y.count; ++j) {
      float* const to = a.floats + x.start + a.xdim * (y.start + j + a.ydim * (z.start + k));
      const float* const from = b.floats + x.source + b.xdim * (y.source + j + b.ydim * (z.source + k));
      for (Index i = 0; i < x.count; ++i) op(to[i], from[i]);
    }
}

// Copies the block of a lattice of `large` dimensions that is centred on that of `small`, row by row in
// ascending order. The two may share their arrays.
void remap(const GridStruct& small, int xlarge, int ylarge, int zlarge, const float* floats,
           const int* integers) {
  GridStruct large{};
  large.xdim = xlarge;
  large.ydim = ylarge;
  large.zdim = zlarge;
  const Index small_size = lattice::element_count(small), large_size = lattice::element_count(large);
  const Index x = (Index{xlarge} - small.xdim) / 2, y = (Index{ylarge} - small.ydim) / 2,
              z = (Index{zlarge} - small.zdim) / 2;
  const auto put = [](auto& to, auto from) { to = from; };
  if (small_size == 0 || large_size == 0) return;
  // Inside one pair of arrays there is no room above the large lattice.
  const Index room = floats == small.floats && integers == small.integers ? large_size : small_size;
  for (Index k = 0; k < small.zdim; ++k)
    for (Index j = 0; j < small.ydim; ++j) {
      const Run run(small.xdim * (j + small.ydim * k), std::min(room, small_size),
                    x + xlarge * (y + j + ylarge * (z + k)), large_size, small.xdim);
      if (small.floats && floats) apply(run, small.floats, floats, put);
      if (small.integers && integers) apply(run, small.integers, integers, put);
    }
}

}  // namespace

bool VXMergeGrids(VXScalarGrid& grid, const VXScalarGrid& other, VXMerge how) {
  const GridStruct a = lattice::view(grid, grid.GetValues()), b = lattice::view(other, other.GetValues());
  int offset[3];
  if (!vi_zero_offset(a, b, &offset[0], &offset[1], &offset[2])) return false;
  if (how == VXMerge::Add) merge_overlap(a, b, offset, [](float& to, float from) { to += from; });
  if (how == VXMerge::Subtract) merge_overlap(a, b, offset, [](float& to, float from) { to -= from; });
  if (how == VXMerge::Put) merge_overlap(a, b, offset, [](float& to, float from) { to = from; });
  return true;
}

int vi_zero_offset(GridStruct a, GridStruct b, int* x, int* y, int* z) {
  if (std::fabs(a.spacing - b.spacing) > 1e-5f) {
    VXThrow.Warning("Can't add grid with different spacings.");
    return 0;
  }
  const float a_mid[3] = {a.xmid, a.ymid, a.zmid}, b_mid[3] = {b.xmid, b.ymid, b.zmid};
  const int a_dim[3] = {a.xdim, a.ydim, a.zdim}, b_dim[3] = {b.xdim, b.ydim, b.zdim};
  int* const offset[3] = {x, y, z};
  for (int i = 0; i < 3; ++i) {
    const float d = std::fabs(a_mid[i] - b_mid[i]) / a.spacing;
    if (std::fabs(d - static_cast<float>(vi_nint(d))) > 1e-5) {
      VXThrow.Warning("Grids are misaligned.");
      return 0;
    }
  }
  for (int i = 0; i < 3; ++i)
    *offset[i] = vi_nint(static_cast<float>((b_mid[i] - a_mid[i]) / a.spacing +
                                            (static_cast<double>(a_dim[i]) - b_dim[i]) * 0.5));
  return 1;
}

int vi_merge_grids(GridStruct* a, GridStruct b, int op) {
  if (a->spacing == 0) {
    VXThrow.Warning("Zero grid spacing!");
    return 0;
  }
  // A lattice that does not match has been reported; it is merged at offset 0 all the same.
  int offset[3] = {0, 0, 0};
  vi_zero_offset(*a, b, &offset[0], &offset[1], &offset[2]);
  if (op == 1) merge(*a, b, offset, [](float& to, float from) { to += from; });
  if (op == 2) merge(*a, b, offset, [](float& to, float from) { to -= from; });
  if (op == 3) merge(*a, b, offset, [](float& to, float from) { to = from; });
  return 1;
}

int vi_add_grid(GridStruct* a, GridStruct b) { return vi_merge_grids(a, b, 1); }
int vi_sub_grid(GridStruct* a, GridStruct b) { return vi_merge_grids(a, b, 2); }
int vi_put_grid(GridStruct* a, GridStruct b) { return vi_merge_grids(a, b, 3); }

void vi_simple_grid_remap(GridStruct small, GridStruct large) {
  remap(small, large.xdim, large.ydim, large.zdim, large.floats, large.integers);
}

void vi_simple_one_grid_remap(GridStruct small, int xlarge, int ylarge, int zlarge) {
  remap(small, xlarge, ylarge, zlarge, small.floats, small.integers);
}

void vi_pack_half(GridStruct grid, float* half, int pack, int phase) {
  if (lattice::element_count(grid) == 0) return;
  int start = phase == 0 ? 2 : 1;
  for (Index z = 1; z < grid.zdim - 1; ++z) {
    for (Index y = 1; y < grid.ydim - 1; ++y) {
      float* const row = grid.floats + grid.xdim * (y + grid.ydim * z);
      for (Index x = start; x < grid.xdim - 1; x += 2, ++half)
        if (pack)
          *half = row[x];
        else
          row[x] = *half;
      start = 3 - start;
    }
    if (grid.ydim % 2 == 0) start = 3 - start;
  }
}

}  // namespace VXCore
