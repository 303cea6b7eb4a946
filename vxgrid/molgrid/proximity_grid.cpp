#include <vxgrid/molgrid/proximity_grid.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <utility>

#include <emmintrin.h>

#include <vxgrid/host/error_handler.h>
#include <vxgrid/processing/grid_struct.h>
#include <vxgrid/processing/lattice.inl>

namespace VXCore {
namespace {

using lattice::element_count;

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
  explicit Origin(const GridStruct& grid)
      : inverse(1.0f / grid.spacing), dims{grid.xdim, grid.ydim, grid.zdim} {
    float high[3];
    vi_get_grid_limits(grid, &low[0], &low[1], &low[2], &high[0], &high[1], &high[2]);
  }
  float low[3], inverse;
  int dims[3];
};

/// A run of cells along x, as elements of its plane, end exclusive.
struct Run {
  int first, end;
};

/// The spheres of points on a lattice, all in steps, as runs of cells.
///
/// Along a row the sums that make d2 fall and then rise, as each increment is larger than the one before, so
/// the cells below radius^2 are one run. Its ends follow from a square root, and a bound on the rounding of
/// the sums says whether they are certain; where not, once in thousands of rows, the sums are made. So the
/// runs are those of the plain walk (ProximityGrid.SameAsPlainWalk).
class Spheres {
 public:
  Spheres(const GridStruct& grid, const Points<float>& points) : dims_{grid.xdim, grid.ydim, grid.zdim} {
    const Origin origin(grid);
    starts_.resize(static_cast<std::size_t>(dims_[2]) + 2);
    Placed placed;
    for (int i = 0; i < points.n; ++i)
      if (Place(points, i, origin, placed)) ++starts_[static_cast<std::size_t>(placed.first) + 2];
    for (std::size_t z = 2; z < starts_.size(); ++z) starts_[z] += starts_[z - 1];
    balls_.resize(static_cast<std::size_t>(starts_.back()));
    for (int i = 0; i < points.n; ++i)
      if (Place(points, i, origin, placed)) {
        balls_[starts_[static_cast<std::size_t>(placed.first) + 1]++] = placed.ball;
        most_cells_ += placed.cells_in_box;
      }
  }

  /// No fewer cells than all runs have together.
  double MostCells() const { return most_cells_; }

  class Sweep;

 private:
  /// The cells of an axis from trunc(at - radius) + 1 to trunc(at + radius), end exclusive, on the lattice.
  struct Range {
    Range() = default;
    Range(float at, float radius, int dim)
        : first(std::max(Truncated(at - radius, dim) + 1, 0)),
          end(std::min(Truncated(at + radius, dim) + 1, dim)) {}
    int first, end;

   private:
    /// Bounded to what an axis of `dim` cells can tell apart.
    static int Truncated(float x, int dim) {
      if (!(x > -2.0f)) return -2;
      return x < static_cast<float>(dim) ? static_cast<int>(x) : dim;
    }
  };
  struct Ball {
    int point, end;  // the plane of cells after its last
    float x, y, radius;
    float dz2, step;  // in the first plane that it reaches, or the one at hand
  };

  struct Placed {
    Ball ball;
    int first;  // plane that it reaches
    double cells_in_box;
  };

  /// False for a point that is near no cell.
  static bool Place(const Points<float>& points, int i, const Origin& origin, Placed& out) {
    const float radius = (points.radius(i) + points.probe) * origin.inverse;
    if (!(radius > 0.0f) || !std::isfinite(radius)) return false;
    float at[3];
    Range range;
    out.cells_in_box = 1.0;
    for (int axis = 0; axis < 3; ++axis) {
      at[axis] = (points[i][axis] - origin.low[axis]) * origin.inverse;
      range = Range(at[axis], radius, origin.dims[axis]);
      if (!std::isfinite(at[axis]) || range.first >= range.end) return false;
      out.cells_in_box *= range.end - range.first;
    }
    out.first = range.first;
    const float dz = static_cast<float>(out.first) - at[2];
    out.ball = {i, range.end, at[0], at[1], radius, dz * dz, 2.0f * dz + 1.0f};
    return true;
  }

