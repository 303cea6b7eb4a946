// Resolution of reflections, and their expansion by the symmetry of the crystal.

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include <vxgrid/reflection/reflection_impl.h>
#include <vxgrid/reflection/column_block.inl>

namespace VXCore {

namespace {

using VXXtal::kDegreesToRadians;

// (sin theta / lambda)^2 = hh h^2 + kk k^2 + ll l^2 + hk hk + hl hl + kl kl.
struct ReciprocalMetric {
  double hh, kk, ll, hk, hl, kl;
};

// From half of the reciprocal axes, which stand as the rows of an upper triangular matrix when a lies along x
// and b in the xy plane. Terms that are small against the axes are rounding of right angles and are cleared.
ReciprocalMetric reciprocal_metric(const VXXtal::VXUnitCell& cell) {
  constexpr double kEps = 5.000000058430487e-8;
  const double cos_alpha = std::cos(cell.alpha * kDegreesToRadians);
  const double bx = cell.b * std::cos(cell.gamma * kDegreesToRadians);
  const double by = std::fabs(cell.b * std::sin(cell.gamma * kDegreesToRadians));
  const double cx = cell.c * std::cos(cell.beta * kDegreesToRadians);
  double cy = (cos_alpha * (cell.b * cell.c) - cx * bx) / by;
  const double cz = std::sqrt((cell.c * cell.c) - cx * cx - cy * cy);

  const double m = 1 / std::max(static_cast<double>(cell.a), std::max(by, cz));
  const auto small = [](double scale, double value) { return std::fabs(scale * value) < kEps; };
  if (small(m, cy)) cy = 0;
  const double r11 = 0.5f / cell.a;
  const double r22 = 0.5 / by;
  const double r33 = 0.5 / cz;
  double r12 = -r11 * (small(m, bx) ? 0 : bx) / by;
  double r13 = -(cy * r12 + (small(m, cx) ? 0 : cx) * r11) / cz;
  double r23 = (cy == 0 ? 0 : -cy * r22) / cz;

  const double m2 = 1 / std::max(r33, std::max(r11, r22));
  if (small(m2, r12)) r12 = 0;
  if (small(m2, r13)) r13 = 0;
  if (small(m2, r23)) r23 = 0;
  return {r11 * r11 + r12 * r12 + r13 * r13, r22 * r22 + r23 * r23, r33 * r33,
          2 * (r12 * r22 + r13 * r23),       2 * r13 * r33,         2 * r33 * r23};
}

// Truncation of a product of indices; what 32 bits cannot hold becomes INT_MIN.
inline int truncate(float value) {
  return value >= -2147483648.0f && value < 2147483648.0f ? static_cast<int>(value) : INT_MIN;
}

inline int opposite(int index) { return static_cast<int>(0u - static_cast<unsigned>(index)); }

// The operators that can give new mates, behind the identity: a rotation that stood before gives the indices
// that stood before. The identity itself does not count, since it leaves its source in either half.
std::vector<const float*> distinct_rotations(const float* matrices, unsigned int op_count) {
  std::vector<const float*> distinct = {matrices};
  for (unsigned int op = 1; op < op_count; ++op) {
    const float* const m = matrices + 16 * op;
    const auto same = [m](const float* other) {
      return std::equal(m, m + 3, other) && std::equal(m + 4, m + 7, other + 4) &&
             std::equal(m + 8, m + 11, other + 8);
    };
    if (std::none_of(distinct.begin() + 1, distinct.end(), same)) distinct.push_back(m);
  }
  return distinct;
}

// The symmetry mates of a block of reflections. Arrays hold one row of kBlock an operator, so that the lanes
// of a loop are reflections; row 0 is the source.
class MateBlock {
 public:
  static constexpr std::size_t kBlock = 256;

  MateBlock(const VXReflectionImpl& set, std::vector<const float*> ops)
      : set_(set), ops_(std::move(ops)), h_(ops_.size() * kBlock), k_(h_), l_(h_), flip_(h_), known_(h_) {}

  // Finds the mates of reflections [first, first + n) and gives their number.
  std::size_t Find(std::size_t first, std::size_t n) {
    first_ = first;
    n_ = n;
    std::copy_n(set_.h + first, n, h_.begin());
    std::copy_n(set_.k + first, n, k_.begin());
    std::copy_n(set_.l + first, n, l_.begin());
    std::size_t mates = 0;
    for (std::size_t op = 1; op < ops_.size(); ++op) {
      const std::size_t row = op * kBlock;
      Rotate(ops_[op], row);
      std::fill_n(known_.begin() + row, n, 0);
      for (std::size_t other = 0; other < row; other += kBlock) MarkKnown(other, row);
      mates += n - std::count(known_.begin() + row, known_.begin() + row + n, -1);
    }
    return mates;
  }

