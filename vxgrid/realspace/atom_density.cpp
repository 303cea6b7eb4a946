#include <vxgrid/realspace/atom_density.inl>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>

#include <xmmintrin.h>

#include <vxgrid/host/wide.inl>

namespace VXCore {

namespace {

using Doubles = double __attribute__((vector_size(32)));
using Longs = long long __attribute__((vector_size(32)));
using Floats = float __attribute__((vector_size(16)));
using Mask = int __attribute__((vector_size(16)));
using RowFloats = float __attribute__((vector_size(32)));
using RowMask = int __attribute__((vector_size(32)));

constexpr int kRowLanes = 8;
// The kernel takes this many vectors of four points in step, so that their chains of operations overlap.
constexpr int kVectors = 4;
constexpr int kGroup = 4 * kVectors;
#define VXGRID_EACH_VECTOR _Pragma("GCC unroll 4") for (int v = 0; v < kVectors; ++v)

// A bound of the relative error of the kernel's products: 2^-39.7 of the polynomial, 2^-42 of the reduced
// argument, 2^-51 of the products and of the library's exp.
constexpr double kErrorBound = 0x1p-37;

/// A term as the kernel reads it: amplitude * 2^(slope * d^2).
struct FastTerm {
  double amplitude, slope;
};

/// Whether the error bound holds: the terms are ordinary numbers, and fall off to no less than 2^-900 of
/// themselves within the radius.
bool is_ordinary(const AtomTerms& atom) {
  return std::all_of(std::begin(atom.term), std::end(atom.term), [&](const ScatterPotential& t) {
    return std::fabs(t.amplitude) < 1e30 && t.exponent > 0 && t.exponent * atom.radius * atom.radius < 600.0;
  });
}

/// The densities at `count` squared distances, a whole number of groups.
///
/// exp is worked out for several points at once to some 2^-39, enough to know which float a product rounds
/// to in all but one case in five thousand: where both ends of the error interval round alike. The others
/// take the plain road, so that all floats are those of AtomTerms::Density (ScatterToGrid.SameAsPlainLoop).
VXGRID_WIDE void densities(const AtomTerms& atom, const FastTerm* terms, const float* d2, int count,
                           float* out) {
  // Adding 1.5 * 2^52 rounds to a whole number, which then stands in the low bits of the sum.
  constexpr double kRound = 0x1.8p52;
  for (int i = 0; i < count; i += kGroup) {
    Doubles at[kVectors], f[kVectors], whole[kVectors], p[kVectors];
    Floats sum[kVectors];
    Mask doubt{};
    VXGRID_EACH_VECTOR {
      Floats narrow;
      std::memcpy(&narrow, d2 + i + 4 * v, sizeof narrow);
      at[v] = __builtin_convertvector(narrow, Doubles);
      sum[v] = Floats{};
    }
    for (int k = 0; k < 5; ++k) {
      const double slope = terms[k].slope, amplitude = terms[k].amplitude;
      VXGRID_EACH_VECTOR {
        const Doubles t = slope * at[v];
        whole[v] = t + kRound;
        f[v] = t - (whole[v] - kRound);
      }
      // 2^f on [-0.5, 0.5], interpolated at Chebyshev points.
      VXGRID_EACH_VECTOR {
        const Doubles f2 = f[v] * f[v], f4 = f2 * f2;
        const Doubles a = 0.9999999999999996 + 0.6931471805459347 * f[v];
        const Doubles b = 0.24022650695818737 + 0.05550410941198012 * f[v];
        const Doubles c = 0.00961812915836372 + 0.0013333450575818 * f[v];
        const Doubles d = 0.00015403456484759174 + 1.5310077403092715e-05 * f[v];
        p[v] = (a + b * f2) + ((c + d * f2) + 1.3255101109872765e-06 * f4) * f4;
      }
      VXGRID_EACH_VECTOR {
        p[v] = (Doubles)((Longs)p[v] + ((Longs)whole[v] << 52)) * amplitude;
        const Floats low = __builtin_convertvector(p[v] * (1.0 - kErrorBound), Floats);
        const Floats high = __builtin_convertvector(p[v] * (1.0 + kErrorBound), Floats);
        doubt |= low != high;
        sum[v] += low;
      }
    }
    std::memcpy(out + i, sum, sizeof sum);
    if (doubt[0] | doubt[1] | doubt[2] | doubt[3])
      for (int lane = i; lane < i + kGroup; ++lane) out[lane] = atom.Density(d2[lane]);
  }
}

/// One bit for each lane that is set.
VXGRID_PART_OF_CLONE inline unsigned int bits_of(const RowMask& mask) {
  const Mask low = __builtin_shufflevector(mask, mask, 0, 1, 2, 3);
  const Mask high = __builtin_shufflevector(mask, mask, 4, 5, 6, 7);
  return static_cast<unsigned int>(_mm_movemask_ps((__m128)low) | _mm_movemask_ps((__m128)high) << 4);
}

}  // namespace

AtomTerms::AtomTerms(const VXScatterData& row, double b, double occ)
    : term{{row.a1, row.b1, b, occ},
           {row.a2, row.b2, b, occ},
           {row.a3, row.b3, b, occ},
           {row.a4, row.b4, b, occ},
           {row.c, 0.0, b, occ}},
      radius(0.0) {
  for (const ScatterPotential& t : term)
    if (t.radius > radius) radius = t.radius;
}

float AtomTerms::Density(double d2) const {
  float sum = 0.0f;
  for (const ScatterPotential& t : term) sum += static_cast<float>(t.amplitude * std::exp(-t.exponent * d2));
  return sum;
}

/// Points of one atom that wait for their density: squared distances, and the runs of elements they belong
/// to.
struct AtomMapper::Points {
  static constexpr int kFull = 256;
  struct Run {
    unsigned int element;
    int count;
  };

