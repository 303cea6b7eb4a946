// Expansion by symmetry and resolution.

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstring>
#include <limits>
#include <random>
#include <set>

#include <support/support.h>
#include <vxgrid/xtal/spacegroup.h>

#include "plain_loops.h"
#include "support.h"

using namespace VXCore;
using VXXtal::VXSymmetry;
using VXXtal::VXUnitCell;

namespace {

using FloatColumn = float* VXReflectionImpl::*;
using R = VXReflectionImpl;
constexpr FloatColumn kFloatColumns[] = {&R::phase, &R::phase_calc, &R::phiwt, &R::phidelwt, &R::fobs,
                                         &R::fcalc, &R::sigma,      &R::fom,   &R::fwt,      &R::fdelwt,
                                         &R::hla,   &R::hlb,        &R::hlc,   &R::hld,      &R::stolsq};

// Row `row` of the table on a cell of no consequence: expansion knows fractions alone.
VXSymmetry symmetry_of(int row) {
  CapturedLog cell_does_not_fit;
  VXSymmetry symmetry;
  symmetry.GetImpl()->init(row, VXUnitCell(10, 10, 10, 90, 90, 90));
  return symmetry;
}

void set_indices(R& set, const std::vector<Index>& indices) {
  std::vector<int> axis[3];
  for (const Index& index : indices)
    for (int i = 0; i < 3; ++i) axis[i].push_back(index[i]);
  set.SetCount(static_cast<unsigned int>(indices.size()));
  ASSERT_TRUE(set.SetHKL(axis[0].data(), axis[1].data(), axis[2].data(), set.nref));
}

// General indices, zones, axes and equal ones, in both halves of reciprocal space.
std::vector<Index> some_indices(std::mt19937& random, std::size_t n) {
  std::uniform_int_distribution<int> index(-9, 9);
  std::vector<Index> indices = {{0, 0, 0}, {0, 1, 0}, {0, -2, 0}, {3, 0, 0},
                                {0, 0, 4}, {1, 1, 0}, {2, -2, 0}};
  while (indices.size() < n) indices.push_back({index(random), index(random), index(random)});
  return indices;
}

Index friedel(Index i) {
  const bool flip = i[2] < 0 || (i[2] == 0 && (i[0] < 0 || (i[0] == 0 && i[1] < 0)));
  return flip ? Index{-i[0], -i[1], -i[2]} : i;
}

Index index_at(const R& set, std::size_t i) { return {set.h[i], set.k[i], set.l[i]}; }

// The structure factor of point atoms, by definition: no symmetry is used.
std::complex<double> structure_factor(const std::vector<std::array<float, 3>>& atoms, const Index& i) {
  std::complex<double> sum = 0;
  for (const auto& x : atoms)
    sum += std::polar(1.0, 2 * M_PI * (i[0] * double{x[0]} + i[1] * double{x[1]} + i[2] * double{x[2]}));
  return sum;
}

// In every group: the structure factors of a symmetric crystal at the sources give, expanded, the structure
// factors at all mates; each mate that any operator can give is listed once; sources stay.
TEST(Expand, GivesTheStructureFactorsOfTheMates) {
  std::mt19937 random(1);
  std::uniform_real_distribution<float> fraction(0, 1);
  for (unsigned int row = 0; row < kSpaceGroupRows; ++row) {
    SCOPED_TRACE(testing::Message() << sglib[row].number << " " << sglib[row].long_name);
    R set;
    set.SetSymmetry(symmetry_of(static_cast<int>(row)));
    const unsigned int ops = set.symmetry.GetOpCount();
    std::vector<std::array<float, 3>> atoms;
    for (int atom = 0; atom < 2; ++atom) {
      const std::array<float, 3> x = {fraction(random), fraction(random), fraction(random)};
      for (unsigned int op = 0; op < ops; ++op) {
        atoms.push_back(x);
        VXXtal::vecmul(atoms.back().data(), set.symmetry.GetMatrices() + 16 * op);
      }
    }
    const std::vector<Index> sources = some_indices(random, 12);
    set_indices(set, sources);
    std::vector<float> amp, phase;
    std::set<std::pair<std::size_t, Index>> expected;  // mates by source
    for (std::size_t i = 0; i < sources.size(); ++i) {
      const std::complex<double> f = structure_factor(atoms, sources[i]);
      amp.push_back(static_cast<float>(std::abs(f)));
      phase.push_back(static_cast<float>(std::arg(f) * 180 / M_PI));
      for (unsigned int op = 1; op < ops; ++op) {
        Index mate;
        const float* const m = set.symmetry.GetMatrices() + 16 * op;
        for (int a = 0; a < 3; ++a) {
          const float* const turn = m + 4 * a;  // whole numbers
          mate[a] = 0;
          for (int b = 0; b < 3; ++b) mate[a] += static_cast<int>(turn[b]) * sources[i][b];
        }
        if (friedel(mate) != sources[i]) expected.insert({i, friedel(mate)});
      }
    }
    set.SetFobs(amp.data(), set.nref);
    set.SetPhase(phase.data(), set.nref);
    ASSERT_TRUE(set.Expand());

    for (std::size_t i = 0; i < sources.size(); ++i) EXPECT_EQ(index_at(set, i), sources[i]);
    ASSERT_EQ(set.nref, sources.size() + expected.size());
    EXPECT_EQ(set.unexpanded_count, ops == 1 ? 0 : sources.size());
    std::size_t source = 0;
    for (std::size_t i = sources.size(); i < set.nref; ++i) {
      while (source < sources.size() && !expected.count({source, index_at(set, i)})) ++source;
      ASSERT_EQ(expected.erase({source, index_at(set, i)}), 1u) << "mate " << i;
      const std::complex<double> f = structure_factor(atoms, index_at(set, i));
      float a, b;
      ASSERT_TRUE(set.GetAB(a, b, static_cast<unsigned int>(i), VXMTZMapType::Fo));
      // Phases pass 360000 in float: a few 1e-5 degrees of 360, and that of the float fractions 1/3.
      EXPECT_LT(std::abs(f - std::complex<double>(a, b)), 2e-5 * static_cast<double>(atoms.size()));
    }
  }
}

// Values that try a phase's modulo: the stated ones, then any bit patterns.
float try_value(std::mt19937& random, std::size_t i) {
  static constexpr float kNan = std::numeric_limits<float>::quiet_NaN(),
                         kInf = std::numeric_limits<float>::infinity();
  static const float kEdges[] = {0,     -0.0f,  -10,     360,  -360,  719.99994f, -360000,  -360000.03f,
                                 180,   1e-30f, -1e-30f, 1e7f, -1e7f, 4.5e15f,    -4.5e15f, 4.6e15f,
                                 3e38f, -3e38f, 1e-45f,  kNan, -kNan, kInf,       -kInf,    359.99997f};
  if (i < std::size(kEdges)) return kEdges[i];
  const std::uint32_t bits = static_cast<std::uint32_t>(random());
  float value;
  std::memcpy(&value, &bits, 4);
  return i % 2 ? value : std::ldexp(static_cast<float>(static_cast<int>(bits)), -20);  // up to 2048 in size
}

// The same bits as the plain loop in all columns: every kind of group, every value of a phase.
TEST(Expand, SameBitsAsPlainLoop) {
  std::mt19937 random(2);
  for (const unsigned int number :
       {2u, 3u, 4u, 5u, 19u, 62u, 96u, 146u, 1148u, 152u, 179u, 198u, 212u, 227u, 230u}) {
    SCOPED_TRACE(number);
    R set;
    {
      CapturedLog cell_does_not_fit;
      set.SetSymmetry(VXSymmetry(number, VXUnitCell(10, 10, 10, 90, 90, 90)));
    }
    const std::size_t n = number < 10 ? 20000 : 700;  // more than one block
    set_indices(set, some_indices(random, n));
    std::size_t which = 0;
    for (const FloatColumn column : kFloatColumns) {
      std::vector<float> values(n);
      for (std::size_t i = 0; i < n; ++i) values[i] = try_value(random, (i + 5 * which) % n);
      ASSERT_TRUE(set.SetValues(set.*column, values.data(), set.nref));
      ++which;
    }
    std::vector<int> flags(n);
    for (int& flag : flags) flag = static_cast<int>(random());
    set.SetCentric(flags.data(), set.nref);
    set.SetRFree(flags.data(), set.nref);
    if (number == 19) {
      set.SetABCD(set.hla, set.hlb, set.hlc, nullptr, set.nref);  // three alone are copied
      set.SetPhase(nullptr, set.nref);                            // phases become the calculated ones
    }
    R plain = set;
    plain_expand(plain);
    ASSERT_TRUE(set.Expand());
    ASSERT_EQ(set.nref, plain.nref);
    EXPECT_GT(set.nref, n);
    const auto same = [&](const auto* a, const auto* b) {
      return (!a && !b) || (a && b && std::memcmp(a, b, set.nref * sizeof *a) == 0);
    };
    EXPECT_TRUE(same(set.h, plain.h) && same(set.k, plain.k) && same(set.l, plain.l));
    EXPECT_TRUE(same(set.centric, plain.centric) && same(set.rfree, plain.rfree));
    for (std::size_t c = 0; c < std::size(kFloatColumns); ++c)
      EXPECT_TRUE(same(set.*kFloatColumns[c], plain.*kFloatColumns[c])) << "column " << c;
  }
}

TEST(Expand, RefusesAndStays) {
  const VXSymmetry p21(4u, VXUnitCell(10, 20, 30, 90, 95, 90));
  R none, no_group, no_indices, wild;
  none.SetSymmetry(p21);
  EXPECT_FALSE(none.Expand());
  set_indices(no_group, {{1, 2, 3}});
  EXPECT_FALSE(no_group.Expand());
  no_indices.SetSymmetry(p21);
  no_indices.SetCount(4);
  EXPECT_FALSE(no_indices.Expand());
  // In P1, where the set is complete, not even the phases that are not there come from the calculated ones.
  R complete;
  const float phase = -10;
  complete.SetSymmetry(VXSymmetry(1u, VXUnitCell(10, 20, 30, 90, 95, 90)));
  set_indices(complete, {{1, 2, 3}});
  complete.SetPhaseCalc(&phase, 1);
  EXPECT_TRUE(complete.Expand());
  EXPECT_TRUE(complete.nref == 1 && complete.phase_calc[0] == phase && !complete.phase);
  // Indices that no int can negate or turn stay inside their arrays.
  wild.SetSymmetry(VXSymmetry(152u, VXUnitCell(10, 10, 30, 90, 90, 120)));
  constexpr int kMin = std::numeric_limits<int>::min(), kMax = std::numeric_limits<int>::max();
  set_indices(wild, {{kMin, kMin, kMin}, {kMax, kMax, kMin}, {kMin, 0, 0}});
  EXPECT_TRUE(wild.Expand());
}

TEST(Expand, Resolution) {
  const struct {
    VXUnitCell cell;
    Index index;
  } rows[] = {{{10, 20, 40, 90, 90, 90}, {1, 0, 0}},   {{10, 20, 40, 90, 90, 90}, {0, 0, 1}},
              {{10, 20, 40, 90, 90, 90}, {3, -4, 5}},  {{10, 10, 30, 90, 90, 120}, {1, 1, 0}},
              {{7, 11, 13, 71, 98, 107}, {2, -3, 5}},  {{7, 11, 13, 71, 98, 107}, {-1, 4, 1}},
              {{60, 60, 60, 110, 110, 110}, {9, 9, 9}}};
  for (const auto& row : rows) {
    R set;
    EXPECT_FALSE(set.CalcResolution());
    set_indices(set, {row.index});
    EXPECT_FALSE(set.CalcResolution()) << "no group";
    set.SetSymmetry(VXSymmetry(1u, row.cell));
    ASSERT_TRUE(set.CalcResolution());
    double inv_d2 = 0;  // |h a* + k b* + l c*|^2; the reciprocal axes are those of the matrix, in float
    for (int xyz = 0; xyz < 3; ++xyz) {
      double s = 0;
      for (int axis = 0; axis < 3; ++axis)
        s += row.index[axis] * double{row.cell.Cart2Frac()[4 * xyz + axis]};
      inv_d2 += s * s;
    }
    EXPECT_NEAR(set.stolsq[0], inv_d2 / 4, inv_d2 * 1e-6);
  }
  // Right angles leave no cross terms behind, not even rounding.
  R set;
  set_indices(set, {{1, 0, 0}, {3, 5, 7}, {3, -5, 7}});
  set.SetSymmetry(VXSymmetry(1u, VXUnitCell(10, 20, 40, 90, 90, 90)));
  ASSERT_TRUE(set.CalcResolution());
  EXPECT_FLOAT_EQ(set.stolsq[0], 0.0025f);
  EXPECT_EQ(set.stolsq[1], set.stolsq[2]);
}

}  // namespace