  // Lists what Find found, reflection by reflection and in the order of the operators, and puts the indices
  // of the mates at `to`.
  void List(std::size_t to) {
    source.clear();
    shift.clear();
    flip.clear();
    for (std::size_t i = 0; i < n_; ++i) {
      const auto h = static_cast<float>(h_[i]), k = static_cast<float>(k_[i]), l = static_cast<float>(l_[i]);
      for (std::size_t op = 1; op < ops_.size(); ++op) {
        const std::size_t at = op * kBlock + i;
        if (known_[at]) continue;
        const float* const m = ops_[op];
        set_.h[to] = h_[at];
        set_.k[to] = k_[at];
        set_.l[to] = l_[at];
        ++to;
        source.push_back(static_cast<std::uint32_t>(first_ + i));
        shift.push_back((m[13] * k + m[12] * h + m[14] * l) * 360);
        flip.push_back(flip_[at]);
      }
    }
  }

  std::vector<std::uint32_t> source;  // of each mate, its place in the set
  std::vector<float> shift;           // of its phase, degrees
  std::vector<int> flip;              // not 0 for a Friedel opposite

 private:
  // Indices turned by one operator, in the half with l > 0, or l = 0 and h > 0, or l = h = 0 and k >= 0.
  void Rotate(const float* m, std::size_t row) {
    for (std::size_t i = 0; i < n_; ++i) {
      const auto h = static_cast<float>(h_[i]), k = static_cast<float>(k_[i]), l = static_cast<float>(l_[i]);
      const int rh = truncate(m[0] * h + m[1] * k + m[2] * l);
      const int rk = truncate(m[4] * h + m[5] * k + m[6] * l);
      const int rl = truncate(m[8] * h + m[9] * k + m[10] * l);
      const bool flipped = (rl < 0) | ((rl == 0) & ((rh < 0) | ((rh == 0) & (rk < 0))));
      h_[row + i] = flipped ? opposite(rh) : rh;
      k_[row + i] = flipped ? opposite(rk) : rk;
      l_[row + i] = flipped ? opposite(rl) : rl;
      flip_[row + i] = flipped;
    }
  }

  // A mate that an earlier row holds already is no new one. Rows of known mates may be compared as well:
  // what they hold stands in a still earlier row.
  void MarkKnown(std::size_t other, std::size_t row) {
    for (std::size_t i = 0; i < n_; ++i) {
      const bool same =
          (h_[other + i] == h_[row + i]) & (k_[other + i] == k_[row + i]) & (l_[other + i] == l_[row + i]);
      known_[row + i] |= same ? -1 : 0;
    }
  }

