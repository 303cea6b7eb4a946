#include <vxgrid/processing/between_grids.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

#include <vxgrid/host/zemomol.h>
#include <vxgrid/processing/sampling.inl>

namespace VXCore {
namespace {

enum Region { kFaces = 0, kInterior = 1, kAll = 2 };

// Both lattices along one axis: what of the target lies above the source, and where.
struct Axis {
  int source_dim, target_dim;
  float source_spacing;
  lattice::Span source, target;
  float step;      // of the walk along the target
  int start, end;  // exclusive

  // False when the boxes miss each other.
  bool clip(Region region) {
    if (target.high < source.low || target.low > source.high) return false;
    start = region == kInterior ? 1 : 0;
    end = region == kInterior ? target_dim - 1 : target_dim;
    if (source.low > target.low)
      start = std::max(start, lattice::truncate((source.low - target.low) / step) + 1);
    if (source.high < target.high)
      end = std::min(end,
                     (target_dim - 1) - std::max(lattice::truncate((target.high - source.high) / step), 0));
    return true;
  }
};

// Source cells of the points that a pass visits along one axis.
struct Visits {
  struct Visit {
    int target, cell;
    float t;
  };

  // Every stride-th point from `start`; positions advance by addition. Points without a cell are left out.
  Visits(const Axis& axis, int start, int stride) {
    float position = axis.target.low + static_cast<float>(start) * axis.step;
    const float advance = static_cast<float>(stride) * axis.step;
    for (long long i = start; i < axis.end; i += stride, position += advance) {
      const float f = (position - axis.source.low) / axis.source_spacing;
      const int cell = lattice::truncate(f);
      if (cell >= 0 && cell < axis.source_dim - 1)
        list.push_back({static_cast<int>(i), cell, f - static_cast<float>(cell)});
      if (stride == 0) break;
    }
  }
  std::vector<Visit> list;
};

inline float blend(float a, float b, float t) { return a + (b - a) * t; }

// Rows or planes of the target's x or x and y, as they lie at a cell of the source and at the next one along
// the axis that comes then. A visit one cell on finds its low one as the high one of the visit before.
class CellSides {
 public:
  explicit CellSides(std::size_t n) : low_(n), high_(n) {}

  void forget() { cell_ = kNone; }

  // fill(c, to) makes the side at c.
  template <class Fill>
  void move_to(int cell, Fill fill) {
    if (cell == cell_) return;
    if (cell == cell_ + 1)
      std::swap(low_, high_);
    else
      fill(cell, low_.data());
    fill(cell + 1, high_.data());
    cell_ = cell;
  }

  // Part of what lies at t between the sides.
  void sample(float t, std::size_t from, std::size_t n, float* to) const {
    const float *const low = low_.data() + from, *const high = high_.data() + from;
    for (std::size_t i = 0; i < n; ++i) to[i] = blend(low[i], high[i], t);
  }

 private:
  static constexpr int kNone = -2;
  int cell_ = kNone;
  std::vector<float> low_, high_;
};

// Samples a row of the source along x, a run of cells beside each other at a time.
class RowSampler {
 public:
  explicit RowSampler(const Visits& xs) {
    for (const auto& x : xs.list) {
      if (runs_.empty() || x.cell != runs_.back().cell + runs_.back().count) runs_.push_back({x.cell, 0});
      ++runs_.back().count;
      t_.push_back(x.t);
    }
  }

  void operator()(const float* row, float* to) const {
    const float* t = t_.data();
    for (const Run& run : runs_) {
      const float* const from = row + run.cell;
      for (int i = 0; i < run.count; ++i) to[i] = blend(from[i], from[i + 1], t[i]);
      to += run.count;
      t += run.count;
    }
  }

