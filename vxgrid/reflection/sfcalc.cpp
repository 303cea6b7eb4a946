// Structure factors of a model by direct summation, from tables.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <vector>

#include <vxgrid/host/error_handler.h>
#include <vxgrid/host/zemomol.h>
#include <vxgrid/reflection/reflection_impl.h>
#include <vxgrid/xtal/scatter_table.h>
#include <vxgrid/host/wide.inl>
#include <vxgrid/reflection/scatterers.inl>

namespace VXCore {

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr unsigned int kCarbon = 8;  // its row of scatter_data

// The form factors of all rows of scatter_data in 200 steps of 0.005 of s^2, made at the first call.
constexpr int kSteps = 200;

/// Null when there was no memory for the table at the first call; then there is none in later calls either.
const float* form_factors() {
  struct Free {
    void operator()(float* block) const { vx_free(block); }
  };
  static const std::unique_ptr<float[], Free> SFACTOR = [] {
    std::unique_ptr<float[], Free> table(
        static_cast<float*>(vx_malloc(sizeof(float) * kScatterRows * kSteps)));
    if (!table) {
      VXThrow.Error("sfinit: internal - could not allocate enough memory for reflection");
      return table;
    }
    float* next = table.get();
    for (const VXScatterData& f : scatter_data)
      for (int k = 0; k < kSteps; ++k) {
        const double s2 = static_cast<float>(k) * 0.005f;
        *next++ = static_cast<float>(f.a1 * std::exp(-f.b1 * s2) + f.a2 * std::exp(-f.b2 * s2) +
                                     f.a3 * std::exp(-f.b3 * s2) + f.a4 * std::exp(-f.b4 * s2) + f.c);
      }
    return table;
  }();
  return SFACTOR.get();
}

/// The row of scatter_data for an atom here: that of the element and charge, else the neutral one, else
/// carbon. The walk begins at the row whose number is that of the element, which no row of the element
/// precedes but that of neutral hydrogen: so neutral hydrogen scatters as carbon. That is meant, and other
/// than VXGetScatterType.
unsigned int find_row(unsigned int element, int charge) {
  unsigned int found = kCarbon;
  bool has_neutral = false;
  for (unsigned int row = element; row < kScatterRows; ++row) {
    const VXScatterData& f = scatter_data[row];
    if (static_cast<unsigned int>(f.atomic_number) != element) {
      if (has_neutral) break;
      continue;
    }
    if (f.formal_charge == charge) return row;
    if (f.formal_charge == 0) {
      found = row;
      has_neutral = true;
    }
  }
  return found;
}

/// exp(-x) at the middles of bins of x that are 0.0005 wide: entry j is that of x * 2000 in [j, j + 1).
class ExpTable {
 public:
  /// For x up to largest_x. False when the number of entries would outgrow an int.
  bool Make(float largest_x) {
    if (!(largest_x < 1073741.0f)) return false;
    const int Fsize = static_cast<int>(largest_x) + 1;
    const std::size_t last = static_cast<std::size_t>(Fsize) * 2000;
    // The recurrence comes to a standstill at some 1e-320, near entry 1,475,000. What follows is the same.
    double value = 0.99975001811981201, before = 0.0;
    while (exp_look_.size() < last && value != before) {
      exp_look_.push_back(value);
      before = value;
      value *= 0.99950012;
    }
    exp_look_.push_back(exp_look_.size() == last ? 0.0 : value);
    return true;
  }
  const double* Entries() const { return exp_look_.data(); }
  /// The last entry, for all that lies behind it.
  float Last() const { return static_cast<float>(exp_look_.size() - 1); }

 private:
  std::vector<double> exp_look_;
};

struct Trig {
  float cosine, sine;
};

/// Cosine and sine of whole degrees. An angle takes the entry of its remainder by 360, in (-360, 360); a
/// negative one that of the opposite angle with the sine reversed.
class TrigTable {
 public:
  TrigTable() {
    for (int d = 0; d <= 360; ++d) {
      float sine = 0.0f, cosine = 1.0f;
      if (d % 360) sincosf(static_cast<float>(d % 360) * 0.017453294f, &sine, &cosine);
      entries_[kZero + d] = {cosine, sine};
      entries_[kZero - d] = {cosine, -sine};
    }
  }
  static constexpr int kZero = 360;  // the entry of 0 degrees
  const Trig* Entries() const { return entries_; }

