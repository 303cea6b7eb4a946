#include <vxgrid/molgrid/contact_grid.h>

#include <cmath>
#include <cstring>
#include <random>

#include <vxgrid/gaussian/gaussian.h>
#include <vxgrid/host/mol_geometry.h>
#include <vxgrid/host/radii.h>
#include <vxgrid/molgrid/molecular_grid.h>

#include "plain_loops.h"
#include "realspace/model.h"
#include "support/support.h"

using namespace VXCore;
using testing::HasSubstr;

namespace {

GaussPot potential(float radius) {
  GaussPot pot;
  pot.Set(radius);
  return pot;
}

/// Bit by bit, signs of zero and not-a-numbers included.
bool same_bits(const VXScalarGrid& a, const VXScalarGrid& b) {
  return VXGridSameGeometry(a, b) &&
         std::memcmp(a.GetValues(), b.GetValues(), a.GetSize() * sizeof(float)) == 0;
}

float largest(const VXScalarGrid& grid) {
  return *std::max_element(grid.GetValues(), grid.GetValues() + grid.GetSize());
}

}  // namespace

TEST(SoftSphere, SameBitsAsPlainWalk) {
  std::mt19937 random(5);
  std::uniform_real_distribution<double> place(-1.1, 1.1);
  const std::tuple<unsigned int, unsigned int, unsigned int, float> lattices[] = {
      {24, 31, 19, 0.5f}, {3, 30, 30, 0.5f}, {10, 10, 10, 1}, {80, 15, 30, 0.03f}, {1, 1, 1, 1}};
  std::vector<GaussPot> pots;
  for (const float radius : {1.7f, 1.2f, 2.5f, 0.3f, 0.0f, INFINITY, NAN}) pots.push_back(potential(radius));
  pots.push_back({2.0f, -0.5f, 3.0f});   // grows outwards
  pots.push_back({2.5f, 40.0f, 1e38f});  // falls by 100 orders
  pots.push_back({1.0f, 1.0f, 3e-41f});  // below the normal floats
  for (const auto& [x, y, z, spacing] : lattices) {
    VXScalarGrid fast = regular_grid(x, y, z, spacing, 0.3f, -1.0f, 2.0f);
    for (unsigned int i = 0; i < fast.GetSize(); ++i) {
      fast[i] = i % 5 ? 0.01f * static_cast<float>(i % 700) : -0.0f;
      if (i % 7 == 0) fast[i] = 0.00005f * static_cast<float>(i % 5);  // about the least target
    }
    if (fast.GetSize() > 100) fast[50] = NAN, fast[51] = INFINITY;
    VXScalarGrid plain(fast), contact(fast), touched(fast);
    for (int i = 0; i < 120; ++i) {
      double at[3] = {0.3 + place(random) * x * spacing / 2, -1 + place(random) * y * spacing / 2,
                      2 + place(random) * z * spacing / 2};
      if (i % 10 == 0)  // on a lattice point
        for (double& p : at) p = std::round(p);
      const PlacedSphere s = {pots[i < 60 ? i % 3 : i % pots.size()], at[0], at[1], at[2]};
      EXPECT_EQ(MapContactPotential(contact, fast, s.pot, s.x, s.y, s.z, s.pot.range),
                plain_touch(touched, plain, s));
      EXPECT_EQ(plain_map(fast, s, AddMappingFunctor()), plain_map(plain, s, PlainAdd()));
      if (i % 3 != 0) continue;
      EXPECT_EQ(plain_map(fast, s, SubtractMappingFunctor()), plain_map(plain, s, PlainSubtract()));
    }
    EXPECT_TRUE(same_bits(fast, plain)) << x;
    EXPECT_TRUE(same_bits(contact, touched)) << x;
  }
}

TEST(SoftSphere, PotentialOfARadius) {
  const GaussPot pot = potential(1.5f);
  EXPECT_FLOAT_EQ(pot.width, 1.2f);
  EXPECT_FLOAT_EQ(pot.range, 1.8257419f);
  EXPECT_FLOAT_EQ(pot.amplitude, static_cast<float>(VXGetPrefactor(2.7)));  // the volume is the sphere's
  CapturedLog log;
  EXPECT_EQ(potential(-0.5f).range, 0);
  EXPECT_THAT(log.text(), HasSubstr("Error: VolPot.Set : Illegal parameters, kappa   2.70, rad  -0.50"));

  VXScalarGrid target = regular_grid(5, 5, 5, 1), smaller = regular_grid(4, 5, 5, 1);
  EXPECT_EQ(0u, MapContactPotential(smaller, target, pot, 0, 0, 0, pot.range));
}

TEST(ContactGrid, TwoMoleculesSameBitsAsPlainLoops) {
  const VXGraphMol protein = helix(250);
  VXGraphMol ligand = helix(20);
  const float aside[3] = {3.1f, 0.4f, 50};
  VXTranslate(ligand, aside);
  add_atom(ligand, 9, 2, 1, 40)->SetRadius(1.4);  // not in the protein: its own radius counts
  add_atom(ligand, 17, 1, 1, 40);                 // no radius: no reach
  VXScalarGrid grid;
  ASSERT_TRUE(VXMakeContactGrid(grid, protein, ligand, false, 0.5f, 1));
  EXPECT_TRUE(same_bits(grid, plain_contact(protein, ligand, 0.5f)));
  EXPECT_GT(largest(grid), 1);
}

