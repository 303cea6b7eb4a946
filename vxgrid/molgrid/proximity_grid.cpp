#include <vxgrid/molgrid/proximity_grid.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>

#include <vxgrid/host/error_handler.h>
#include <vxgrid/processing/grid_struct.h>

namespace VXCore {
namespace {

/// n points of one of the kinds.
template <class Real>
struct Points {
  const Real* at;
  int stride, n;
  const float* radii;  // null without
  float probe;

  const Real* operator[](int i) const { return at + static_cast<std::ptrdiff_t>(stride) * i; }
  // Without the probe.
  float radius(int i) const {
    if (stride == 4) return static_cast<float>((*this)[i][3]);
    return radii ? radii[i] : 0.0f;
  }
  bool is_finite(int i) const {
    const Real* const p = (*this)[i];
    return std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]) && std::isfinite(radius(i));
  }
};

/// Floats to a point, 0 for a kind that is not made of floats.
int stride_of(int kind) {
  switch (kind) {
    case 1:
      return 9;
    case 2:
    case 3:
      return 3;
    case 4:
      return 4;
  }
  return 0;
}

/// The place of a lattice: what turns coordinates into steps from its first cell.
struct Origin {
  explicit Origin(const GridStruct& grid) : inverse(1.0f / grid.spacing) {
    float high[3];
    vi_get_grid_limits(grid, &low[0], &low[1], &low[2], &high[0], &high[1], &high[2]);
  }
  float low[3], inverse;
};

/// A run of cells along x, end exclusive.
struct Run {
  std::ptrdiff_t first, end;
};

/// The spheres of points on a lattice, all in steps, as runs of cells.
///
/// Along a row the sums that make d2 fall and then rise, as each increment is larger than the one before, so
/// the cells below radius^2 are one run. Its ends follow from a square root, and a bound on the rounding of
/// the sums says whether they are certain; where not, once in thousands of rows, the sums are made. So the
/// runs are those of the plain walk (ProximityGrid.SameAsPlainWalk).
class Spheres {
 public:
  Spheres(const GridStruct& grid, const Points<float>& points) : points_(points), origin_(grid) {
    const int dims[3] = {grid.xdim, grid.ydim, grid.zdim};
    std::copy_n(dims, 3, dims_);
  }

  /// Calls visit(run) for the runs of point i, by rising element.
  template <class Visit>
  void ForEachRun(int i, Visit visit) const {
    const float radius = (points_.radius(i) + points_.probe) * origin_.inverse;
    if (!points_.is_finite(i) || !(radius > 0.0f) || !std::isfinite(radius)) return;
    float f[3];
    int first[3], end[3];
    for (int axis = 0; axis < 3; ++axis) {
      f[axis] = (points_[i][axis] - origin_.low[axis]) * origin_.inverse;
      first[axis] = std::max(Truncated(f[axis] - radius, dims_[axis]) + 1, 0);
      end[axis] = std::min(Truncated(f[axis] + radius, dims_[axis]) + 1, dims_[axis]);
      if (!std::isfinite(f[axis]) || !(first[axis] < end[axis])) return;
    }
    const RowWalk row{f[0], radius * radius, first[0], end[0], RoundingOfSums(radius)};
    const float dz = static_cast<float>(first[2]) - f[2], dy = static_cast<float>(first[1]) - f[1];
    float dz2 = dz * dz, z_step = 2.0f * dz + 1.0f;
    for (int z = first[2]; z < end[2]; ++z) {
      std::ptrdiff_t element = dims_[0] * (first[1] + dims_[1] * static_cast<std::ptrdiff_t>(z));
      float dyz2 = dz2 + dy * dy, y_step = 2.0f * dy + 1.0f;
      for (int y = first[1]; y < end[1]; ++y, element += dims_[0]) {
        Run run;
        if (row.Find(dyz2, run)) visit(Run{element + run.first, element + run.end});
        dyz2 += y_step;
        y_step += 2.0f;
      }
      dz2 += z_step;
      z_step += 2.0f;
    }
  }

 private:
  /// Truncated, and bounded to what an axis of `dim` cells can tell apart.
  static int Truncated(float x, int dim) {
    if (!(x > -2.0f)) return -2;
    return x < static_cast<float>(dim) ? static_cast<int>(x) : dim;
  }

  /// A bound of the difference between the sums along a row and exact arithmetic. With n <= 2 (radius + 1)
  /// terms below 2 (radius + 2) the step sums are off by n roundings of one term each, d2 by their sum
  /// and by n roundings of at most 3 (radius + 2)^2.
  static float RoundingOfSums(float radius) {
    const float reach = radius + 2.0f;
    return 0x1p-24f * 16.0f * reach * reach * reach;
  }