  int count = 0, runs = 0;
  float d2[kFull + kGroup];
  Run run[kFull + kRowLanes];
};

AtomMapper::AtomMapper(const XYZToIJK& map, const unsigned int* dims, float* values)
    : map_(map), values_(values) {
  for (int axis = 0; axis < 3; ++axis) {
    dims_[axis] = static_cast<int>(dims[axis]);
    step_[axis] = map.StepLength(axis);
    for (int row = 0; row < 3; ++row) {
      product_[row][axis].resize(static_cast<std::size_t>(dims[axis]) + kRowLanes);
      for (int i = 0; i < dims_[axis]; ++i)
        product_[row][axis][i] =
            map.orientation[3 * row + axis] * ((static_cast<float>(i) - map.centre[axis]) * map.spacing);
    }
  }
}

bool AtomMapper::FindRanges(double radius, const float* xyz, Range* ranges) const {
  float nearest[3], at[3];
  map_.ToIndex(xyz, nearest);
  for (float& index : nearest) index = std::rint(index);
  map_.ToCartesian(nearest, at);
  for (int axis = 0; axis < 3; ++axis) {
    const double delta = at[axis] - xyz[axis];
    const double first = nearest[axis] - std::trunc((radius - delta) / step_[axis] + 0.5);
    const double last = nearest[axis] + std::trunc((radius + delta) / step_[axis] + 0.5);
    const double end = dims_[axis] - 1;
    if (!(first <= end && last >= 0.0 && first <= last)) return false;
    ranges[axis] = {static_cast<int>(std::max(first, 0.0)), static_cast<int>(std::min(last, end))};
  }
  return true;
}

void AtomMapper::Add(const AtomTerms& atom, const float* xyz) {
  Range ranges[3];
  if (std::isfinite(atom.radius) && FindRanges(atom.radius, xyz, ranges)) AddBox(atom, xyz, ranges);
}

// The squared distances of eight points of a row at once; those that count, one run in nearly every row, wait
// until the kernel takes many together. The three summands of each coordinate stand in tables, and where rows
// run along Cartesian x, y and z belong to the row: all in the order of XYZToIJK::ToCartesian.
VXGRID_WIDE void AtomMapper::AddBox(const AtomTerms& atom, const float* xyz, const Range* ranges) {
  // The smallest float that is not below radius^2: comparing floats with it decides as doubles would.
  const double radius2 = atom.radius * atom.radius;
  float limit = static_cast<float>(radius2);
  if (limit < radius2) limit = std::nextafter(limit, INFINITY);
  const bool along_x = map_.orientation[3] == 0.0f && map_.orientation[6] == 0.0f;
  const RowMask lanes = {0, 1, 2, 3, 4, 5, 6, 7};

  Points points;
  for (int z = ranges[2].first; z <= ranges[2].last; ++z)
    for (int y = ranges[1].first; y <= ranges[1].last; ++y) {
      const auto offset = [&](int axis, auto along) VXGRID_PART_OF_CLONE {
        return ((along + product_[axis][1][y]) + product_[axis][2][z]) + map_.mid[axis] - xyz[axis];
      };
      const float row_dy = offset(1, 0.0f), row_dz = offset(2, 0.0f);
      // Rounding keeps order: with the x term the sum can only be larger.
      if (along_x && row_dy * row_dy + row_dz * row_dz >= limit) continue;

      const auto distances = [&](int x) VXGRID_PART_OF_CLONE {
        const auto along_row = [&](int axis) VXGRID_PART_OF_CLONE {
          RowFloats along;
          std::memcpy(&along, &product_[axis][0][x], sizeof along);
          return offset(axis, along);
        };
        const RowFloats dx = along_row(0);
        const RowFloats dy = along_x ? RowFloats{} + row_dy : along_row(1);
        const RowFloats dz = along_x ? RowFloats{} + row_dz : along_row(2);
        return (dx * dx + dy * dy) + dz * dz;
      };
      const unsigned int row = (static_cast<unsigned int>(z) * dims_[1] + y) * dims_[0];
      for (int x = ranges[0].first; x <= ranges[0].last; x += kRowLanes) {
        unsigned int bits = bits_of((distances(x) < limit) & (lanes <= ranges[0].last - x));
        while (bits) {
          const int skip = __builtin_ctz(bits), count = __builtin_ctz(~(bits >> skip));
          const RowFloats d2 = distances(x + skip);
          std::memcpy(points.d2 + points.count, &d2, sizeof d2);
          points.run[points.runs++] = {row + x + skip, count};
          points.count += count;
          bits &= ~0u << (skip + count);
        }
        if (points.count >= Points::kFull) Flush(atom, points);
      }
    }
  Flush(atom, points);
}

void AtomMapper::Flush(const AtomTerms& atom, Points& points) {
  float density[Points::kFull + kGroup];
  if (is_ordinary(atom)) {
    FastTerm terms[5];
    for (int k = 0; k < 5; ++k)
      terms[k] = {atom.term[k].amplitude, atom.term[k].exponent * -1.4426950408889634};  // -1 / ln 2
    const int whole = (points.count + kGroup - 1) / kGroup * kGroup;
    std::fill(points.d2 + points.count, points.d2 + whole, 0.0f);
    densities(atom, terms, points.d2, whole, density);
  } else {
    std::transform(points.d2, points.d2 + points.count, density, [&](float d2) { return atom.Density(d2); });
  }
  const float* next = density;
  for (int i = 0; i < points.runs; ++i) {
    float* const values = values_ + points.run[i].element;
    for (int k = 0; k < points.run[i].count; ++k) values[k] += next[k];
    next += points.run[i].count;
  }
  points.count = points.runs = 0;
}

}  // namespace VXCore
