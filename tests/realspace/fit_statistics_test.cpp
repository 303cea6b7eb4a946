#include <vxgrid/realspace/fit_statistics.h>

#include <cmath>
#include <random>
#include <tuple>

#include <vxgrid/host/mol_geometry.h>
#include <vxgrid/host/tracer.h>
#include <vxgrid/processing/regularize.h>
#include <vxgrid/realspace/density.h>

#include "model.h"
#include "support/support.h"

using namespace VXCore;
using testing::HasSubstr;

namespace {

constexpr double kRadius = 0.9;

// Three residues with hydrogens, one of them of hydrogens only, one with atoms apart in the molecule.
VXGraphMol small_model() {
  VXGraphMol mol;
  add_atom(mol, 6, -2.0f, 0.0f, 0.3f, 20, 1, 1);
  add_atom(mol, 1, -2.7f, 0.5f, 0.3f, 20, 1, 1);
  add_atom(mol, 7, 1.0f, 1.2f, -0.5f, 15, 1, 2);
  add_atom(mol, 1, 1.0f, 2.1f, -0.5f, 15, 1, 3);
  add_atom(mol, 8, -1.0f, 0.9f, 0.1f, 25, 0.7f, 1);
  add_atom(mol, 16, 2.2f, 0.4f, 0.6f, 18, 1, 2);
  return mol;
}

VXSkewGrid noise(unsigned int seed, const float* orientation = kOblique) {
  VXSkewGrid grid = skew_grid(23, 25, 21, 0.6f, orientation, 0.2f, 0.4f, -0.1f);
  std::mt19937 random(seed);
  for (unsigned int i = 0; i < grid.GetSize(); ++i)
    grid.GetValues()[i] = std::normal_distribution<float>(0.3f)(random);
  return grid;
}

VXSkewGrid scaled(VXSkewGrid grid, float factor, float shift) {
  for (unsigned int i = 0; i < grid.GetSize(); ++i)
    grid.GetValues()[i] = factor * grid.GetValues()[i] + shift;
  return grid;
}

// Both statistics as they are told: every atom against every point, then the sums.
VXFitStatistics plain_statistics(const VXSkewGrid& obs, const VXSkewGrid& calc, const VXMolBase& mol) {
  float center[3], extents[3];
  VXGetCenterAndExtents(mol, center, extents);
  for (float& extent : extents) extent += 4.0f;
  VXScalarGrid g1, g2;
  const float spacing = XYZToIJK(obs).GetSmallestSpacing();
  VXMakeRegularSubGrid(g1, obs, center, extents, spacing, obs.GetReentrant() != 0);
  VXMakeRegularSubGrid(g2, calc, center, extents, spacing, calc.GetReentrant() != 0);
  double n = 0, sx = 0, sy = 0, sxx = 0, syy = 0, sxy = 0, plus = 0, minus = 0;
  for (unsigned int i = 0; i < g1.GetSize(); ++i) {
    const VXSkewGrid lattice(g1);
    float p[3], q[3];
    lattice.ElementToSpatialCoord(i, p[0], p[1], p[2]);
    bool masked = false;
    for (VXIter<VXAtomBase> atom = mol.GetAtoms(VXIsHeavy()); atom; ++atom) {
      mol.GetCoords(&*atom, q);
      masked |= std::hypot(p[0] - q[0], p[1] - q[1], p[2] - q[2]) <= kRadius;
    }
    if (!masked) continue;
    const double x = g1[i], y = g2[i];
    n += 1, sx += x, sy += y, sxx += x * x, syy += y * y, sxy += x * y;
    plus += std::fabs(y + x), minus += std::fabs(y - x);
  }
  EXPECT_GT(n, 20) << "too few points to tell";
  return {(n * sxy - sx * sy) / std::sqrt((sxx * n - sx * sx) * (syy * n - sy * sy)), minus / plus};
}

struct CountingTracer : VXTracerBase {
  bool Progress(unsigned int current, unsigned int total) override {
    EXPECT_EQ(current, calls++);
    EXPECT_EQ(total, 3u);
    return calls < stop_after;
  }
  unsigned int calls = 0, stop_after = 99;
};

}  // namespace