  struct RowWalk {
    float centre, radius2;
    int first, end;
    double rounding;

    bool Find(float dyz2, Run& run) const {
      const double room = static_cast<double>(radius2) - dyz2;
      if (!std::isfinite(room)) return Walk(dyz2, run);
      if (room < -rounding) return false;
      const double half = std::sqrt(std::max(room, 0.0));
      const double at = centre;
      const double low = std::clamp<double>(at - half, first, end);
      const double high = std::clamp<double>(at + half, first - 1, end - 1);
      const int from = static_cast<int>(low) + (low > static_cast<int>(low));
      const int to = static_cast<int>(high) - (high < static_cast<int>(high));
      run = {from, to + 1};
      const auto is_certain = [&](int x) { return std::fabs((x - at) * (x - at) - room) > rounding; };
      if (is_certain(from - 1) & is_certain(from) & is_certain(to) & is_certain(to + 1)) return from <= to;
      return Walk(dyz2, run);
    }

    bool Walk(float dyz2, Run& run) const {
      const float dx = static_cast<float>(first) - centre;
      float d2 = dyz2 + dx * dx, step = 2.0f * dx + 1.0f;
      run = {end, 0};
      for (int x = first; x < end; ++x) {
        if (d2 < radius2) run = {std::min<std::ptrdiff_t>(run.first, x), x + 1};
        d2 += step;
        step += 2.0f;
      }
      return run.first < run.end;
    }
  };

  Points<float> points_;
  Origin origin_;
  int dims_[3];
};

std::ptrdiff_t element_count(const GridStruct& grid) {
  if (grid.xdim < 1 || grid.ydim < 1 || grid.zdim < 1 || vx_grid_struct_overflow(grid)) return 0;
  return std::ptrdiff_t{grid.xdim} * grid.ydim * grid.zdim;
}

bool has_no_spacing(float spacing) {
  if (spacing != 0.0f) return false;
  std::puts("Cant have a grid of zero spacing!");
  return true;
}

int no_room(const GridStruct& grid) {
  VXThrow.Warning("Proximity grid: no room for a lattice of %d x %d x %d cells and its list", grid.xdim,
                  grid.ydim, grid.zdim);
  return 0;
}

/// Replaces the integers of the record by as many zeros as it has cells. False when there is no room for
/// them.
bool renew_integers(GridStruct& grid) {
  // Fresh zeros: cells that nothing touches cost no memory.
  int* const zeros =
      static_cast<int*>(std::calloc(static_cast<std::size_t>(element_count(grid)), sizeof(int)));
  if (!zeros) return false;
  std::free(grid.integers);
  grid.integers = zeros;
  return true;
}

/// Counts, adds up and fills. `mask` is 0 for the cells that take no part, or null.
int fill_lists(GridStruct& grid, const Points<float>& points, const unsigned char* mask,
               std::vector<int>& list) {
  const Spheres spheres(grid, points);
  const std::ptrdiff_t cells = element_count(grid);
  int* const cell = grid.integers;

  // A run counts once more at its start and once less at its end: the sum up to a cell is the cell's count.
  for (int i = 0; i < points.n; ++i)
    spheres.ForEachRun(i, [=](Run run) {
      ++cell[run.first];
      if (run.end < cells) --cell[run.end];
    });
  std::int64_t total = 0;
  for (std::ptrdiff_t c = 0, count = 0; c < cells; ++c) {
    count += cell[c];
    cell[c] = mask && !mask[c] ? 0 : static_cast<int>(count);
    total += cell[c] ? std::int64_t{cell[c]} + 1 : 0;
  }
  if (total == 0) return 0;
  if (total >= INT_MAX) {
    vx_zero_grid_struct(grid, true, false, 0);
    return no_room(grid);
  }
  list.assign(static_cast<std::size_t>(total) + 1, 0);
  int next = 1;
  for (std::ptrdiff_t c = 0; c < cells; ++c)
    if (cell[c]) {
      next += cell[c];
      cell[c] = next - 1;
      ++next;
    }

  // Points enter their runs from the back; each cell comes down to the slot before its run.
  int* const slots = list.data();
  for (int i = 0; i < points.n; ++i)
    spheres.ForEachRun(i, [=](Run run) {
      for (std::ptrdiff_t c = run.first; c < run.end; ++c)
        if (!mask || mask[c]) slots[cell[c]--] = i + 1;
    });
  // The first run starts at slot 1: its cell has come down to 0 and stays there, as the header says.
  for (std::ptrdiff_t c = 0; c < cells; ++c) cell[c] += cell[c] != 0;
  return 1;
}