  /// The runs of a ball in a plane of cells.
  template <class Visit>
  void ForEachRun(const Ball& ball, Visit& visit) const {
    const Range range(ball.y, ball.radius, dims_[1]);
    const Rows rows(ball.x, ball.radius, Range(ball.x, ball.radius, dims_[0]));
    const float dy = static_cast<float>(range.first) - ball.y;
    float dyz2 = ball.dz2 + dy * dy, step = 2.0f * dy + 1.0f;
    const auto next = [&] {
      const float d2 = dyz2;
      dyz2 += step;
      step += 2.0f;
      return d2;
    };
    int element = dims_[0] * range.first;
    for (int y = range.first; y < range.end; y += Rows::kLanes) {
      const float a = next(), b = next(), c = next(), d = next();
      int from[Rows::kLanes], end[Rows::kLanes];
      rows.Find(_mm_setr_ps(a, b, c, d), from, end);
      const int lanes = std::min(Rows::kLanes, range.end - y);
      for (int lane = 0; lane < lanes; ++lane, element += dims_[0])
        if (from[lane] < end[lane]) visit(ball.point, Run{element + from[lane], element + end[lane]});
    }
  }

  /// The runs of a ball's rows, four rows at a time.
  class Rows {
   public:
    static constexpr int kLanes = 4;
    /// Cells below this are whole floats, and so are their neighbours.
    static constexpr int kWhole = 1 << 23;

    Rows(float at, float radius, const Range& range)
        : at_(at),
          radius2_(radius * radius),
          doubt_(range.end < kWhole ? RoundingOfSums(radius) : std::numeric_limits<float>::infinity()),
          first_(range.first),
          end_(range.end) {}

    /// The cells of each row whose d2, `base` without its x part, stays below radius^2.
    void Find(__m128 base, int* from, int* end) const {
      const __m128 at = _mm_set1_ps(at_), doubt = _mm_set1_ps(doubt_), one = _mm_set1_ps(1.0f);
      const __m128 first = _mm_set1_ps(static_cast<float>(first_)),
                   stop = _mm_set1_ps(static_cast<float>(end_));
      const __m128 room = _mm_sub_ps(_mm_set1_ps(radius2_), base);
      const __m128 half = _mm_sqrt_ps(_mm_max_ps(room, _mm_setzero_ps()));
      const __m128 low = _mm_min_ps(_mm_max_ps(_mm_sub_ps(at, half), first), stop);
      const __m128 high =
          _mm_max_ps(_mm_min_ps(_mm_add_ps(at, half), _mm_sub_ps(stop, one)), _mm_sub_ps(first, one));
      // Rounded up and down to whole cells x and w.
      const __m128 low_cell = _mm_cvtepi32_ps(_mm_cvttps_epi32(low));
      const __m128 high_cell = _mm_cvtepi32_ps(_mm_cvttps_epi32(high));
      const __m128 x = _mm_add_ps(low_cell, _mm_and_ps(_mm_cmpgt_ps(low, low_cell), one));
      const __m128 w = _mm_sub_ps(high_cell, _mm_and_ps(_mm_cmplt_ps(high, high_cell), one));
      const auto is_certain = [&](__m128 cell) {
        const __m128 dx = _mm_sub_ps(cell, at), excess = _mm_sub_ps(_mm_mul_ps(dx, dx), room);
        return _mm_cmpgt_ps(_mm_andnot_ps(_mm_set1_ps(-0.0f), excess), doubt);
      };
      const __m128 is_empty = _mm_cmplt_ps(room, _mm_sub_ps(_mm_setzero_ps(), doubt));
      const __m128 ends = _mm_and_ps(_mm_and_ps(is_certain(x), is_certain(_mm_sub_ps(x, one))),
                                     _mm_and_ps(is_certain(w), is_certain(_mm_add_ps(w, one))));
      const __m128i x_end = _mm_cvttps_epi32(_mm_add_ps(w, one));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(from), _mm_cvttps_epi32(x));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(end), _mm_andnot_si128(_mm_castps_si128(is_empty), x_end));
      const int certain = _mm_movemask_ps(_mm_or_ps(ends, is_empty));
      if (certain == 0xF) return;
      float bases[kLanes];
      _mm_storeu_ps(bases, base);
      for (int lane = 0; lane < kLanes; ++lane)
        if (!(certain >> lane & 1)) Walk(bases[lane], from[lane], end[lane]);
    }

