#include <vxgrid/molgrid/soft_sphere.h>

#include <algorithm>
#include <cstring>
#include <limits>

#include <xmmintrin.h>

#include <vxgrid/host/error_handler.h>
#include <vxgrid/host/wide.inl>

namespace VXCore {
namespace {

using Doubles = double __attribute__((vector_size(32)));
using Longs = long long __attribute__((vector_size(32)));
using Floats = float __attribute__((vector_size(16)));
using Mask = int __attribute__((vector_size(16)));

constexpr unsigned int kLanes = 4;

// A bound of the relative error of a product of three exponentials against the exponential of the sum, and of
// what is made of it. Where a float is left the exponents are below 256, so their roundings are below 2^-45.
constexpr double kErrorBound = 0x1p-40;

// The target value up to which there is nothing to touch.
constexpr float kLeastTarget = 0.0001f;

/// The points of a lattice around a soft sphere: squared distances along each axis, and exp(-width d^2). The
/// x axis holds whole vectors inside the lattice's row; points outside the window are infinitely far away.
struct SphereTables {
  static constexpr unsigned int kMax = 64;

  /// False when the window does not fit the tables or the potential grows outwards: left to the plain walk.
  bool Set(const VXFixedGrid<float>& grid, const GaussPot& pot, double x, double y, double z, double range) {
    const double spacing = grid.GetSpacing();
    const unsigned int dims[3] = {grid.GetXDim(), grid.GetYDim(), grid.GetZDim()};
    const float mids[3] = {grid.GetXMid(), grid.GetYMid(), grid.GetZMid()};
    const double at[3] = {x, y, z};
    if (!(pot.width >= 0.0f)) return false;
    for (int axis = 0; axis < 3; ++axis) {
      radial_detail::AxisWindow window;
      if (!window.Set(dims[axis], mids[axis], spacing, at[axis], range)) {
        count[2] = 0;
        return true;
      }
      unsigned int points = window.count(), skip = 0;
      first[axis] = window.first();
      if (axis == 0) {
        points = (points + kLanes - 1) / kLanes * kLanes;
        if (points > dims[0]) return false;
        first[0] = std::min(first[0], dims[0] - points);
        skip = window.first() - first[0];
      }
      if (points > kMax) return false;
      count[axis] = points;
      std::fill_n(square[axis], points, std::numeric_limits<double>::infinity());
      std::fill_n(factor[axis], points, 0.0);
      for (unsigned int i = 0; i < window.count(); ++i) {
        square[axis][skip + i] = window.square(i);
        factor[axis][skip + i] = std::exp(-pot.width * window.square(i));
      }
    }
    reach2 = range * range;
    xdim = dims[0];
    ydim = dims[1];
    return true;
  }

