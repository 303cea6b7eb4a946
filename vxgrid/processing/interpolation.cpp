#include <vxgrid/processing/interpolation.h>

#include <algorithm>
#include <cmath>
#include <type_traits>

#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/host/error_handler.h>
#include <vxgrid/host/molecule.h>
#include <vxgrid/processing/periodic_sampling.inl>
#include <vxgrid/processing/source.inl>

namespace VXCore {
namespace {

using lattice::ClippedLattice;
using lattice::PeriodicLattice;

enum Layout { kAtomRecords, kFloatTriples, kDoubleTriples };

// Positions in one of three layouts, narrowed to float and, on the way, turned into the axes of a lattice.
class Points {
 public:
  Points(const void* points, Layout layout, const lattice::Turn* turn = nullptr)
      : points_(points), layout_(layout), turn_(turn) {}

  void read(std::ptrdiff_t first, std::ptrdiff_t n, __m128* out) const {
    if (layout_ == kAtomRecords) read<float, 9>(first, n, out);
    if (layout_ == kFloatTriples) read<float, 3>(first, n, out);
    if (layout_ == kDoubleTriples) read<double, 3>(first, n, out);
  }

 private:
  template <class T, int stride>
  void read(std::ptrdiff_t first, std::ptrdiff_t n, __m128* out) const {
    const T* p = static_cast<const T*>(points_) + stride * first;
    for (std::ptrdiff_t i = 0; i < n; ++i, p += stride) {
      const auto x = static_cast<float>(p[0]), y = static_cast<float>(p[1]), z = static_cast<float>(p[2]);
      out[i] = turn_ ? (*turn_)(x, y, z) : _mm_setr_ps(x, y, z, 0);
    }
  }

  const void* points_;
  Layout layout_;
  const lattice::Turn* turn_;
};

// A cell and the place in it, taken out of their lanes.
struct CellPlace {
  CellPlace(__m128i cell_lanes, __m128 t_lanes) {
    _mm_store_si128(reinterpret_cast<__m128i*>(cell), cell_lanes);
    _mm_store_ps(t, t_lanes);
  }
  alignas(16) int cell[4];
  alignas(16) float t[4];
};

// Where in a lattice a value comes from: each kernel finds the place of a point in a cell, asks for the
// memory that it needs, and later makes the value, and the derivatives by steps along the axes.
template <class Lattice>
class Trilinear {
 public:
  struct Place {
    const float* corner;
    __m128 t;
  };
  Trilinear(const Lattice& lattice, const GridStruct&, const float* values)
      : lattice_(lattice), values_(values) {}

  Place find(__m128i cell, __m128 t) const {
    const Place place{values_ + lattice_.index(cell), t};
    for (const std::ptrdiff_t edge : {std::ptrdiff_t{0}, lattice_.row()}) {
      __builtin_prefetch(place.corner + edge);
      __builtin_prefetch(place.corner + edge + lattice_.plane());
    }
    return place;
  }
  float value(const Place& place) const {
    return lattice::trilinear(place.corner, lattice_.row(), lattice_.plane(), place.t);
  }
  void gradient(const Place& place, float* out) const {
    alignas(16) float t[4];
    _mm_store_ps(t, place.t);
    lattice::trilinear_gradient(place.corner, lattice_.row(), lattice_.plane(), t, out);
  }

 private:
  const Lattice& lattice_;
  const float* values_;
};

template <class Lattice>
class Nearest {
 public:
  using Place = const float*;
  Nearest(const Lattice& lattice, const GridStruct&, const float* values)
      : lattice_(lattice), values_(values) {}

  Place find(__m128i cell, __m128 t) const {
    const CellPlace at(cell, t);
    const auto upper = [&](int axis) { return at.cell[axis] + (at.t[axis] > 0.5f); };
    const Place place = values_ + upper(0) + upper(1) * lattice_.row() + upper(2) * lattice_.plane();
    __builtin_prefetch(place);
    return place;
  }
  float value(Place place) const { return *place; }
  void gradient(Place, float* out) const { std::fill_n(out, 3, 0.0f); }