   private:
    /// A bound of the difference between the sums along a row and exact arithmetic, and of the rounding
    /// here. With n <= 2 (radius + 1) terms below 2 (radius + 2) the step sums are off by n roundings of one
    /// term each, d2 by their sum and by n roundings of at most 3 (radius + 2)^2.
    static float RoundingOfSums(float radius) {
      const float reach = radius + 2.0f;
      return 0x1p-24f * 24.0f * reach * reach * reach;
    }

    void Walk(float base, int& from, int& end) const {
      const float dx = static_cast<float>(first_) - at_;
      float d2 = base + dx * dx, step = 2.0f * dx + 1.0f;
      from = end_;
      end = 0;
      for (int x = first_; x < end_; ++x) {
        if (d2 < radius2_) {
          from = std::min(from, x);
          end = x + 1;
        }
        d2 += step;
        step += 2.0f;
      }
    }

    float at_, radius2_, doubt_;
    int first_, end_;
  };

  int dims_[3];
  std::vector<Ball> balls_;  // by first plane, then by point
  std::vector<int> starts_;  // the first ball of each plane
  double most_cells_ = 0.0;
};

/// Goes through the planes of cells, from the first on.
class Spheres::Sweep {
 public:
  explicit Sweep(const Spheres& spheres) : spheres_(spheres) {}

  /// Calls visit(point, run) for the runs in the next plane, by rising point.
  template <class Visit>
  void Next(Visit visit) {
    here_.erase(std::remove_if(here_.begin(), here_.end(),
                               [this](const Ball& ball) { return static_cast<std::size_t>(ball.end) <= z_; }),
                here_.end());
    const auto old = static_cast<std::ptrdiff_t>(here_.size());
    const auto balls = spheres_.balls_.begin();
    here_.insert(here_.end(), balls + spheres_.starts_[z_], balls + spheres_.starts_[z_ + 1]);
    std::inplace_merge(here_.begin(), here_.begin() + old, here_.end(),
                       [](const Ball& a, const Ball& b) { return a.point < b.point; });
    for (Ball& ball : here_) {
      spheres_.ForEachRun(ball, visit);
      ball.dz2 += ball.step;
      ball.step += 2.0f;
    }
    ++z_;
  }

 private:
  const Spheres& spheres_;
  std::vector<Ball> here_;  // the balls that reach the plane
  std::size_t z_ = 0;
};

bool has_no_spacing(float spacing) {
  if (spacing != 0.0f) return false;
  std::printf("Cant have a grid of zero spacing!");
  return true;
}

int no_room(const GridStruct& grid) {
  VXThrow.Warning("Proximity grid: no room for a lattice of %d x %d x %d cells and its list", grid.xdim,
                  grid.ydim, grid.zdim);
  return 0;
}

/// Replaces the integers of the record by as many zeros as it has cells. False when memory has no room.
bool renew_integers(GridStruct& grid) {
  // Fresh zeros: cells that nothing touches cost no memory.
  int* const zeros =
      static_cast<int*>(std::calloc(static_cast<std::size_t>(element_count(grid)), sizeof(int)));
  if (!zeros) return false;
  std::free(grid.integers);
  grid.integers = zeros;
  return true;
}