/// Midpoint and dimensions of a lattice around the spheres, `margin` wider at each end.
void size_around(const Points<float>& points, float margin, GridStruct& grid) {
  float low[3] = {}, high[3] = {};
  bool is_first = true;
  for (int i = 0; i < points.n; ++i) {
    if (!points.is_finite(i)) continue;
    const float radius = std::max(points.radius(i), 0.0f);
    for (int axis = 0; axis < 3; ++axis) {
      const float at = points[i][axis];
      low[axis] = is_first ? at - radius : std::min(low[axis], at - radius);
      high[axis] = is_first ? at + radius : std::max(high[axis], at + radius);
    }
    is_first = false;
  }
  float* const mid[3] = {&grid.xmid, &grid.ymid, &grid.zmid};
  int* const dim[3] = {&grid.xdim, &grid.ydim, &grid.zdim};
  for (int axis = 0; axis < 3; ++axis) {
    high[axis] += margin;
    low[axis] -= margin;
    *mid[axis] = (high[axis] + low[axis]) * 0.5f;
    const float steps = std::trunc((high[axis] - *mid[axis]) / grid.spacing);
    *dim[axis] = steps < 1e9f ? 2 * static_cast<int>(std::max(steps, -2.0f)) + 3 : INT_MAX;
  }
}

template <class Real>
void look_up(const Points<Real>& points, const GridStruct& grid, int* out) {
  std::fill_n(out, std::max(points.n, 0), 0);
  if (!grid.integers || element_count(grid) == 0) return;
  const Origin origin(grid);
  const int dims[3] = {grid.xdim, grid.ydim, grid.zdim};
  for (int i = 0; i < points.n; ++i) {
    std::ptrdiff_t element = 0, stride = 1;
    bool is_inside = true;
    for (int axis = 0; axis < 3; ++axis) {
      const Real t = (points[i][axis] - origin.low[axis] + grid.spacing * 0.5f) *
                     static_cast<Real>(grid.inverse_spacing);
      is_inside = is_inside && t > Real{-1} && t < static_cast<Real>(dims[axis]);
      element += is_inside ? static_cast<int>(t) * stride : 0;
      stride *= dims[axis];
    }
    if (is_inside) out[i] = grid.integers[element];
  }
}

}  // namespace

int vx_make_proximity_grid(int, void* points, float* radii, int n, float probe, GridStruct* grid,
                           float spacing, float margin, int kind, std::vector<int>& list) {
  if (has_no_spacing(spacing)) return 1;
  if (stride_of(kind) == 0) return 0;
  const Points<float> spheres{static_cast<const float*>(points), stride_of(kind), n, radii, probe};
  GridStruct sized = *grid;
  sized.spacing = spacing;
  sized.inverse_spacing = 1.0f / spacing;
  size_around(spheres, margin + probe, sized);
  if (element_count(sized) == 0 || !renew_integers(sized)) return no_room(sized);
  *grid = sized;
  return fill_lists(*grid, spheres, nullptr, list);
}

int vx_make_masked_and_boxed_proximity_grid(float* coords, float* radii, int n, float probe,
                                            float* mask_coords, float* mask_radii, int mask_n,
                                            float mask_probe, GridStruct* grid, std::vector<int>& list) {
  if (has_no_spacing(grid->spacing)) return 1;
  grid->inverse_spacing = 1.0f / grid->spacing;
  const std::ptrdiff_t cells = element_count(*grid);
  const std::unique_ptr<unsigned char[]> mask(
      new (std::nothrow) unsigned char[static_cast<std::size_t>(cells)]);
  if (cells == 0 || !mask || !renew_integers(*grid)) return no_room(*grid);
  std::fill_n(mask.get(), cells, static_cast<unsigned char>(1));
  const Spheres cut(*grid, {mask_coords, 3, mask_n, mask_radii, mask_probe});
  for (int i = 0; i < mask_n; ++i)
    cut.ForEachRun(i, [&](Run run) {
      std::fill(mask.get() + run.first, mask.get() + run.end, static_cast<unsigned char>(0));
    });
  return fill_lists(*grid, {coords, 3, n, radii, probe}, mask.get(), list);
}

int vx_get_proximity_list(void* points, int n, GridStruct* grid, int kind, int* out) {
  if (stride_of(kind) == 0 && kind != 5) return 0;
  if (grid->inverse_spacing == 0.0f) grid->inverse_spacing = 1.0f / grid->spacing;
  if (kind == 5)
    look_up(Points<double>{static_cast<const double*>(points), 3, n, nullptr, 0.0f}, *grid, out);
  else
    look_up(Points<float>{static_cast<const float*>(points), stride_of(kind), n, nullptr, 0.0f}, *grid, out);
  return 1;
}

}  // namespace VXCore