 private:
  const Lattice& lattice_;
  const float* values_;
};

// The 27 points about a place, with their weights.
template <class Lattice>
class Quadratic {
 public:
  struct Place {
    lattice::SplineAxis x, y, z;
    const float* nearest;
  };
  Quadratic(const Lattice& lattice, const GridStruct& grid, const float* values)
      : lattice_(lattice), grid_(grid), values_(values) {}

  Place find(__m128i cell, __m128 t) const {
    constexpr bool wraps = std::is_same_v<Lattice, PeriodicLattice>;
    const CellPlace at(cell, t);
    const std::ptrdiff_t row = lattice_.row(), plane = lattice_.plane();
    Place place{{at.cell[0], at.t[0], grid_.xdim, 1, wraps},
                {at.cell[1], at.t[1], grid_.ydim, row, wraps},
                {at.cell[2], at.t[2], grid_.zdim, plane, wraps},
                nullptr};
    place.nearest = values_ + place.x.nearest + place.y.nearest * row + place.z.nearest * plane;
    for (const std::ptrdiff_t z : place.z.offset)
      for (const std::ptrdiff_t y : place.y.offset) __builtin_prefetch(place.nearest + z + y);
    return place;
  }
  float value(const Place& p) const { return sum(p, p.x.weights.w, p.y.weights.w, p.z.weights.w); }
  void gradient(const Place& p, float* out) const {
    out[0] = sum(p, p.x.weights.d, p.y.weights.w, p.z.weights.w);
    out[1] = sum(p, p.x.weights.w, p.y.weights.d, p.z.weights.w);
    out[2] = sum(p, p.x.weights.w, p.y.weights.w, p.z.weights.d);
  }

 private:
  static float sum(const Place& p, const float* wx, const float* wy, const float* wz) {
    return lattice::spline_sum(p.nearest, p.x.offset, p.y.offset, p.z.offset, wx, wy, wz);
  }

