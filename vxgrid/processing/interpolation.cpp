#include <vxgrid/processing/interpolation.h>

#include <algorithm>

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/host/error_handler.h>
#include <vxgrid/host/molecule.h>
#include <vxgrid/processing/sampling.inl>

namespace VXCore {
namespace {

using lattice::ClippedLattice;

// Points of `stride` numbers each, position first.
template <class T, int stride>
struct PointReader {
  __m128 operator()(std::ptrdiff_t i) const {
    const T* const p = points + stride * i;
    return _mm_setr_ps(static_cast<float>(p[0]), static_cast<float>(p[1]), static_cast<float>(p[2]), 0);
  }
  const T* points;
};

// A cell and the place in it, taken out of their lanes.
struct CellPlace {
  CellPlace(const ClippedLattice& lattice, __m128 point) {
    __m128 t_lanes;
    _mm_store_si128(reinterpret_cast<__m128i*>(cell), lattice.cell(point, t_lanes));
    _mm_store_ps(t, t_lanes);
  }
  alignas(16) int cell[4];
  alignas(16) float t[4];
};

// Where in a lattice a value comes from: each kernel finds the place of a point, asks for the memory that it
// needs, and later makes the value.
struct Trilinear {
  struct Place {
    const float* corner;
    __m128 t;
  };
  Place find(__m128 point) const {
    Place place;
    place.corner = values + lattice.index(lattice.cell(point, place.t));
    for (const std::ptrdiff_t edge : {std::ptrdiff_t{0}, lattice.row()}) {
      __builtin_prefetch(place.corner + edge);
      __builtin_prefetch(place.corner + edge + lattice.plane());
    }
    return place;
  }
  float value(const Place& place) const {
    return lattice::trilinear(place.corner, lattice.row(), lattice.plane(), place.t);
  }
  const ClippedLattice& lattice;
  const float* values;
};

struct Nearest {
  using Place = const float*;
  Place find(__m128 point) const {
    const CellPlace at(lattice, point);
    const auto upper = [&](int axis) { return at.cell[axis] + (at.t[axis] > 0.5f); };
    const Place place = values + upper(0) + upper(1) * lattice.row() + upper(2) * lattice.plane();
    __builtin_prefetch(place);
    return place;
  }
  float value(Place place) const { return *place; }
  const ClippedLattice& lattice;
  const float* values;
};

// The 27 points about a place, with their weights.
class Spline {
 public:
  Spline() = default;
  Spline(const CellPlace& at, const GridStruct& grid, const float* values, std::ptrdiff_t row,
         std::ptrdiff_t plane)
      : x_(at.cell[0], at.t[0], grid.xdim, 1),
        y_(at.cell[1], at.t[1], grid.ydim, row),
        z_(at.cell[2], at.t[2], grid.zdim, plane),
        nearest_(values + x_.nearest + y_.nearest * row + z_.nearest * plane) {}

  void prefetch() const {
    for (const std::ptrdiff_t z : z_.offset)
      for (const std::ptrdiff_t y : y_.offset) __builtin_prefetch(nearest_ + z + y);
  }
  float value() const { return sum(x_.weights.w, y_.weights.w, z_.weights.w); }
  void gradient(float scale, float* out) const {
    out[0] = sum(x_.weights.d, y_.weights.w, z_.weights.w) * scale;
    out[1] = sum(x_.weights.w, y_.weights.d, z_.weights.w) * scale;
    out[2] = sum(x_.weights.w, y_.weights.w, z_.weights.d) * scale;
  }

 private:
  float sum(const float* wx, const float* wy, const float* wz) const {
    return lattice::spline_sum(nearest_, x_.offset, y_.offset, z_.offset, wx, wy, wz);
  }