/// A run counts once more at its start and once less at its end: the sum up to a cell is the cell's count.
void count_run(int* cell, std::ptrdiff_t plane, Run run) {
  ++cell[run.first];
  if (run.end < plane) --cell[run.end];
}

/// The length that a list is to be given room for: a guess from the volumes for a list below half a GiB, the
/// exact length, or one beyond INT_MAX, for others. The integers of the record are zeros, and are so again.
std::int64_t room_for_list(const Spheres& spheres, const GridStruct& grid, const unsigned char* mask) {
  constexpr double kGuessed = 1 << 26;
  if (spheres.MostCells() < kGuessed) {
    const double cells = 0.6 * spheres.MostCells();  // a ball has about half the cells of its box
    return static_cast<std::int64_t>(cells + std::min(cells, static_cast<double>(element_count(grid)))) + 1;
  }
  const std::ptrdiff_t plane = std::ptrdiff_t{grid.xdim} * grid.ydim;
  Spheres::Sweep sweep(spheres);
  std::int64_t next = 1;
  for (int z = 0; z < grid.zdim && next <= INT_MAX; ++z) {
    int* const cell = grid.integers + z * plane;
    sweep.Next([=](int, Run run) { count_run(cell, plane, run); });
    for (std::int64_t c = 0, count = 0; c < plane; ++c) {
      count += std::exchange(cell[c], 0);
      if (count > 0 && (!mask || mask[z * plane + c])) next += count + 1;
    }
  }
  return next;
}

/// Counts, adds up and fills, a plane of cells at a time, so that its cells and lists stay in the cache while
/// points in any order visit them. `mask` is 0 for the cells that take no part, or null.
int fill_lists(GridStruct& grid, const Points<float>& points, const unsigned char* mask,
               std::vector<int>& list) {
  struct PointRun {
    int point;
    Run run;
  };
  const Spheres spheres(grid, points);
  const std::int64_t room = room_for_list(spheres, grid, mask);
  if (room > INT_MAX) return no_room(grid);
  const std::ptrdiff_t plane = std::ptrdiff_t{grid.xdim} * grid.ydim;
  Spheres::Sweep sweep(spheres);
  std::vector<PointRun> runs;
  int next = 1;
  for (int z = 0; z < grid.zdim; ++z) {
    int* const cell = grid.integers + z * plane;
    const unsigned char* const takes_part = mask ? mask + z * plane : nullptr;
    runs.clear();
    sweep.Next([&](int point, Run run) {
      if (takes_part && !std::memchr(takes_part + run.first, 1, run.end - run.first)) return;
      runs.push_back({point, run});
      count_run(cell, plane, run);
    });
    if (runs.empty()) continue;
    const bool is_first = next == 1;
    int count = 0;
    for (std::ptrdiff_t c = 0; c < plane; ++c) {
      count += cell[c];
      const int listed = takes_part && !takes_part[c] ? 0 : count;
      next += listed;
      cell[c] = listed ? next - 1 : 0;
      next += listed != 0;
    }
    if (is_first) {
      list.clear();
      list.reserve(static_cast<std::size_t>(room));
      list.assign(1, 0);
    }
    list.resize(static_cast<std::size_t>(next));

    // Points enter their runs from the back; each cell comes down to the slot before its run.
    int* const slots = list.data();
    for (const PointRun& entry : runs)
      for (int c = entry.run.first; c < entry.run.end; ++c)
        if (!takes_part || takes_part[c]) slots[cell[c]--] = entry.point + 1;
    // The first run of all starts at slot 1: its cell has come down to 0 and stays there, as the header says.
    for (std::ptrdiff_t c = 0; c < plane; ++c) cell[c] += cell[c] != 0;
  }
  return next > 1;
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
  Spheres::Sweep sweep(cut);
  for (unsigned char *plane = mask.get(), *const end = plane + cells; plane < end;
       plane += cells / grid->zdim)
    sweep.Next([=](int, Run run) { std::fill(plane + run.first, plane + run.end, char{0}); });
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