  const Lattice& lattice_;
  const GridStruct& grid_;
  const float* values_;
};

// Calls take(i, place) for every point i that the lattice holds; how many these are.
//
// Places are found a block of points ahead of the values, so that the cache misses of a block overlap: twice
// as fast at scattered points of a large map.
template <class Lattice, class Kernel, class Take>
std::ptrdiff_t sample(const Points& points, std::ptrdiff_t n, const Lattice& lattice, const Kernel& kernel,
                      Take take) {
  constexpr std::ptrdiff_t kBlock = 32;
  __m128 point[kBlock];
  typename Kernel::Place place[kBlock];
  std::ptrdiff_t index[kBlock], taken = 0;
  for (std::ptrdiff_t first = 0; first < n; first += kBlock) {
    const std::ptrdiff_t count = std::min(n - first, kBlock);
    points.read(first, count, point);
    int found = 0;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
      __m128i cell;
      __m128 t;
      if (!lattice.locate(point[i], cell, t)) continue;
      place[found] = kernel.find(cell, t);
      index[found++] = first + i;
    }
    for (int k = 0; k < found; ++k) take(index[k], place[k]);
    taken += found;
  }
  return taken;
}

// Values at points that the lattice holds and, where `gradients` is not null, gradients by its axes; per unit
// of length, and by the axes of the world when a row-major 3 x 3 matrix takes these into the lattice's.
struct Output {
  float* values;
  float* gradients = nullptr;
  const float* to_lattice = nullptr;
};

template <template <class> class Kernel, class Lattice>
std::ptrdiff_t sample(const Points& points, std::ptrdiff_t n, const Output& out, const Lattice& lattice,
                      const GridStruct& grid, const float* values) {
  const Kernel<Lattice> kernel(lattice, grid, values);
  using Place = typename Kernel<Lattice>::Place;
  if (!out.gradients)
    return sample(points, n, lattice, kernel,
                  [&](std::ptrdiff_t i, const Place& place) { out.values[i] = kernel.value(place); });
  const float scale = 1.0f / grid.spacing;
  const float* const m = out.to_lattice;
  return sample(points, n, lattice, kernel, [&](std::ptrdiff_t i, const Place& place) {
    float g[3];
    out.values[i] = kernel.value(place);
    kernel.gradient(place, g);
    for (float& v : g) v *= scale;
    for (int a = 0; a < 3; ++a)
      out.gradients[3 * i + a] = m ? m[a] * g[0] + m[3 + a] * g[1] + m[6 + a] * g[2] : g[a];
  });
}

template <class Lattice>
std::ptrdiff_t sample(VXInterpolation method, const Points& points, std::ptrdiff_t n, const Output& out,
                      const Lattice& lattice, const GridStruct& grid, const float* values) {
  switch (method) {
    case VXInterpolation::Nearest:
      return sample<Nearest>(points, n, out, lattice, grid, values);
    case VXInterpolation::Linear:
      return sample<Trilinear>(points, n, out, lattice, grid, values);
    case VXInterpolation::Quadratic:
      return sample<Quadratic>(points, n, out, lattice, grid, values);
  }
  return 0;
}

// How far inside the faces the neighbours that a method needs begin, in steps.
float margin_of(VXInterpolation method) { return method == VXInterpolation::Quadratic ? 0.5f : 0.0f; }

// How far beyond that limit a point counts as on it: the places of samples are rounded.
constexpr float kOnLimit = 1e-3f;

// The lattice that ends at its faces, with the samples on them.
class LatticeWithFaces : public ClippedLattice {
 public:
  LatticeWithFaces(const GridStruct& grid, VXInterpolation method)
      : ClippedLattice(grid, (margin_of(method) - kOnLimit) * grid.spacing, kAtFace) {}

  bool locate(__m128 point, __m128i& cell, __m128& t) const {
    if (!ClippedLattice::locate(point, cell, t)) return false;
    t = _mm_sub_ps(steps(point), _mm_cvtepi32_ps(cell));  // up to 1 in the last cell
    return true;
  }
};

std::ptrdiff_t interpolate(const GridStruct& grid, bool wraps, const Points& points, std::size_t n,
                           VXInterpolation method, float outside, const Output& out) {
  std::fill_n(out.values, n, outside);
  if (out.gradients) std::fill_n(out.gradients, 3 * n, outside);
  if (grid.xdim < 2 || grid.ydim < 2 || grid.zdim < 2) return 0;
  const auto count = static_cast<std::ptrdiff_t>(n);
  if (!wraps) return sample(method, points, count, out, LatticeWithFaces(grid, method), grid, grid.floats);
  const PeriodicLattice lattice(grid);
  return lattice.has_extent() ? sample(method, points, count, out, lattice, grid, grid.floats) : 0;
}

Layout layout_of(const float*) { return kFloatTriples; }
Layout layout_of(const double*) { return kDoubleTriples; }

}  // namespace

void vi_map_to_atoms_from_grid_and_vals(void* points, int n, float* out, GridStruct grid, const float* values,
                                        int kind) {
  if (kind < 0 || kind > 8) return;
  const VXInterpolation method = kind >= 6       ? VXInterpolation::Nearest
                                 : kind % 2 == 1 ? VXInterpolation::Quadratic
                                                 : VXInterpolation::Linear;
  const Points from(points, static_cast<Layout>(kind < 6 ? kind / 2 : kind - 6));
  const ClippedLattice lattice(grid, margin_of(method) * grid.spacing, ClippedLattice::kClearOfLastCell);
  sample(method, from, n, {out}, lattice, grid, values);
}

void vi_map_to_atoms_from_grid(void* points, int n, float* out, GridStruct grid, int kind) {
  vi_map_to_atoms_from_grid_and_vals(points, n, out, grid, grid.floats, kind);
}