 private:
  struct Run {
    int cell, count;
  };
  std::vector<Run> runs_;
  std::vector<float> t_;
};

// The trilinear kernel goes along x, then y, then z, each a + (b - a) t. Points beside each other share what
// comes of the earlier axes, so each row of the source is sampled along x once, and each plane along y: the
// bits are those of one point after the other (BetweenGrids.SameBitsAsPointByPoint). plane_of(z) is asked for
// each plane of the target in turn.
template <class PlaneOf>
void fill_trilinear(const GridStruct& source, const GridStruct& target, const Visits& xs, const Visits& ys,
                    const Visits& zs, PlaneOf plane_of) {
  const std::size_t nx = xs.list.size(), ny = ys.list.size();
  if (nx == 0 || ny == 0) return;
  const std::ptrdiff_t row = source.xdim, plane = row * source.ydim;
  const int first = xs.list.front().target;
  const bool x_is_one_run = xs.list.back().target - first + 1 == static_cast<int>(nx);
  CellSides rows(nx), planes(nx * ny);
  std::vector<float> scattered(x_is_one_run ? 0 : nx);
  const RowSampler sample_row(xs);

  const auto make_plane = [&](int z, float* to) {
    rows.forget();
    for (const auto& y : ys.list) {
      rows.move_to(y.cell, [&](int cell, float* sampled) {
        sample_row(source.floats + row * cell + plane * z, sampled);
      });
      rows.sample(y.t, 0, nx, to);
      to += nx;
    }
  };
  for (const auto& z : zs.list) {
    planes.move_to(z.cell, make_plane);
    float* const target_plane = plane_of(z.target);
    for (std::size_t j = 0; j < ny; ++j) {
      float* const to = target_plane + static_cast<std::ptrdiff_t>(target.xdim) * ys.list[j].target;
      planes.sample(z.t, j * nx, nx, x_is_one_run ? to + first : scattered.data());
      for (std::size_t i = 0; i < scattered.size(); ++i) to[xs.list[i].target] = scattered[i];
    }
  }
}

// The neighbours are judged by the linear index alone, so those of a first or last row may stand in the row
// beside it; where they would leave the block the value is 0.
struct QuadraticKernel {
  float operator()(const Visits::Visit& x, const Visits::Visit& y, const Visits::Visit& z) const {
    const std::ptrdiff_t plane = row * source.ydim;
    const auto nearest = [](const Visits::Visit& v) { return std::ptrdiff_t{v.cell} + (v.t > 0.5f); };
    const auto weights = [](const Visits::Visit& v) {
      return lattice::SplineWeights(v.t > 0.5f ? v.t - 1.0f : v.t);
    };
    const std::ptrdiff_t c = nearest(x) + row * nearest(y) + plane * nearest(z), reach = row + plane + 1;
    if (c - reach < 0 || c + reach >= plane * source.zdim) return 0;
    const std::ptrdiff_t dx[3] = {-1, 0, 1}, dy[3] = {-row, 0, row}, dz[3] = {-plane, 0, plane};
    return lattice::spline_sum(source.floats + c, dx, dy, dz, weights(x).w, weights(y).w, weights(z).w);
  }
  const GridStruct& source;
  std::ptrdiff_t row;
};

void fill_quadratic(const GridStruct& source, const GridStruct& target, const Visits& xs, const Visits& ys,
                    const Visits& zs) {
  const QuadraticKernel kernel{source, source.xdim};
  for (const auto& z : zs.list)
    for (const auto& y : ys.list) {
      float* const row =
          target.floats + target.xdim * (y.target + target.ydim * static_cast<std::ptrdiff_t>(z.target));
      for (const auto& x : xs.list) row[x.target] = kernel(x, y, z);
    }
}

Visits all_visits(const Axis& axis) { return Visits(axis, axis.start, 1); }

void fill(const GridStruct& source, const GridStruct& target, const Axis* axis, Region region,
          bool is_quadratic) {
  const auto all = [axis](int a) { return all_visits(axis[a]); };
  // The two outer planes of an axis; the low one is outside the source when the start has been clipped.
  const auto faces = [axis](int a) {
    const int last = axis[a].target_dim - 1;
    return Visits(axis[a], axis[a].start == 0 ? 0 : last, last);
  };
  const auto plane_of = [&target](int z) {
    return target.floats + static_cast<std::ptrdiff_t>(target.xdim) * target.ydim * z;
  };
  const auto pass = [&](const Visits& xs, const Visits& ys, const Visits& zs) {
    if (is_quadratic)
      fill_quadratic(source, target, xs, ys, zs);
    else
      fill_trilinear(source, target, xs, ys, zs, plane_of);
  };
  if (region != kFaces) return pass(all(0), all(1), all(2));
  pass(all(0), all(1), faces(2));
  pass(all(0), faces(1), all(2));
  pass(faces(0), all(1), all(2));
}

// Both lattices along each axis. False when there is nothing to fill.
bool make_axes(const GridStruct& source, const GridStruct& target, Region region, std::vector<Axis>& axes) {
  if (lattice::element_count(source) == 0 || lattice::element_count(target) == 0) return false;

  const float source_mid[3] = {source.xmid, source.ymid, source.zmid};
  const float target_mid[3] = {target.xmid, target.ymid, target.zmid};
  const int source_dim[3] = {source.xdim, source.ydim, source.zdim};
  const int target_dim[3] = {target.xdim, target.ydim, target.zdim};
  const auto source_span = [&](int a) { return lattice::Span(source_mid[a], source_dim[a], source.spacing); };
  const auto target_span = [&](int a, float step) {
    return lattice::Span(target_mid[a], target_dim[a], step);
  };

  // A shorter step keeps the last point of a face that both share inside the source's last cell.
  float step = target.spacing;
  bool shares_face = false;
  for (int a = 0; a < 3; ++a)
    shares_face = shares_face || vi_IsZero(target_span(a, step).high - source_span(a).high) ||
                  vi_IsZero(target_span(a, step).low - source_span(a).low);
  if (region != kInterior && shares_face) step = target.spacing * 0.99999f;

  for (int a = 0; a < 3; ++a) {
    axes.push_back(
        {source_dim[a], target_dim[a], source.spacing, source_span(a), target_span(a, step), step, 0, 0});
    if (!axes.back().clip(region)) return false;
  }
  return true;
}

// Hands the planes of a target on as they are filled, 0 where nothing was.
class PassingPlanes {
 public:
  PassingPlanes(const GridStruct& target, const std::function<void(const float*)>& take)
      : plane_(static_cast<std::size_t>(target.xdim) * target.ydim), zdim_(target.zdim), take_(take) {}