  const VXReflectionImpl& set_;
  const std::vector<const float*> ops_;
  std::size_t first_ = 0, n_ = 0;
  std::vector<int> h_, k_, l_, flip_, known_;
};

// fmod(v, 360) for |v| < 2^52, in operations that vectorise: the quotient is right or one off, its product
// with 360 is exact, and so is each difference, because every step is a multiple of the last place of v that
// 53 bits hold. 14 times as fast as the library's fmod (bench/map_bench, expand).
inline double modulo_360(double v) {
  constexpr double kWholeNumbers = 4503599627370496.0;  // 2^52: what is added to it is rounded to a whole
  const double size = std::fabs(v);
  const double quotient = (size * (1 / 360.0) + kWholeNumbers) - kWholeNumbers;
  double rest = size - quotient * 360.0;
  rest = rest < 0 ? rest + 360.0 : rest;
  rest = rest >= 360.0 ? rest - 360.0 : rest;
  return std::copysign(rest, v);
}

// Phases of mates, in [0, 360).
void shift_phases(const MateBlock& mates, const float* values, float* out) {
  const std::size_t n = mates.source.size();
  const auto turned = [&](std::size_t j) {
    const float x = values[mates.source[j]] - mates.shift[j];
    return (mates.flip[j] ? -x : x) + 360000.0;
  };
  bool all_small = true;  // false also for not-a-number
  for (std::size_t j = 0; j < n; ++j) {
    const double v = turned(j);
    all_small &= std::fabs(v) < 4503599627370496.0;
    out[j] = static_cast<float>(modulo_360(v));
  }
  if (all_small) return;
  for (std::size_t j = 0; j < n; ++j)
    if (!(std::fabs(turned(j)) < 4503599627370496.0))
      out[j] = static_cast<float>(std::fmod(turned(j), 360.0));
}

template <class T>
void copy_values(const MateBlock& mates, const T* values, T* out) {
  for (std::size_t j = 0; j < mates.source.size(); ++j) out[j] = values[mates.source[j]];
}

// Hendrickson-Lattman coefficients of mates: A and B turn with the phase, C and D with twice the phase.
void turn_abcd(const MateBlock& mates, VXReflectionImpl& set, std::size_t to) {
  for (std::size_t j = 0; j < mates.source.size(); ++j, ++to) {
    const std::size_t i = mates.source[j];
    const auto t = static_cast<float>(-mates.shift[j] * kDegreesToRadians);
    const float c1 = std::cos(t), s1 = std::sin(t);
    const auto c2 = static_cast<float>(std::cos(2.0 * t)), s2 = static_cast<float>(std::sin(2.0 * t));
    const float sign = mates.flip[j] ? -1.0f : 1.0f;
    const float a = set.hla[i], b = set.hlb[i], c = set.hlc[i], d = set.hld[i];
    set.hla[to] = c1 * a - s1 * b;
    set.hlb[to] = (c1 * b + s1 * a) * sign;
    set.hlc[to] = c2 * c - s2 * d;
    set.hld[to] = (c2 * d + s2 * c) * sign;
  }
}

// The columns of the mates of one block, from place `to` on: column by column, while the sources are in
// cache.
void fill_columns(const MateBlock& mates, VXReflectionImpl& set, std::size_t to) {
  for (float* column : {set.phase, set.phase_calc, set.phiwt, set.phidelwt})
    if (column) shift_phases(mates, column, column + to);
  for (float* column : {set.fobs, set.fcalc, set.sigma, set.fom, set.stolsq, set.fwt, set.fdelwt})
    if (column) copy_values(mates, column, column + to);
  for (int* column : {set.centric, set.rfree})
    if (column) copy_values(mates, column, column + to);
  if (set.hla && set.hlb && set.hlc && set.hld)
    turn_abcd(mates, set, to);
  else
    for (float* column : {set.hla, set.hlb, set.hlc, set.hld})
      if (column) copy_values(mates, column, column + to);
}

}  // namespace

bool VXReflectionImpl::CalcResolution() {
  if (!symmetry || nref == 0 || !symmetry.cell().isValid() || !h || !k || !l) return false;
  if (!stolsq) resize_column(stolsq, nref);
  if (!stolsq) return false;
  const ReciprocalMetric c = reciprocal_metric(symmetry.cell());
  for (std::size_t i = 0; i < nref; ++i) {
    const auto fh = static_cast<float>(h[i]), fk = static_cast<float>(k[i]), fl = static_cast<float>(l[i]);
    stolsq[i] = static_cast<float>(fh * fh * c.hh + fk * fk * c.kk + fl * fl * c.ll + fh * fk * c.hk +
                                   fh * fl * c.hl + fk * fl * c.kl);
  }
  return true;
}

bool VXReflectionImpl::Expand() {
  if (expanded) return true;
  if (!symmetry || nref == 0) return false;
  if (symmetry.GetOpCount() == 1) return true;
  if (!h || !k || !l) return false;

  // A first pass counts, so that the columns grow once and to their size.
  const std::size_t n = nref;
  MateBlock mates(*this, distinct_rotations(symmetry.GetMatrices(), symmetry.GetOpCount()));
  const auto block_size = [n](std::size_t first) { return std::min(MateBlock::kBlock, n - first); };
  std::size_t total = n;
  for (std::size_t first = 0; first < n; first += MateBlock::kBlock)
    total += mates.Find(first, block_size(first));
  if (total > std::numeric_limits<std::uint32_t>::max()) return false;

  unexpanded_count = nref;
  SetCount(static_cast<unsigned int>(total));
  if (!h || !k || !l) return false;
  std::size_t to = n;
  for (std::size_t first = 0; first < n; first += MateBlock::kBlock) {
    mates.Find(first, block_size(first));
    mates.List(to);
    fill_columns(mates, *this, to);
    to += mates.source.size();
  }
  if (!phase && phase_calc) SetPhase(phase_calc, nref);
  return true;
}

}  // namespace VXCore
