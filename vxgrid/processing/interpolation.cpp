#include <vxgrid/processing/interpolation.h>

#include <cmath>

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
struct Place {
  Place(const ClippedLattice& lattice, __m128 point) {
    __m128 t_lanes;
    _mm_store_si128(reinterpret_cast<__m128i*>(cell), lattice.cell(point, t_lanes));
    _mm_store_ps(t, t_lanes);
  }
  alignas(16) int cell[4];
  alignas(16) float t[4];
};

struct Trilinear {
  float operator()(__m128 point) const { return lattice.trilinear_at(values, point); }
  const ClippedLattice& lattice;
  const float* values;
};

struct Nearest {
  float operator()(__m128 point) const {
    const Place at(lattice, point);
    const auto upper = [&](int axis) { return at.cell[axis] + (at.t[axis] > 0.5f); };
    return values[upper(0) + upper(1) * lattice.row() + upper(2) * lattice.plane()];
  }
  const ClippedLattice& lattice;
  const float* values;
};

// The 27 points about a place, with their weights.
struct Spline {
  Spline(const ClippedLattice& lattice, const GridStruct& grid, __m128 point)
      : Spline(Place(lattice, point), grid, lattice) {}
  Spline(const Place& at, const GridStruct& grid, const ClippedLattice& lattice)
      : x(at.cell[0], at.t[0], grid.xdim, 1),
        y(at.cell[1], at.t[1], grid.ydim, lattice.row()),
        z(at.cell[2], at.t[2], grid.zdim, lattice.plane()),
        nearest(x.nearest + y.nearest * lattice.row() + z.nearest * lattice.plane()) {}

  float sum(const float* values, const float* wx, const float* wy, const float* wz) const {
    return lattice::spline_sum(values + nearest, x.offset, y.offset, z.offset, wx, wy, wz);
  }
  float value(const float* values) const { return sum(values, x.weights.w, y.weights.w, z.weights.w); }
  void gradient(const float* values, float scale, float* out) const {
    out[0] = sum(values, x.weights.d, y.weights.w, z.weights.w) * scale;
    out[1] = sum(values, x.weights.w, y.weights.d, z.weights.w) * scale;
    out[2] = sum(values, x.weights.w, y.weights.w, z.weights.d) * scale;
  }

  lattice::SplineAxis x, y, z;
  std::ptrdiff_t nearest;
};

struct Quadratic {
  float operator()(__m128 point) const { return Spline(lattice, grid, point).value(values); }
  const ClippedLattice& lattice;
  const float* values;
  const GridStruct& grid;
};

template <class Reader, class Kernel>
void sample(Reader point, int n, float* out, const ClippedLattice& lattice, Kernel kernel) {
  for (std::ptrdiff_t i = 0; i < n; ++i) {
    const __m128 p = point(i);
    if (lattice.holds(p)) out[i] = kernel(p);
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
    const Spline spline(lattice, grid, p);
    out[i] = spline.value(grid.floats);
    if (gradients) spline.gradient(grid.floats, scale, gradients + 3 * i);
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