  float* operator()(int z) {
    for (; at_ < z; ++at_) {
      take_(plane_.data());
      std::fill(plane_.begin(), plane_.end(), 0.0f);
    }
    return plane_.data();
  }
  void finish() { (*this)(zdim_); }

 private:
  std::vector<float> plane_;
  int at_ = 0, zdim_;
  const std::function<void(const float*)>& take_;
};

}  // namespace

void vi_int_btw_grids(GridStruct source, GridStruct target, int mode) {
  const bool is_quadratic = mode > 2;
  const int region = is_quadratic ? mode - 3 : mode;
  if (region < kFaces || region > kAll) return;
  std::vector<Axis> axes;
  if (make_axes(source, target, static_cast<Region>(region), axes))
    fill(source, target, axes.data(), static_cast<Region>(region), is_quadratic);
}

void vi_int_btw_grids_by_plane(GridStruct source, GridStruct target,
                               const std::function<void(const float*)>& take) {
  std::vector<Axis> axes;
  PassingPlanes planes(target, take);
  if (make_axes(source, target, kAll, axes))
    fill_trilinear(source, target, all_visits(axes[0]), all_visits(axes[1]), all_visits(axes[2]),
                   [&planes](int z) { return planes(z); });
  planes.finish();
}

}  // namespace VXCore
