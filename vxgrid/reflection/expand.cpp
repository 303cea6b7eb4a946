// Resolution of reflections, and their expansion by the symmetry of the crystal.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include <vxgrid/reflection/reflection_impl.h>
#include <vxgrid/host/wide.inl>
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

// Truncation of a product of indices; what 32 bits cannot hold, not-a-number too, becomes INT_MIN.
inline int truncate(float value) {
  constexpr float kLowest = -2147483648.0f;
  value = value >= kLowest ? value : kLowest;
  return static_cast<int>(value < -kLowest ? value : kLowest);
}

// The opposite index where `flip` is -1, the index itself where it is 0.
inline int flipped(int index, int flip) {
  const auto mask = static_cast<unsigned>(flip);
  return static_cast<int>((static_cast<unsigned>(index) ^ mask) - mask);
}

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

// One row of a block of mates: `n` reflections turned by one operator.
struct Row {
  int* h;
  int* k;
  int* l;
  int* flip;   // -1 for a Friedel opposite, else 0
  int* known;  // -1 for a mate that an earlier row holds, else 0
};

// Indices turned by an operator, in the half with l > 0, or l = 0 and h > 0, or l = h = 0 and k >= 0.
VXGRID_WIDE void turn_indices(const float* matrix, const float* __restrict h, const float* __restrict k,
                              const float* __restrict l, std::size_t n, Row row) {
  float m[12];
  std::copy_n(matrix, 12, m);
  int* __restrict const to_h = row.h, * __restrict const to_k = row.k, * __restrict const to_l = row.l;
  int* __restrict const flip = row.flip, * __restrict const known = row.known;
  for (std::size_t i = 0; i < n; ++i) {
    const int rh = truncate(m[0] * h[i] + m[1] * k[i] + m[2] * l[i]);
    const int rk = truncate(m[4] * h[i] + m[5] * k[i] + m[6] * l[i]);
    const int rl = truncate(m[8] * h[i] + m[9] * k[i] + m[10] * l[i]);
    // In masks of all bits: rl < 0, or rl == 0 and (rh < 0, or rh == 0 and rk < 0).
    const int f = (rl >> 31) | (-(rl == 0) & ((rh >> 31) | (-(rh == 0) & (rk >> 31))));
    to_h[i] = flipped(rh, f);
    to_k[i] = flipped(rk, f);
    to_l[i] = flipped(rl, f);
    flip[i] = f;
    known[i] = 0;
  }
}

VXGRID_WIDE void mark_known(Row other, std::size_t n, Row row) {
  int* __restrict const known = row.known;
  for (std::size_t i = 0; i < n; ++i)
    known[i] |= -((other.h[i] == row.h[i]) & (other.k[i] == row.k[i]) & (other.l[i] == row.l[i]));
}

// Phase shifts of one operator, degrees.
VXGRID_WIDE void phase_shifts(const float* m, const float* h, const float* k, const float* l, std::size_t n,
                              float* shift) {
  for (std::size_t i = 0; i < n; ++i) shift[i] = (m[13] * k[i] + m[12] * h[i] + m[14] * l[i]) * 360;
}

constexpr double kWholeNumbers = 4503599627370496.0;  // 2^52: what is added to it is rounded to a whole

inline double shifted_phase(float phase, float shift, int flip) {
  const float x = phase - shift;
  return (flip ? -x : x) + 360000.0;
}

// Phases of the mates of one row, in [0, 360): fmod(v, 360) in operations that vectorise. For |v| < 2^52 the
// quotient is right or one off, and all else is exact: its product with 360, and every difference, which is a
// multiple of the last place of v that 53 bits hold. The rest, not-a-number too, goes the slow way.
VXGRID_WIDE void turn_phases(const float* phase, const float* shift, const int* flip, std::size_t n,
                             float* out) {
  int large = 0;
  for (std::size_t i = 0; i < n; ++i) {
    const double v = shifted_phase(phase[i], shift[i], flip[i]);
    const double size = std::fabs(v);
    const double quotient = (size * (1 / 360.0) + kWholeNumbers) - kWholeNumbers;
    double rest = size - quotient * 360.0;
    rest = rest < 0 ? rest + 360.0 : rest;
    rest = rest >= 360.0 ? rest - 360.0 : rest;
    out[i] = static_cast<float>(std::copysign(rest, v));
    large |= !(size < kWholeNumbers);
  }
  if (!large) return;
  for (std::size_t i = 0; i < n; ++i) {
    const double v = shifted_phase(phase[i], shift[i], flip[i]);
    if (!(std::fabs(v) < kWholeNumbers)) out[i] = static_cast<float>(std::fmod(v, 360.0));
  }
}

// The symmetry mates of a block of reflections, a row an operator, so that the lanes of each loop are
// reflections. Row 0 is the source.
class MateBlock {
 public:
  static constexpr std::size_t kBlock = 256;

  MateBlock(VXReflectionImpl& set, std::vector<const float*> ops)
      : set_(set), ops_(std::move(ops)), h_(ops_.size() * kBlock), k_(h_), l_(h_), flip_(h_), known_(h_) {}