 private:
  Trig entries_[2 * kZero + 1];
};

struct Position {
  float x, y, z;  // fractions
};

/// The model in its cell. Numbers that would lead outside a table are replaced by some that do not.
struct CellContent {
  struct Atom {
    float occupancy;
    float b_iso;       // 0 or more
    unsigned int row;  // index in `rows`
  };

  CellContent(const std::vector<Scatterer>& scatterers, const VXXtal::VXSymmetry& symmetry) {
    for (const Scatterer& s : scatterers) {
      const unsigned int row = find_row(s.atomic_number, s.formal_charge);
      const auto known = std::find(rows.begin(), rows.end(), row);
      atoms.push_back({std::isnan(s.b_iso) ? kNaN : s.occupancy, s.b_iso > 0.0f ? s.b_iso : 0.0f,
                       static_cast<unsigned int>(known - rows.begin())});
      if (known == rows.end()) rows.push_back(row);
    }
    positions.resize(scatterers.size() * symmetry.GetOpCount());
    Position* next = positions.data();
    for (unsigned int op = 0; op < symmetry.GetOpCount(); ++op)
      for (std::size_t i = 0; i < scatterers.size(); ++i, ++next) {
        float xyz[3] = {scatterers[i].xyz[0], scatterers[i].xyz[1], scatterers[i].xyz[2]};
        symmetry.CartesianToFractional(xyz, 1, op, true);
        if (std::isnan(xyz[0] + xyz[1] + xyz[2])) {
          atoms[i].occupancy = kNaN;
          std::fill_n(xyz, 3, 0.0f);
        }
        *next = {xyz[0], xyz[1], xyz[2]};
      }
  }

  std::vector<Atom> atoms;
  std::vector<Position> positions;  // of all atoms, operator by operator
  std::vector<unsigned int> rows;   // the different rows of scatter_data
};

constexpr int kLanes = 16;

/// Reflections that are summed side by side.
struct Block {
  float hx[kLanes], ky[kLanes], lz[kLanes];  // degrees per cell edge
  float ke[kLanes];                          // bins of the exponential table per Å² of B
  int kf[kLanes];                            // steps of the form factor
  bool is_ordinary[kLanes];                  // not so when stolsq is not a number
  float a[kLanes], b[kLanes];                // the sums
};

Block make_block(const VXReflectionImpl& set, std::size_t first) {
  Block block = {};
  for (std::size_t i = 0; i < kLanes && first + i < set.nref; ++i) {
    block.hx[i] = static_cast<float>(set.h[first + i]) * 360.0f;
    block.ky[i] = static_cast<float>(set.k[first + i]) * 360.0f;
    block.lz[i] = static_cast<float>(set.l[first + i]) * 360.0f;
    const float s2 = set.stolsq[first + i];
    block.is_ordinary[i] = !std::isnan(s2);
    if (!(s2 > 0.0f)) continue;
    block.ke[i] = s2 * 2000.0f;
    block.kf[i] = static_cast<int>(std::min(200.0f * s2 + 0.5f, static_cast<float>(kSteps - 1)));
  }
  return block;
}

/// The scattering of one atom for the reflections of a block; `factors` are the form factors of its row.
VXGRID_WIDE void atom_scattering(const CellContent::Atom& atom, const Block& block, const ExpTable& table,
                                 const double* factors, float* out) {
  const double* const exp_look = table.Entries();
  const float last = table.Last(), b_iso = atom.b_iso;
  const double occupancy = atom.occupancy;
  int bin[kLanes];
  for (int i = 0; i < kLanes; ++i) {
    const float x = b_iso * block.ke[i];
    bin[i] = static_cast<int>(x < last ? x : last);
  }
  for (int i = 0; i < kLanes; ++i) out[i] = static_cast<float>(occupancy * exp_look[bin[i]] * factors[i]);
}

/// Both numbers of an entry as one; the index is the low half of `at`.
inline double entry_of(const Trig* table, std::uint64_t at) {
  double pair;
  std::memcpy(&pair, &table[static_cast<std::uint32_t>(at)], sizeof pair);
  return pair;
}

/// Vectors of four or eight lanes, and the look-up of cosines and sines of as many angles. Two indices leave
/// a vector at a time, and both numbers of an entry enter one at a time: faster than gathers.
struct FourLanes {
  using Floats = float __attribute__((vector_size(16)));
  using Ints = int __attribute__((vector_size(16)));