  lattice::SplineAxis x_, y_, z_;
  const float* nearest_;
};

struct Quadratic {
  using Place = Spline;
  Place find(__m128 point) const {
    const Place place(CellPlace(lattice, point), grid, values, lattice.row(), lattice.plane());
    place.prefetch();
    return place;
  }
  float value(const Place& place) const { return place.value(); }
  const ClippedLattice& lattice;
  const float* values;
  const GridStruct& grid;
};

// Places are found a block of points ahead of the values, so that the cache misses of a block overlap: twice
// as fast at scattered points of a large map.
template <class Reader, class Kernel>
void sample(Reader point, std::ptrdiff_t n, float* out, const ClippedLattice& lattice, Kernel kernel) {
  constexpr std::ptrdiff_t kBlock = 32;
  typename Kernel::Place place[kBlock];
  float* target[kBlock];
  for (std::ptrdiff_t first = 0; first < n; first += kBlock) {
    int found = 0;
    for (std::ptrdiff_t i = first; i < std::min(n, first + kBlock); ++i) {
      const __m128 p = point(i);
      if (!lattice.holds(p)) continue;
      place[found] = kernel.find(p);
      target[found++] = out + i;
    }
    for (int k = 0; k < found; ++k) *target[k] = kernel.value(place[k]);
  }
}

enum Layout { kAtomRecords, kFloatTriples, kDoubleTriples };

template <class Kernel>
void sample(Layout layout, const void* points, int n, float* out, const ClippedLattice& lattice,
            Kernel kernel) {
  const auto* const floats = static_cast<const float*>(points);
  const auto* const doubles = static_cast<const double*>(points);
  if (layout == kAtomRecords) sample(PointReader<float, 9>{floats}, n, out, lattice, kernel);
  if (layout == kFloatTriples) sample(PointReader<float, 3>{floats}, n, out, lattice, kernel);
  if (layout == kDoubleTriples) sample(PointReader<double, 3>{doubles}, n, out, lattice, kernel);
}

}  // namespace

void vi_map_to_atoms_from_grid_and_vals(void* points, int n, float* out, GridStruct grid, const float* values,
                                        int kind) {
  if (kind < 0 || kind > 8) return;
  const bool is_quadratic = kind < 6 && kind % 2 == 1;
  const Layout layout = static_cast<Layout>(kind < 6 ? kind / 2 : kind - 6);
  // The 27 neighbours exist half a spacing inside the faces.
  const ClippedLattice lattice(grid, is_quadratic ? grid.spacing * 0.5f : 0.0f,
                               ClippedLattice::kClearOfLastCell);
  if (kind >= 6)
    sample(layout, points, n, out, lattice, Nearest{lattice, values});
  else if (is_quadratic)
    sample(layout, points, n, out, lattice, Quadratic{lattice, values, grid});
  else
    sample(layout, points, n, out, lattice, Trilinear{lattice, values});
}

void vi_map_to_atoms_from_grid(void* points, int n, float* out, GridStruct grid, int kind) {
  vi_map_to_atoms_from_grid_and_vals(points, n, out, grid, grid.floats, kind);
}

void vi_quadratic_interpolation_and_derivativates(const float* xyz, int n, float* out, float* gradients,
                                                  GridStruct grid) {
  const ClippedLattice lattice(grid, grid.spacing * 0.5f, ClippedLattice::kAtFace);
  const float scale = 1.0f / grid.spacing;
  const PointReader<float, 3> point{xyz};
  int inside = 0;
  for (std::ptrdiff_t i = 0; i < n; ++i) {
    const __m128 p = point(i);
    if (!lattice.holds(p)) {
      out[i] = 0;
      continue;
    }
    ++inside;
    const Spline spline(CellPlace(lattice, p), grid, grid.floats, lattice.row(), lattice.plane());
    out[i] = spline.value();
    if (gradients) spline.gradient(scale, gradients + 3 * i);
  }
  if (inside != n) VXThrow.Warning("%d points not inside of map.", n - inside);
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

}  // namespace VXCore