void vi_quadratic_interpolation_and_derivativates(const float* xyz, int n, float* out, float* gradients,
                                                  GridStruct grid) {
  if (n > 0) std::fill_n(out, n, 0.0f);
  const VXInterpolation method = VXInterpolation::Quadratic;
  const ClippedLattice lattice(grid, margin_of(method) * grid.spacing, ClippedLattice::kAtFace);
  const std::ptrdiff_t inside =
      sample(method, Points(xyz, kFloatTriples), n, {out, gradients}, lattice, grid, grid.floats);
  if (inside != n) VXThrow.Warning("%d points not inside of map.", n - static_cast<int>(inside));
}

bool VXQuadraticInterpolationAndDerivatives(const VXScalarGrid& grid, const float* xyz, unsigned int n,
                                            float* out, float* gradients) {
  if (!lattice::is_sized(grid)) return false;
  vi_quadratic_interpolation_and_derivativates(xyz, static_cast<int>(n), out, gradients,
                                               lattice::view(grid, grid.GetValues()));
  return true;
}

bool VXQuadraticInterpolationAndDerivatives(const VXScalarGrid& grid, const VXMolBase& mol,
                                            std::vector<float>& out, std::vector<float>& gradients) {
  std::vector<float> xyz(std::size_t{3} * mol.GetMaxAtomIdx());
  mol.GetCoords(xyz.data());
  const unsigned int n = mol.NumAtoms();
  out.resize(n);
  gradients.resize(std::size_t{3} * n);
  return VXQuadraticInterpolationAndDerivatives(grid, xyz.data(), n, out.data(), gradients.data());
}

template <class T>
std::size_t VXInterpolate(const VXScalarGrid& grid, const T* xyz, std::size_t n, VXInterpolation method,
                          float outside, float* out, float* gradients) {
  const Points points(xyz, layout_of(xyz));
  return interpolate(lattice::view(grid, grid.GetValues()), false, points, n, method, outside,
                     {out, gradients});
}

template <class T>
std::size_t VXInterpolate(const VXZemoGrid& grid, const T* xyz, std::size_t n, VXInterpolation method,
                          float outside, float* out, float* gradients) {
  const lattice::Source source(grid);
  float to_lattice[9];
  if (!lattice::invert(source.orientation, to_lattice)) std::copy_n(lattice::kIdentity, 9, to_lattice);
  const lattice::Turn turn = lattice::unturn(source);
  return interpolate(source.lattice, grid.GetReentrant() != 0, Points(xyz, layout_of(xyz), &turn), n, method,
                     outside, {out, gradients, to_lattice});
}

template <class T>
std::size_t VXInterpolate(const VXSkewGrid& grid, const T* xyz, std::size_t n, VXInterpolation method,
                          float outside, float* out, float* gradients) {
  return VXInterpolate(grid.GetImpl().GetImpl(), xyz, n, method, outside, out, gradients);
}

template VXGRID_API std::size_t VXInterpolate(const VXScalarGrid&, const float*, std::size_t, VXInterpolation,
                                              float, float*, float*);
template VXGRID_API std::size_t VXInterpolate(const VXScalarGrid&, const double*, std::size_t,
                                              VXInterpolation, float, float*, float*);
template VXGRID_API std::size_t VXInterpolate(const VXZemoGrid&, const float*, std::size_t, VXInterpolation,
                                              float, float*, float*);
template VXGRID_API std::size_t VXInterpolate(const VXZemoGrid&, const double*, std::size_t, VXInterpolation,
                                              float, float*, float*);
template VXGRID_API std::size_t VXInterpolate(const VXSkewGrid&, const float*, std::size_t, VXInterpolation,
                                              float, float*, float*);
template VXGRID_API std::size_t VXInterpolate(const VXSkewGrid&, const double*, std::size_t, VXInterpolation,
                                              float, float*, float*);

}  // namespace VXCore
