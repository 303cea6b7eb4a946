#include <vxgrid/processing/between_grids.h>

#include <algorithm>
#include <cmath>
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

struct TrilinearKernel {
  float operator()(const Visits::Visit& x, const Visits::Visit& y, const Visits::Visit& z) const {
    const float* const corner =
        source.floats + x.cell + row * (y.cell + source.ydim * static_cast<std::ptrdiff_t>(z.cell));
    return lattice::trilinear(corner, row, row * source.ydim, _mm_setr_ps(x.t, y.t, z.t, 0));
  }
  const GridStruct& source;
  std::ptrdiff_t row;
};

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

template <class Kernel>
void fill(const GridStruct& target, const Visits& xs, const Visits& ys, const Visits& zs, Kernel kernel) {
  for (const auto& z : zs.list)
    for (const auto& y : ys.list) {
      float* const row =
          target.floats + target.xdim * (y.target + target.ydim * static_cast<std::ptrdiff_t>(z.target));
      for (const auto& x : xs.list) row[x.target] = kernel(x, y, z);
    }
}

template <class Kernel>
void fill(const GridStruct& target, const Axis* axis, Region region, Kernel kernel) {
  const auto all = [axis](int a) { return Visits(axis[a], axis[a].start, 1); };
  // The two outer planes of an axis; the low one is outside the source when the start has been clipped.
  const auto faces = [axis](int a) {
    const int last = axis[a].target_dim - 1;
    return Visits(axis[a], axis[a].start == 0 ? 0 : last, last);
  };
  if (region != kFaces) return fill(target, all(0), all(1), all(2), kernel);
  fill(target, all(0), all(1), faces(2), kernel);
  fill(target, all(0), faces(1), all(2), kernel);
  fill(target, faces(0), all(1), all(2), kernel);
}

}  // namespace

void vi_int_btw_grids(GridStruct source, GridStruct target, int mode) {
  const bool is_quadratic = mode > 2;
  const int region = is_quadratic ? mode - 3 : mode;
  if (region < kFaces || region > kAll) return;
  if (lattice::element_count(source) == 0 || lattice::element_count(target) == 0) return;

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

  std::vector<Axis> axes;
  for (int a = 0; a < 3; ++a) {
    axes.push_back(
        {source_dim[a], target_dim[a], source.spacing, source_span(a), target_span(a, step), step, 0, 0});
    if (!axes.back().clip(static_cast<Region>(region))) return;
  }
  if (is_quadratic)
    fill(target, axes.data(), static_cast<Region>(region), QuadraticKernel{source, source.xdim});
  else
    fill(target, axes.data(), static_cast<Region>(region), TrilinearKernel{source, source.xdim});
}

}  // namespace VXCore