TEST(FitStatistics, EqualThePlainSums) {
  const VXGraphMol mol = small_model();
  for (bool reentrant : {false, true}) {
    VXSkewGrid obs = noise(1), calc = noise(2);
    obs.SetReentrant(reentrant);
    const VXFitStatistics want = plain_statistics(obs, calc, mol);
    EXPECT_EQ(VXRSCC(obs, calc, mol, kRadius), want.rscc);
    EXPECT_EQ(VXRSR(obs, calc, mol, kRadius), want.rsr);
  }
}

// Two equal models; a model against its own density.
TEST(FitStatistics, OfModels) {
  const VXGraphMol mol = small_model();
  VXSkewGrid calc = noise(1);
  ASSERT_TRUE(VXScatterToGrid(calc, mol));
  EXPECT_EQ(VXRSR(calc, scaled(calc, -1, 0), mol, kRadius), INFINITY);
  EXPECT_GT(VXRSCC(calc, mol, kRadius), 0.97) << "the same density on another lattice, interpolated";
  EXPECT_LT(VXRSR(calc, mol, kRadius), 0.1);
  EXPECT_EQ(VXRSR(mol, mol, kRadius), 0.0);
  EXPECT_NEAR(VXRSCC(mol, mol, kRadius), 1.0, 1e-9);
}

TEST(FitStatistics, FormsAgree) {
  const VXGraphMol mol = small_model();
  const VXSkewGrid obs = noise(3, kIdentity), calc = noise(4, kIdentity);
  const VXScalarGrid obs_scalar(obs.AsRegularGrid()), calc_scalar(calc.AsRegularGrid());
  const VXFitStatistics two = VXGetFitStatistics(obs, calc, mol, kRadius),
                        one = VXGetFitStatistics(obs, mol, kRadius);
  VXGraphMol copy = mol, other = mol;
  VXTranslate(other, std::vector<float>{0.3f, 0.2f, 0.0f}.data());
  const auto same = [](std::initializer_list<double> values) {
    EXPECT_THAT(values, testing::Each(*values.begin()));
  };
  same({two.rscc, VXRSCC(obs, calc, mol, kRadius), VXRSCC(obs_scalar, calc_scalar, mol, kRadius),
        VXAnnotateRSCC(obs_scalar, calc_scalar, copy, kRadius)});
  same({two.rsr, VXRSR(obs_scalar, calc_scalar, mol, kRadius)});
  same({one.rscc, VXRSCC(obs, mol, kRadius), VXRSCC(obs_scalar, mol, kRadius),
        VXAnnotateRSCC(obs_scalar, copy, kRadius), VXAnnotateRSCC(obs, copy, kRadius)});
  same({one.rsr, VXRSR(obs, mol, kRadius), VXRSR(obs_scalar, mol, kRadius)});
  same({VXRSCC(mol, other, kRadius), VXAnnotateRSCC(copy, other, kRadius)});
}

TEST(FitStatistics, FailuresAreMinusOneWithAWarning) {
  const char* mask = "Warning: Masking the molecule failed (only one element set)";
  VXGraphMol far = small_model(), hydrogens, bare;
  VXTranslate(far, std::vector<float>{500.0f, 0.0f, 0.0f}.data());
  add_atom(hydrogens, 1, 0, 0, 0);
  bare.AddAtom(6);
  const std::tuple<const char*, VXSkewGrid, VXGraphMol, double, double, const char*> rows[] = {
      {"hydrogens only", noise(1), hydrogens, kRadius, -1, mask},
      {"no atoms", noise(1), VXGraphMol(), kRadius, -1, mask},
      {"beside the map", noise(1), far, kRadius, -1, mask},
      {"radius not a number", noise(1), small_model(), NAN, -1, mask},
      {"a flat map", scaled(noise(1), 0, 2), small_model(), kRadius, 0,
       "Warning: RSCC: Empty grid (perhaps missing symmetry information for molecule\n"},
  };
  for (auto [what, obs, mol, radius, rsr, says] : rows) {
    SCOPED_TRACE(what);
    CapturedLog log;
    EXPECT_EQ(VXAnnotateRSCC(obs, obs, mol, radius), -1.0);
    EXPECT_TRUE(mol.HasData("scatter") && mol.HasData("mask") && mol.HasData("ed"));
    EXPECT_THAT(log.text(), HasSubstr(says));
    EXPECT_EQ(VXRSR(obs, obs, mol, radius), rsr);
  }
  // The map from the model changes nothing for a model without a mask.
  for (const VXGraphMol* mol : {&far, &hydrogens}) {
    CapturedLog log;
    EXPECT_EQ(VXRSR(noise(1), *mol, kRadius), -1.0);
    EXPECT_THAT(log.text(), HasSubstr(mask));
  }
  CapturedLog log;
  EXPECT_EQ(VXRSCC(noise(1), bare, kRadius), -1.0);
  EXPECT_EQ(log.text(),
            "Warning: Input molecule does not have residues, cannot retrieve BFactors or Occupancies\n");
}