  // Finds the mates of reflections [first, first + n) and gives their number.
  std::size_t Find(std::size_t first, std::size_t n) {
    first_ = first;
    n_ = n;
    std::copy_n(set_.h + first, n, h_.data());
    std::copy_n(set_.k + first, n, k_.data());
    std::copy_n(set_.l + first, n, l_.data());
    for (std::size_t i = 0; i < n; ++i) {
      source_h_[i] = static_cast<float>(h_[i]);
      source_k_[i] = static_cast<float>(k_[i]);
      source_l_[i] = static_cast<float>(l_[i]);
      new_mates_[i] = 0;
    }
    for (std::size_t op = 1; op < ops_.size(); ++op) {
      const Row row = RowOf(op);
      turn_indices(ops_[op], source_h_, source_k_, source_l_, n, row);
      // Rows of known mates may be compared as well: what they hold stands in a still earlier row.
      for (std::size_t other = 0; other < op; ++other) mark_known(RowOf(other), n, row);
      for (std::size_t i = 0; i < n; ++i) new_mates_[i] += 1 + row.known[i];
    }
    std::size_t mates = 0;
    for (std::size_t i = 0; i < n; ++i) mates += new_mates_[i];
    return mates;
  }

  // Puts what Find found into the columns of the set from place `to` on: reflection by reflection, and in the
  // order of the operators.
  void Put(std::size_t to) {
    to_ = to;
    std::uint32_t next = 0;
    for (std::size_t i = 0; i < n_; ++i) {
      next_[i] = next;
      next += new_mates_[i];
    }
    for (std::size_t op = 1; op < ops_.size(); ++op) {
      const Row row = RowOf(op);
      places_ = 0;
      for (std::uint32_t i = 0; i < n_; ++i) {
        if (row.known[i]) continue;
        source_[places_] = i;
        place_[places_++] = next_[i]++;
      }
      if (places_) PutRow(op, row);
    }
  }

 private:
  Row RowOf(std::size_t op) {
    const std::size_t at = op * kBlock;
    return {h_.data() + at, k_.data() + at, l_.data() + at, flip_.data() + at, known_.data() + at};
  }

  // The new mates of one operator, column by column.
  void PutRow(std::size_t op, const Row& row) {
    VXReflectionImpl& s = set_;
    Scatter(row.h, s.h);
    Scatter(row.k, s.k);
    Scatter(row.l, s.l);
    phase_shifts(ops_[op], source_h_, source_k_, source_l_, n_, shift_);
    for (float* column : {s.phase, s.phase_calc, s.phiwt, s.phidelwt}) {
      if (!column) continue;
      turn_phases(column + first_, shift_, row.flip, n_, turned_);
      Scatter(turned_, column);
    }
    const bool has_abcd = s.hla && s.hlb && s.hlc && s.hld;
    if (has_abcd) PutAbcd(row);
    for (float* column : {s.fobs, s.fcalc, s.sigma, s.fom, s.stolsq, s.fwt, s.fdelwt})
      if (column) Scatter(column + first_, column);
    for (float* column : {s.hla, s.hlb, s.hlc, s.hld})
      if (column && !has_abcd) Scatter(column + first_, column);
    for (int* column : {s.centric, s.rfree})
      if (column) Scatter(column + first_, column);
  }

  template <class T>
  void Scatter(const T* from, T* column) {
    T* const to = column + to_;
    for (std::size_t j = 0; j < places_; ++j) to[place_[j]] = from[source_[j]];
  }

  // Hendrickson-Lattman coefficients: A and B turn with the phase, C and D with twice the phase.
  void PutAbcd(const Row& row) {
    VXReflectionImpl& s = set_;
    for (std::size_t j = 0; j < places_; ++j) {
      const std::size_t i = source_[j], from = first_ + i, to = to_ + place_[j];
      const auto t = static_cast<float>(-shift_[i] * kDegreesToRadians);
      const float c1 = std::cos(t), s1 = std::sin(t);
      const auto c2 = static_cast<float>(std::cos(2.0 * t)), s2 = static_cast<float>(std::sin(2.0 * t));
      const float sign = row.flip[i] ? -1.0f : 1.0f;
      const float a = s.hla[from], b = s.hlb[from], c = s.hlc[from], d = s.hld[from];
      s.hla[to] = c1 * a - s1 * b;
      s.hlb[to] = (c1 * b + s1 * a) * sign;
      s.hlc[to] = c2 * c - s2 * d;
      s.hld[to] = (c2 * d + s2 * c) * sign;
    }
  }

  VXReflectionImpl& set_;
  const std::vector<const float*> ops_;
  std::size_t first_ = 0, n_ = 0;
  std::vector<int> h_, k_, l_, flip_, known_;  // rows
  float source_h_[kBlock], source_k_[kBlock], source_l_[kBlock];
  std::uint32_t new_mates_[kBlock];  // of each reflection
  std::size_t to_ = 0;               // where the mates of the block begin; places count from there
  std::uint32_t next_[kBlock];       // place of the next mate of each reflection
  std::uint32_t source_[kBlock], place_[kBlock];  // of the new mates of one row
  std::size_t places_ = 0;                        // their number
  float shift_[kBlock], turned_[kBlock];
};

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
    const std::size_t found = mates.Find(first, block_size(first));
    mates.Put(to);
    to += found;
  }
  if (!phase && phase_calc) SetPhase(phase_calc, nref);
  return true;
}

}  // namespace VXCore