  std::size_t xdim, ydim;
  double reach2;
  unsigned int first[3], count[3];  // count[2] is 0 when the window is empty
  double square[3][kMax], factor[3][kMax];
};

VXGRID_PART_OF_CLONE inline bool any(const Mask& mask) { return _mm_movemask_ps((__m128)mask) != 0; }

VXGRID_PART_OF_CLONE inline void store_where(const Mask& mask, const Floats& now, const Floats& before,
                                             float* out) {
  const Mask chosen = ((Mask)now & mask) | ((Mask)before & ~mask);
  std::memcpy(out, &chosen, sizeof chosen);
}

/// Calls visit(element, exponential of y and z, those of x, d2, inside) with four points at a time, and gives
/// the number of points that visit counts.
template <class Visit>
VXGRID_PART_OF_CLONE inline unsigned int for_each_vector(const SphereTables& t, Visit visit) {
  Longs touched{};
  for (unsigned int k = 0; k < t.count[2]; ++k)
    for (unsigned int j = 0; j < t.count[1]; ++j) {
      const double yz = t.square[2][k] + t.square[1][j];
      if (yz > t.reach2) continue;
      const double factor = t.factor[2][k] * t.factor[1][j];
      const std::size_t row = ((t.first[2] + k) * t.ydim + t.first[1] + j) * t.xdim + t.first[0];
      for (unsigned int i = 0; i < t.count[0]; i += kLanes) {
        Doubles square, exponential;
        std::memcpy(&square, t.square[0] + i, sizeof square);
        std::memcpy(&exponential, t.factor[0] + i, sizeof exponential);
        const Doubles d2 = yz + square;
        const Longs within = d2 <= t.reach2;
        const Mask inside = __builtin_convertvector(within, Mask);
        touched -= visit(row + i, factor, exponential, d2, inside, within);
      }
    }
  return static_cast<unsigned int>(touched[0] + touched[1] + touched[2] + touched[3]);
}

// exp of a sum of squares is a product of table entries, right to some 2^-47: enough to know which float a
// value rounds to in nearly every case, the one in which both ends of the error interval round alike. The
// others take the plain road, so that all floats are those of the plain walk
// (SoftSphere.SameBitsAsPlainWalk).
VXGRID_WIDE unsigned int add_sphere(float* values, const SphereTables& t, const GaussPot& pot, double sign) {
  const double least = sign * pot.amplitude * (1.0 - kErrorBound);
  const double most = sign * pot.amplitude * (1.0 + kErrorBound);
  return for_each_vector(
      t, [&](std::size_t element, double factor, const Doubles& exponential, const Doubles& d2,
             const Mask& inside, const Longs& within) VXGRID_PART_OF_CLONE {
        Floats before;
        std::memcpy(&before, values + element, sizeof before);
        const Doubles sum = __builtin_convertvector(before, Doubles);
        const Floats low = __builtin_convertvector(sum + least * factor * exponential, Floats);
        const Floats high = __builtin_convertvector(sum + most * factor * exponential, Floats);
        if (any(inside & (low != high))) {
          for (unsigned int lane = 0; lane < kLanes; ++lane)
            if (inside[lane])
              values[element + lane] =
                  static_cast<float>(values[element + lane] + sign * pot(std::sqrt(d2[lane])));
        } else {
          store_where(inside, low, before, values + element);
        }
        return within;
      });
}

double contact_of(double potential, float target) {
  const double sum = potential + target;
  return (target + target) * std::min(potential / sum, target / sum);
}

VXGRID_WIDE unsigned int raise_contact(float* contact, const float* target, const SphereTables& t,
                                       const GaussPot& pot) {
  const double amplitude = pot.amplitude;
  return for_each_vector(t, [&](std::size_t element, double factor, const Doubles& exponential,
                                const Doubles& d2, const Mask& inside, const Longs&) VXGRID_PART_OF_CLONE {
    Floats there, before;
    std::memcpy(&there, target + element, sizeof there);
    const Mask counts = inside & (there > kLeastTarget);
    if (!any(counts)) return Longs{};
    std::memcpy(&before, contact + element, sizeof before);
    const Doubles g = amplitude * factor * exponential, full = __builtin_convertvector(there, Doubles);
    const Longs weaker = g < full;
    const Doubles least = (Doubles)(((Longs)g & weaker) | ((Longs)full & ~weaker));
    const Doubles value = __builtin_convertvector(there + there, Doubles) * (least / (g + full));
    const Floats low = __builtin_convertvector(value * (1.0 - kErrorBound), Floats);
    const Floats high = __builtin_convertvector(value * (1.0 + kErrorBound), Floats);
    if (any(counts & (low != high))) {
      for (unsigned int lane = 0; lane < kLanes; ++lane)
        if (counts[lane])
          MaxMappingFunctor<float>()(contact[element + lane],
                                     contact_of(pot.AtSquare(d2[lane]), there[lane]));
    } else {
      store_where(counts & (low > before), low, before, contact + element);
    }
    return __builtin_convertvector(counts, Longs);
  });
}

unsigned int add_signed(VXFixedGrid<float>& grid, const GaussPot& pot, double sign, double x, double y,
                        double z, double range) {
  SphereTables tables;
  float* const values = grid.GetValues();
  if (grid.GetSize() == 0) return 0;
  if (tables.Set(grid, pot, x, y, z, range)) return add_sphere(values, tables, pot, sign);
  return radial_detail::ForEachPointWithin(grid, x, y, z, range, [&](std::size_t element, double d2) {
    values[element] = static_cast<float>(values[element] + sign * pot(std::sqrt(d2)));
  });
}

}  // namespace

bool GaussPot::Set(float radius) {
  constexpr float kKappa = 2.7f;
  if (radius < 0.0f) {
    VXThrow.Error("VolPot.Set : Illegal parameters, kappa %6.2f, rad %6.2f", kKappa, radius);
    return false;
  }
  width = kKappa / (radius * radius);
  range = 2.0f / std::sqrt(width);
  return true;
}

template <>
unsigned int MapRadialPotentialToGrid<float, GaussPot, AddMappingFunctor>(VXFixedGrid<float>& grid,
                                                                          const GaussPot& pot,
                                                                          AddMappingFunctor, double x,
                                                                          double y, double z, double range) {
  return add_signed(grid, pot, 1.0, x, y, z, range);
}

template <>
unsigned int MapRadialPotentialToGrid<float, GaussPot, SubtractMappingFunctor>(VXFixedGrid<float>& grid,
                                                                               const GaussPot& pot,
                                                                               SubtractMappingFunctor,
                                                                               double x, double y, double z,
                                                                               double range) {
  return add_signed(grid, pot, -1.0, x, y, z, range);
}

unsigned int MapContactPotential(VXScalarGrid& contact, VXScalarGrid& target, const GaussPot& pot, double x,
                                 double y, double z, double range) {
  SphereTables tables;
  if (target.GetSize() == 0 || contact.GetSize() != target.GetSize()) return 0;
  float* const raised = contact.GetValues();
  const float* const there = target.GetValues();
  if (tables.Set(target, pot, x, y, z, range)) return raise_contact(raised, there, tables, pot);
  unsigned int visited = 0;
  radial_detail::ForEachPointWithin(target, x, y, z, range, [&](std::size_t element, double d2) {
    if (!(there[element] > kLeastTarget)) return;
    MaxMappingFunctor<float>()(raised[element], contact_of(pot.AtSquare(d2), there[element]));
    ++visited;
  });
  return visited;
}

}  // namespace VXCore