TEST(FitStatistics, AnnotationsHoldTheMaps) {
  VXGraphMol mol = small_model();
  VXAnnotateRSCC(noise(1), noise(2), mol, kRadius);
  const auto& scatter = mol.GetData<VXScalarGrid>("scatter");
  const auto& mask = mol.GetData<VXScalarGrid>("mask");
  const auto& ed = mol.GetData<VXScalarGrid>("ed");
  ASSERT_TRUE(mask.GetSize() == ed.GetSize() && scatter.GetSize() == ed.GetSize());
  unsigned int inside = 0, outside_observed = 0;
  for (unsigned int i = 0; i < mask.GetSize(); ++i) {
    EXPECT_TRUE(mask[i] == 2.0f || (mask[i] == 0.0f && scatter[i] == 0.0f)) << i;
    inside += mask[i] == 2.0f && scatter[i] != 0.0f;
    outside_observed += mask[i] == 0.0f && ed[i] != 0.0f;
  }
  EXPECT_GT(inside, 20u);
  EXPECT_GT(outside_observed, 500u);
}

TEST(ResidueFit, IsTheFitOfEachResidueAlone) {
  VXGraphMol mol = small_model();
  const VXSkewGrid obs = noise(1);
  VXSkewGrid calc = obs;
  ASSERT_TRUE(VXScatterToGrid(calc, mol));
  CapturedLog log;
  CountingTracer tracers[4];
  const auto rows = VXGetResidueFit(obs, mol, kRadius, tracers[0]);
  EXPECT_TRUE(VXResidueRSCC(obs, mol, kRadius, tracers[1]));
  EXPECT_TRUE(VXResidueRSR(obs, calc, mol, kRadius, tracers[2]));
  tracers[3].stop_after = 2;
  EXPECT_EQ(VXGetResidueFit(obs, calc, mol, kRadius, tracers[3]).size(), 2u);
  EXPECT_EQ(tracers[0].calls + tracers[1].calls + tracers[2].calls + tracers[3].calls, 3u + 3 + 3 + 2);

  ASSERT_EQ(rows.size(), 3u);
  for (const VXResidueFit& row : rows) {
    SCOPED_TRACE(row.residue.GetNumber());
    VXGraphMol alone;
    VXSubsetMol(alone, mol, VXAtomIsInResidue(row.residue));
    EXPECT_EQ(row.fit.rscc, VXRSCC(obs, calc, alone, kRadius));
    EXPECT_EQ(row.fit.rsr, VXRSR(obs, calc, alone, kRadius));
    EXPECT_EQ(row.fit.rscc == -1.0, row.residue.GetNumber() == 3) << "the one of hydrogens";
    for (VXIter<VXAtomBase> atom = VXGetResidueAtoms(mol, row.residue); atom; ++atom) {
      EXPECT_EQ(atom->GetData<float>("rscc"), static_cast<float>(row.fit.rscc));
      EXPECT_EQ(atom->GetData<float>("rsr"), static_cast<float>(row.fit.rsr));
    }
  }
  VXGraphMol bare;
  bare.AddAtom(6);
  EXPECT_TRUE(VXResidueRSCC(obs, calc, bare, kRadius, tracers[1]));
  EXPECT_FALSE(VXIter<VXAtomBase>(bare.GetAtoms())->HasData("rscc"));
}