// The molecule against itself, without the atoms within four bonds of the one in hand, nearer ones first.
TEST(ContactGrid, SelfContactSameBitsAsPlainLoops) {
  VXGraphMol mol = helix(90);
  VXScalarGrid grid;
  ASSERT_TRUE(VXMakeContactGrid(grid, mol, true, 0.6f));

  VXAssignBondiVdWRadii(mol);
  VXSuppressHydrogens(mol, false, false, true);
  VXScalarGrid target(grid), contact(grid);
  for (VXScalarGrid* const g : {&target, &contact}) std::fill_n(g->GetValues(), g->GetSize(), 0.0f);
  std::vector<GaussPot> pots(255);
  const std::vector<PlacedSphere> atoms = placed_spheres(mol, pots);
  for (const PlacedSphere& atom : atoms) plain_map(target, atom, PlainAdd());
  const int n = static_cast<int>(atoms.size());
  for (int i = 0; i < n; ++i) {
    std::vector<int> near{i};
    for (int bonds = 1; bonds <= 4; ++bonds)
      for (const int k : {i - bonds, i + bonds})
        if (k >= 0 && k < n) near.push_back(k);
    for (const int k : near) plain_map(target, atoms[k], PlainSubtract());
    plain_touch(contact, target, atoms[i]);
    for (const int k : near) plain_map(target, atoms[k], PlainAdd());
  }
  EXPECT_TRUE(same_bits(grid, contact));
  EXPECT_GT(largest(grid), 1);
}

TEST(ContactGridImpl, BoxTableAndCopies) {
  VXGraphMol mol, other;
  add_atom(mol, 6, 0, 0, 0);
  add_atom(mol, 1, 4, 0, 0);
  const VXContactGridImpl heavy(mol, true, 1.0f);
  EXPECT_EQ(heavy.GetContactGrid().GetXDim(), 5u);  // the box keeps the hydrogen's place
  VXContactGridImpl impl(mol, false, 1.0f);
  const auto pot = [&](unsigned int element, double radius) {
    VXAtomBase* const atom = other.AddAtom(element);
    atom->SetRadius(radius);
    return impl.GetPotential(atom);
  };
  EXPECT_FLOAT_EQ(pot(6, 9)->width, 2.7f / (1.7f * 1.7f));  // the first of the element, with its Bondi radius
  EXPECT_FLOAT_EQ(pot(7, 3)->width, 0.3f);
  EXPECT_EQ(pot(7, 1), pot(7, 3));
  EXPECT_EQ(pot(254, 1), pot(4000000000u, 2));

  VXContactGridImpl copy(impl);
  impl.MakeContactGrid(mol);
  EXPECT_EQ(largest(copy.GetContactGrid()), 0);
  copy.MakeContactGrid(mol);
  EXPECT_TRUE(same_bits(copy.GetContactGrid(), impl.GetContactGrid()));
  EXPECT_GT(largest(copy.GetContactGrid()), 3);
}

// A molecule with itself, moved by 2.5, 1 and 3 steps: between two values on x, on a value on y and z.
TEST(ContactGrid, OfDensities) {
  const VXGraphMol one = helix(20);
  VXGraphMol two(one), radii(one);
  const float step[3] = {1.25f, 0.5f, 1.5f};
  VXTranslate(two, step);
  VXScalarGrid grid, v;
  ASSERT_TRUE(VXMakeContactGrid(grid, one, two, false, 0.5f, 0));
  VXAssignBondiVdWRadii(radii);
  ASSERT_TRUE(VXMakeMolecularGaussianGrid(v, radii, 0.5f));
  ASSERT_TRUE(VXGridSameGeometry(grid, v));
  const unsigned int nx = v.GetXDim(), plane = nx * v.GetYDim(), back = 3 + nx + 3 * plane;
  for (unsigned int e = 0; e < grid.GetSize(); ++e) {
    const bool is_inside = e % nx >= 3 && e % plane >= nx && e >= 3 * plane;
    const float u = is_inside ? (v[e - back] + v[e - back + 1]) / 2 : 0;
    const float expected = u + v[e] > 0 ? 2 * v[e] * std::min(u, v[e]) / (u + v[e]) : 0;
    ASSERT_NEAR(grid[e], expected, 2e-5) << e;  // places in float, 1e-6 Å, on slopes of a few per Å
  }
  EXPECT_GT(largest(grid), 1);
  EXPECT_FALSE(VXMakeContactGrid(grid, one, VXGraphMol(), false, 0.5f, 0));
  EXPECT_FALSE(VXMakeContactGrid(grid, VXGraphMol(), one, false, 0.5f, 0));
}

TEST(ContactGrid, BadMolecules) {
  CapturedLog log;
  VXScalarGrid grid;
  EXPECT_TRUE(VXMakeContactGrid(grid, VXGraphMol(), false, 0.5f));
  EXPECT_EQ(grid.GetSize(), 1u);
  VXGraphMol mol = helix(10);
  add_atom(mol, 0, 0, 0, 0);       // no element: radius 0
  add_atom(mol, 300, 0.5f, 0, 0);  // beyond the table
  add_atom(mol, 6, NAN, 0, 0);
  add_atom(mol, 6, 0, INFINITY, 0);
  mol.AddAtom(6);
  for (int i = 0; i < 2; ++i) add_atom(mol, 8, 1, 1, 1);  // two at one place
  for (const float spacing : {0.5f, 0.0f, -1.0f, NAN, 1e-6f}) {
    EXPECT_TRUE(VXMakeContactGrid(grid, mol, false, spacing)) << spacing;
    EXPECT_TRUE(VXMakeContactGrid(grid, mol, mol, true, spacing, 1)) << spacing;
    EXPECT_TRUE(VXMakeContactGrid(grid, VXGraphMol(), mol, true, spacing, 7)) << spacing;
  }
}
