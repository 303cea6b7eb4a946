// Expansion by symmetry and resolution.

#include <cstring>
#include <limits>
#include <random>

#include <support/support.h>
#include <vxgrid/xtal/spacegroup.h>

#include "plain_loops.h"
#include "support.h"

using namespace VXCore;
using VXXtal::VXSymmetry;
using VXXtal::VXUnitCell;

namespace {

using R = VXReflectionImpl;
constexpr float* R::*kFloatColumns[] = {&R::phase, &R::phase_calc, &R::phiwt, &R::phidelwt, &R::fobs,
                                        &R::fcalc, &R::sigma,      &R::fom,   &R::fwt,      &R::fdelwt,
                                        &R::hla,   &R::hlb,        &R::hlc,   &R::hld,      &R::stolsq};

// Row `row` of the table on a cell of no consequence: expansion knows fractions alone.
VXSymmetry symmetry_of(unsigned int row) {
  CapturedLog cell_does_not_fit;
  VXSymmetry symmetry;
  symmetry.GetImpl()->init(static_cast<int>(row), VXUnitCell(10, 10, 10, 90, 90, 90));
  return symmetry;
}

// Values that try a phase's modulo: the stated ones, then any bit patterns.
float try_value(std::mt19937& random, std::size_t i) {
  static const float kEdges[] = {0,     -0.0f,  -10,     360,  -360,  719.99994f, -360000,   -360000.03f,
                                 180,   1e-30f, -1e-30f, 1e7f, -1e7f, 4.5e15f,    -4.5e15f,  4.6e15f,
                                 3e38f, -3e38f, 1e-45f,  NAN,  -NAN,  INFINITY,   -INFINITY, 359.99997f};
  if (i < std::size(kEdges)) return kEdges[i];
  const std::uint32_t bits = static_cast<std::uint32_t>(random());
  float value;
  std::memcpy(&value, &bits, 4);
  return i % 2 ? value : std::ldexp(static_cast<float>(static_cast<int>(bits)), -20);  // up to 2048 in size
}

// In every group, for every value of a phase.
TEST(Expand, GivesTheBitsOfThePlainLoop) {
  std::mt19937 random(1);
  std::uniform_int_distribution<int> index(-9, 9);
  for (unsigned int row = 0; row < kSpaceGroupRows; ++row) {
    SCOPED_TRACE(testing::Message() << sglib[row].number << " " << sglib[row].long_name);
    const VXSymmetry symmetry = symmetry_of(row);
    const unsigned int ops = symmetry.GetOpCount(), n = 300;  // more than one block
    // Zones, axes and equal indices, then general ones, in both halves of reciprocal space.
    std::vector<Coefficient> list = {{0, 0, 0}, {0, 1, 0}, {0, -2, 0}, {3, 0, 0},
                                     {0, 0, 4}, {1, 1, 0}, {2, -2, 0}};
    while (list.size() < n) list.push_back({index(random), index(random), index(random)});
    VXReflection reflections = make_set(list);
    R& set = *reflections.GetImpl();
    set.SetSymmetry(symmetry);
    std::vector<float> values(n);
    std::vector<int> flags(n);
    for (std::size_t c = 0; c < std::size(kFloatColumns); ++c) {
      for (std::size_t i = 0; i < n; ++i) values[i] = try_value(random, (i + 5 * c) % n);
      ASSERT_TRUE(set.SetValues(set.*kFloatColumns[c], values.data(), n));
    }
    for (int& flag : flags) flag = static_cast<int>(random());
    set.SetCentric(flags.data(), n);
    set.SetRFree(flags.data(), n);
    if (row % 4 == 1) {
      set.SetABCD(set.hla, set.hlb, set.hlc, nullptr, n);  // three alone are copied
      set.SetPhase(nullptr, n);                            // phases become the calculated ones
    }
    R plain = set;
    plain_expand(plain);
    ASSERT_TRUE(set.Expand());

    ASSERT_EQ(set.nref, plain.nref);
    EXPECT_EQ(set.unexpanded_count, ops == 1 ? 0 : n);
    const auto same = [&](const auto* a, const auto* b) {
      if (!a || !b) return a == b;
      for (unsigned int i = 0; i < set.nref; ++i)  // which of two not-a-numbers their sum is stays open
        if (std::memcmp(a + i, b + i, sizeof *a) != 0 && !(std::isnan(a[i]) && std::isnan(b[i])))
          return false;
      return true;
    };
    EXPECT_TRUE(same(set.h, plain.h) && same(set.k, plain.k) && same(set.l, plain.l));
    EXPECT_TRUE(same(set.centric, plain.centric) && same(set.rfree, plain.rfree));
    for (std::size_t c = 0; c < std::size(kFloatColumns); ++c)
      EXPECT_TRUE(same(set.*kFloatColumns[c], plain.*kFloatColumns[c])) << "column " << c;
  }
}

TEST(Expand, RefusesAndStays) {
  VXReflection no_group = make_set({{1, 2, 3}}), no_indices = make_set({{1, 2, 3}}, 4), complete = no_group;
  no_group.SetSymmetry(VXSymmetry());
  no_indices.SetHKL(nullptr, nullptr, nullptr, 1);
  for (VXReflection set : {make_set({}, 4), no_group, no_indices})
    EXPECT_FALSE(set.Expand() || set.CalcResolution());
  // In P1, where the set is complete, not even the phases that are not there come from the calculated ones.
  R& r = *complete.GetImpl();
  const float phase = -10;
  r.SetPhase(nullptr, 1);
  r.SetPhaseCalc(&phase, 1);
  EXPECT_TRUE(r.Expand());
  EXPECT_TRUE(r.nref == 1 && r.phase_calc[0] == phase && !r.phase);
  // Indices that no int can negate or turn stay inside their arrays.
  constexpr int kMin = std::numeric_limits<int>::min(), kMax = std::numeric_limits<int>::max();
  EXPECT_TRUE(make_set({{kMin, kMin, kMin}, {kMax, kMax, kMin}, {kMin, 0, 0}}, 152, {10, 10, 30, 90, 90, 120})
                  .Expand());
}

TEST(Expand, Resolution) {
  for (const VXUnitCell& cell : {VXUnitCell(10, 20, 40, 90, 90, 90), VXUnitCell(10, 10, 30, 90, 90, 120),
                                 VXUnitCell(7, 11, 13, 71, 98, 107), VXUnitCell(60, 60, 60, 110, 110, 110)}) {
    VXReflection set =
        make_set({{1, 0, 0}, {0, 0, 1}, {9, 9, 9}, {-1, 4, 1}, {3, 5, 7}, {3, -5, 7}}, 1, cell);
    const R& r = *set.GetImpl();
    ASSERT_TRUE(set.CalcResolution());
    for (unsigned int i = 0; i < r.nref; ++i) {
      double inv_d2 = 0;  // |h a* + k b* + l c*|^2; the reciprocal axes are those of the matrix, in float
      for (int xyz = 0; xyz < 3; ++xyz) {
        const float* const c = cell.Cart2Frac() + 4 * xyz;
        inv_d2 += std::pow(r.h[i] * double{c[0]} + r.k[i] * double{c[1]} + r.l[i] * double{c[2]}, 2);
      }
      EXPECT_NEAR(r.stolsq[i], inv_d2 / 4, inv_d2 * 1e-6);
    }
    // Right angles leave no cross terms behind, not even rounding.
    EXPECT_EQ(r.stolsq[4] == r.stolsq[5], cell.alpha == 90 && cell.gamma == 90);
  }
}

}  // namespace