  VXGRID_PART_OF_CLONE static void LookUp(const Trig* table, const Ints& index, Floats& cosine,
                                          Floats& sine) {
    using Longs = std::uint64_t __attribute__((vector_size(16)));
    using Pairs = double __attribute__((vector_size(16)));
    const Longs at = (Longs)index;
    const Pairs p = {entry_of(table, at[0]), entry_of(table, at[0] >> 32)};
    const Pairs q = {entry_of(table, at[1]), entry_of(table, at[1] >> 32)};
    cosine = __builtin_shufflevector((Floats)p, (Floats)q, 0, 2, 4, 6);
    sine = __builtin_shufflevector((Floats)p, (Floats)q, 1, 3, 5, 7);
  }
};

struct EightLanes {
  using Floats = float __attribute__((vector_size(32)));
  using Ints = int __attribute__((vector_size(32)));

  VXGRID_PART_OF_CLONE static void LookUp(const Trig* table, const Ints& index, Floats& cosine,
                                          Floats& sine) {
    using Longs = std::uint64_t __attribute__((vector_size(32)));
    using Pairs = double __attribute__((vector_size(32)));
    const Longs at = (Longs)index;
    const Pairs p = {entry_of(table, at[0]), entry_of(table, at[0] >> 32), entry_of(table, at[2]),
                     entry_of(table, at[2] >> 32)};
    const Pairs q = {entry_of(table, at[1]), entry_of(table, at[1] >> 32), entry_of(table, at[3]),
                     entry_of(table, at[3] >> 32)};
    cosine = __builtin_shufflevector((Floats)p, (Floats)q, 0, 2, 8, 10, 4, 6, 12, 14);
    sine = __builtin_shufflevector((Floats)p, (Floats)q, 1, 3, 9, 11, 5, 7, 13, 15);
  }
};

// Below this an angle is reduced in floats.
constexpr float kNearAngle = 0x1p22f;

/// The sums of a block. Lanes are reflections, so each sum has its order: operator by operator, atom by atom.
///
/// An angle loses its whole turns before it is truncated to degrees. The factor is the largest that never
/// makes too many of them: so the remainder keeps the sign of the angle, is at most 360 in size and exact.
template <class Lanes>
VXGRID_PART_OF_CLONE inline void sum_near(const CellContent& content, const float* scattering,
                                          const TrigTable& trig, Block& block) {
  using Floats = typename Lanes::Floats;
  using Ints = typename Lanes::Ints;
  constexpr int kWidth = sizeof(Floats) / sizeof(float), kVectors = kLanes / kWidth;
  constexpr float kTurnsPerDegree = static_cast<float>((1 - 0x1p-24) / 360);
  Floats hx[kVectors], ky[kVectors], lz[kVectors], a[kVectors] = {}, b[kVectors] = {};
  std::memcpy(hx, block.hx, sizeof hx);
  std::memcpy(ky, block.ky, sizeof ky);
  std::memcpy(lz, block.lz, sizeof lz);
  const Trig* const table = trig.Entries();
  const Position* position = content.positions.data();
  const Position* const end = position + content.positions.size();
  while (position != end) {
    const float* f = scattering;
    for (std::size_t atom = 0; atom < content.atoms.size(); ++atom, ++position)
      _Pragma("GCC unroll 4") for (int v = 0; v < kVectors; ++v, f += kWidth) {
        const Floats angle = position->x * hx[v] + position->y * ky[v] + 0.5f + position->z * lz[v];
        const Floats turns =
            __builtin_convertvector(__builtin_convertvector(angle * kTurnsPerDegree, Ints), Floats);
        Floats amplitude, cosine, sine;
        Lanes::LookUp(table, __builtin_convertvector(angle - turns * 360.0f, Ints) + TrigTable::kZero, cosine,
                      sine);
        std::memcpy(&amplitude, f, sizeof amplitude);
        a[v] += amplitude * cosine;
        b[v] += amplitude * sine;
      }
  }
  std::memcpy(block.a, a, sizeof a);
  std::memcpy(block.b, b, sizeof b);
}

#ifdef VXGRID_HAS_CLONES
__attribute__((target("avx2"))) void sum_near_wide(const CellContent& content, const float* scattering,
                                                   const TrigTable& trig, Block& block) {
  sum_near<EightLanes>(content, scattering, trig, block);
}
#endif

/// The same for angles of any size.
void sum_far(const CellContent& content, const float* scattering, const TrigTable& trig, Block& block) {
  const std::size_t n = content.atoms.size();
  for (std::size_t j = 0; j < content.positions.size(); ++j)
    for (int i = 0; i < kLanes; ++i) {
      const Position& p = content.positions[j];
      const float angle = p.x * block.hx[i] + p.y * block.ky[i] + 0.5f + p.z * block.lz[i];
      const Trig& t = trig.Entries()[TrigTable::kZero + static_cast<std::int64_t>(angle) % 360];
      const float f = scattering[j % n * kLanes + i];
      block.a[i] += f * t.cosine;
      block.b[i] += f * t.sine;
    }
}

/// Sums of structure factors over the content of a cell.
class TableSum {
 public:
  TableSum(const CellContent& content, const float* form_factors, const ExpTable& exp_table)
      : content_(content),
        form_factors_(form_factors),
        exp_table_(exp_table),
        factors_(content.rows.size() * kLanes),
        scattering_(content.atoms.size() * kLanes) {}

