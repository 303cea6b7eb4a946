#include <limits>
#include <random>

#include <vxgrid/reflection/reflection.h>

#include "realspace/model.h"
#include "reflection/plain_sfcalc.h"
#include "reflection/support.h"
#include "support/support.h"

using namespace VXCore;
using VXXtal::VXUnitCell;

namespace {

const VXUnitCell kCube(20, 20, 20, 90, 90, 90);

std::vector<float> column(const VXReflection& set, unsigned int code) {
  std::vector<float> values(set.GetCount());
  EXPECT_TRUE(set.GetColumn(code, values.data()));
  return values;
}

/// Atoms all over the cell, heavy ones, ions and what is no element among them; one has no residue data.
VXGraphMol random_model(std::mt19937& random, int atoms, std::initializer_list<unsigned int> elements) {
  std::uniform_real_distribution<float> unit(0, 1);
  VXGraphMol mol;
  mol.AddAtom(6);
  for (int i = 0; i < atoms; ++i) {
    const float x = 90 * unit(random) - 30, y = 90 * unit(random) - 30, z = 90 * unit(random) - 30;
    VXAtomBase* const atom = add_atom(mol, elements.begin()[random() % elements.size()], x, y, z,
                                      80 * unit(random), 1.5f * unit(random) - 0.25f);
    atom->SetFormalCharge(static_cast<int>(random() % 5) - 1);
  }
  return mol;
}

std::vector<Coefficient> random_indices(std::mt19937& random, int count, int limit) {
  std::uniform_int_distribution<int> index(-limit, limit);
  std::vector<Coefficient> list = {{0, 0, 0}};
  while (--count > 0) list.push_back({index(random), index(random), index(random)});
  return list;
}

}  // namespace

TEST(SFCalc, SameBitsAsPlainLoop) {
  const std::tuple<unsigned int, VXUnitCell, int, int, int> rows[] = {
      {1, {21.5f, 33, 17.2f, 81, 95.5f, 110}, 60, 333, 25},
      {19, {40, 51, 62.5f, 90, 90, 90}, 40, 100, 40},
      {94, {78, 78, 96, 90, 90, 90}, 200, 64, 30},
      {178, {71.45f, 71.45f, 104.204f, 90, 90, 120}, 30, 1, 9},
      {225, {30, 30, 30, 90, 90, 90}, 12, 47, 12},
      {5, {30, 41, 52, 90, 101, 90}, 25, 50, 9000},  // angles beyond 2^22 degrees
  };
  std::mt19937 random(7);
  for (const auto& [group, cell, atoms, reflections, limit] : rows) {
    SCOPED_TRACE(group);
    const VXGraphMol mol = random_model(random, atoms, {0, 1, 6, 7, 8, 26, 92, 99, 400});
    VXReflection set = make_set(random_indices(random, reflections, limit), group, cell);
    if (limit > 100) {  // s^2 up to 1.2, where the last form factor of the table serves
      std::vector<float> s2(set.GetCount());
      for (std::size_t i = 0; i < s2.size(); ++i) s2[i] = 0.025f * static_cast<float>(i);
      set.SetColumn(VXReflectionColumn::Stolsq, s2.data(), set.GetCount());
    }
    ASSERT_TRUE(set.SFCalc(mol));
    std::vector<float> amplitudes, phases;
    PlainSFCalc(*set.GetImpl(), mol).Run(amplitudes, phases);
    EXPECT_EQ(column(set, VXReflectionColumn::Fcalc), amplitudes);
    EXPECT_EQ(column(set, VXReflectionColumn::PhaseCalc), phases);
    EXPECT_EQ(column(set, VXReflectionColumn::Phase), phases);
  }
}

TEST(SFCalc, RefusesAndLeavesTheColumns) {
  VXGraphMol good, no_residues, large_b;
  add_atom(good, 6, 1, 2, 3);
  no_residues.AddAtom(6);
  add_atom(large_b, 6, 1, 2, 3, 1e30f);
  const VXReflection whole = make_set({{1, 2, 3, 5, 60}}, 19, kCube);
  VXReflection no_cell = whole, no_group = whole, no_hkl = whole;
  no_cell.SetSymmetry(VXXtal::VXSymmetry(1, VXUnitCell(20, 20, 20, 90, 90, 180)));
  no_group.SetSymmetry(VXXtal::VXSymmetry());
  no_hkl.SetHKL(nullptr, nullptr, nullptr, 0);
  const std::pair<VXReflection, const VXGraphMol&> rows[] = {
      {whole, no_residues}, {whole, large_b}, {no_cell, good}, {no_group, good}, {no_hkl, good}};
  for (auto [set, mol] : rows) {
    EXPECT_FALSE(set.SFCalc(mol));
    EXPECT_TRUE(!set.GetImpl()->fcalc && !set.GetImpl()->phase_calc && set.GetImpl()->phase[0] == 60);
  }
}

// No number leads outside a table, and none that is not a number gets lost.
TEST(SFCalc, NumbersOutsideTheTables) {
  const auto amplitude = [](float b, float occupancy, float x, float s2, int h = 1) {
    VXGraphMol mol;
    add_atom(mol, 6, x, 2, 3, b, occupancy);
    VXReflection set = make_set({{h, 2, 3}}, 19, kCube);
    set.SetColumn(VXReflectionColumn::Stolsq, &s2, 1);
    EXPECT_TRUE(set.SFCalc(mol));
    return column(set, VXReflectionColumn::Fcalc)[0];
  };
  const float plain = amplitude(0, 1, 1, 0.01f);
  EXPECT_GT(plain, 0);
  for (const float b : {-50.0f, -INFINITY}) EXPECT_EQ(amplitude(b, 1, 1, 0.01f), plain);
  EXPECT_EQ(amplitude(20, 1, 1, -9), amplitude(0, 1, 1, 0));
  EXPECT_EQ(amplitude(1e7f, 1, 1, 0.01f), 0);  // beyond the end of the exponential
  for (const float nan :
       {amplitude(NAN, 1, 1, 0.01f), amplitude(20, NAN, 1, 0.01f), amplitude(20, 1, NAN, 0.01f),
        amplitude(20, 1, INFINITY, 0.01f), amplitude(20, 1, 1, NAN)})
    EXPECT_TRUE(std::isnan(nan));
  for (const int h : {std::numeric_limits<int>::max(), std::numeric_limits<int>::min(), 1 << 20})
    EXPECT_TRUE(std::isfinite(amplitude(20, 1, 1e30f, 0.01f, h)));
}

TEST(SFCalc, ShortensAnExpandedList) {
  VXGraphMol mol;
  add_atom(mol, 8, 1, 2, 3);
  VXReflection set = make_set({{1, 2, 3}, {0, 4, 5}}, 19, kCube), expanded = set;
  ASSERT_TRUE(set.SFCalc(mol) && expanded.Expand() && expanded.Sort());
  expanded.GetImpl()->expanded = true;
  ASSERT_TRUE(expanded.SFCalc(mol) && !expanded.GetImpl()->sort_index);
  EXPECT_EQ(column(expanded, VXReflectionColumn::Fcalc), column(set, VXReflectionColumn::Fcalc));
}