  /// Works out a and b. What an atom scatters is the same for all its images: it is worked out once.
  void Sum(Block& block) {
    for (std::size_t row = 0; row < content_.rows.size(); ++row)
      for (int i = 0; i < kLanes; ++i)
        factors_[row * kLanes + i] =
            block.is_ordinary[i] ? form_factors_[content_.rows[row] * kSteps + block.kf[i]] : kNaN;
    for (std::size_t i = 0; i < content_.atoms.size(); ++i) {
      const CellContent::Atom& atom = content_.atoms[i];
      atom_scattering(atom, block, exp_table_, &factors_[atom.row * kLanes], &scattering_[i * kLanes]);
    }
    float largest = 0.0f;
    for (int i = 0; i < kLanes; ++i)
      largest = std::max(largest, std::fabs(block.hx[i]) + std::fabs(block.ky[i]) + std::fabs(block.lz[i]));
    if (largest >= kNearAngle - 360.0f) return sum_far(content_, scattering_.data(), trig_, block);
#ifdef VXGRID_HAS_CLONES
    if (__builtin_cpu_supports("avx2")) return sum_near_wide(content_, scattering_.data(), trig_, block);
#endif
    sum_near<FourLanes>(content_, scattering_.data(), trig_, block);
  }

 private:
  const CellContent& content_;
  const float* const form_factors_;
  const ExpTable& exp_table_;
  const TrigTable trig_;
  std::vector<double> factors_;    // of each row, for the reflections of the block
  std::vector<float> scattering_;  // of each atom, likewise
};

/// Degrees in [0, 360]: the last rounding may end at 360.
float phase_of(float a, float b) {
  const double degrees = std::atan2(static_cast<double>(b), static_cast<double>(a)) * 57.29577951308232;
  return static_cast<float>(std::fmod(degrees + 3600.0, 360.0));
}

}  // namespace

bool VXReflectionImpl::SFCalc(const VXMolBase& model) try {
  if (!VXHasResidues(model)) return false;
  const float* const SFACTOR = form_factors();
  if (!SFACTOR) return false;
  if (!h || !k || !l || !symmetry.cell().isValid() || !symmetry) return false;
  if (!stolsq) CalcResolution();
  if (!stolsq || symmetry.GetOpCount() == 0) return false;
  if (expanded) {
    std::free(sort_index);
    sort_index = nullptr;
    SetCount(unexpanded_count);
    if (!h || !k || !l || !stolsq) return false;
  }

  const CellContent content(find_scatterers(model), symmetry);
  float largest_b = 0.0f, largest_s2 = 0.0f;  // comparisons leave out what is not a number
  for (const CellContent::Atom& atom : content.atoms) largest_b = std::max(largest_b, atom.b_iso);
  for (std::size_t i = 0; i < nref; ++i) largest_s2 = std::max(largest_s2, stolsq[i]);
  ExpTable exp_table;
  if (!exp_table.Make(largest_s2 * largest_b)) return false;

  TableSum sum(content, SFACTOR, exp_table);
  std::vector<float> amplitudes(std::size_t{nref} + kLanes), phases(amplitudes.size());
  for (std::size_t first = 0; first < nref; first += kLanes) {
    Block block = make_block(*this, first);
    sum.Sum(block);
    for (int i = 0; i < kLanes; ++i) {
      amplitudes[first + i] = std::sqrt(block.a[i] * block.a[i] + block.b[i] * block.b[i]);
      phases[first + i] = phase_of(block.a[i], block.b[i]);
    }
  }
  const bool has_phases = SetPhase(phases.data(), nref) && SetPhaseCalc(phases.data(), nref);
  return SetFcalc(amplitudes.data(), nref) && has_phases;
} catch (const std::bad_alloc&) {
  return false;
}

}  // namespace VXCore
