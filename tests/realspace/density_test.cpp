#include <vxgrid/realspace/density.h>

#include <cmath>
#include <random>
#include <tuple>

#include <vxgrid/host/pdb_data.h>
#include <vxgrid/xtal/scatter_table.h>
#include <vxgrid/xtal/symmetry.h>

#include "model.h"
#include "plain_density.h"
#include "support/support.h"

using namespace VXCore;

namespace {

const float kTurned[9] = {0.96f, -0.28f, 0, 0.28f, 0.96f, 0, 0, 0, 1};
const char kCrystal[] = "   13.000   14.000   15.000  90.00  90.00  90.00 P 21 21 21    4";

VXGraphMol random_model(float max_b) {
  std::mt19937 random(7);
  std::uniform_real_distribution<float> unit(0, 1);
  VXGraphMol mol;
  for (int i = 0; i < 33; ++i)
    for (unsigned int element : {1, 6, 7, 8, 16, 26})
      add_atom(mol, element, 12 * unit(random) - 6, 12 * unit(random) - 6, 12 * unit(random) - 6,
               max_b * unit(random) + 0.01f, unit(random));
  return mol;
}

// Compares with the plain loop float for float; returns the number of points that it touched.
unsigned int expect_plain_density(const VXMolBase& mol, const float* orientation) {
  VXSkewGrid grid = skew_grid(21, 18, 25, 0.51f, orientation, 0.3f, -0.2f, 0.7f), want = grid;
  const unsigned int atoms = mol.NumAtoms(), touched = plain_density(want, mol);
  EXPECT_TRUE(VXScatterToGrid(grid, mol));
  unsigned int differences = 0;
  for (unsigned int i = 0; i < grid.GetSize(); ++i) {
    const float x = grid.GetValues()[i], y = want.GetValues()[i];
    differences += !(x == y || (std::isnan(x) && std::isnan(y)));
  }
  EXPECT_EQ(differences, 0u);
  EXPECT_EQ(mol.NumAtoms(), atoms) << "the caller's molecule changed";
  return touched;
}

// The electron density at distance r (Å) by Fourier inversion of the blurred form factor, in Simpson steps.
double fourier_density(const VXScatterData& f, double b, double r) {
  const int n = 20000;
  const double end = 8.0, h = end / n;
  double sum = 0;
  for (int i = 1; i <= n; ++i) {
    const double big_s = i * h, s2 = big_s * big_s / 4;
    const double form = f.a1 * std::exp(-f.b1 * s2) + f.a2 * std::exp(-f.b2 * s2) +
                        f.a3 * std::exp(-f.b3 * s2) + f.a4 * std::exp(-f.b4 * s2) + f.c;
    const double wave = r == 0 ? 1 : std::sin(2 * M_PI * big_s * r) / (2 * M_PI * big_s * r);
    sum += (i == n ? 1 : i % 2 ? 4 : 2) * 4 * M_PI * big_s * big_s * form * std::exp(-b * s2) * wave;
  }
  return sum * h / 3;
}

}  // namespace

TEST(ScatterToGrid, SameAsPlainLoop) {
  const std::tuple<const char*, const float*, float, const char*> rows[] = {
      {"regular", kIdentity, 60, nullptr},
      {"oblique", kOblique, 60, nullptr},
      {"turned", kTurned, 60, nullptr},
      {"sharp atoms", kOblique, 0.5f, nullptr},
      {"broad atoms", kOblique, 2000, nullptr},
      {"crystal", kOblique, 60, kCrystal},
      {"crystal, regular", kIdentity, 5, kCrystal}};
  for (const auto& [what, orientation, max_b, cryst1] : rows) {
    SCOPED_TRACE(what);
    VXGraphMol mol = random_model(max_b);
    if (cryst1) VXSetPDBData(mol, "CRYST1", cryst1);
    EXPECT_GT(expect_plain_density(mol, orientation), 1000u);
  }
}

TEST(ScatterToGrid, OddAtomsGiveWhatThePlainLoopGives) {
  const std::tuple<unsigned int, int, float, float, float> rows[] = {
      // element, charge, x, B factor, occupancy; b + B is negative in rows 1 and 2
      {6, 0, 0, 0, 1},      {8, -1, 0, 0.005f, 1}, {6, 0, 0, -3, 1},        {6, 0, 0, INFINITY, 1},
      {6, 0, 0, NAN, 1},    {6, 0, 0, 1e30f, 1},   {6, 0, 0, 20, 0},        {6, 0, 0, 20, 3e38f},
      {0, 0, 0, 20, 1},     {110, 0, 0, 20, 1},    {6, 0, INFINITY, 20, 1}, {6, 0, NAN, 20, 1},
      {6, 0, 1e30f, 20, 1}, {6, 0, 5.7f, 20, 1}};
  for (const auto& [element, charge, x, bfactor, occupancy] : rows)
    for (const float* orientation : {kIdentity, kTurned}) {
      SCOPED_TRACE(testing::PrintToString(std::tuple(element, charge, x, bfactor, occupancy)));
      VXGraphMol mol;
      add_atom(mol, element, x, 0.1f, -0.2f, bfactor, occupancy)->SetFormalCharge(charge);
      expect_plain_density(mol, orientation);
    }
  VXSkewGrid point(regular_grid(1, 1, 1, 0.5f));
  EXPECT_FALSE(VXScatterToGrid(point, random_model(20)));
}

// Fourier inversion shares no constant with the density; what is left is the rounding of floats. The integral
// is that of the closed form: within the radius a term holds erf(u) - 2 u exp(-u^2) / sqrt(pi) of its own,
// u = sqrt(exponent) * radius; a sphere of some 14000 points misses the volume by 0.2 %.
TEST(ScatterToGrid, DensityIsTheFourierTransformOfTheFormFactor) {
  for (unsigned int element : {1u, 6u, 26u}) {
    SCOPED_TRACE(element);
    const VXScatterData& f = scatter_data[VXGetScatterType(static_cast<int>(element), 0)];
    VXGraphMol mol;
    add_atom(mol, element, 0, 0, 0, 15);
    VXScalarGrid grid = regular_grid(41, 41, 41, 0.09f);
    ASSERT_TRUE(VXScatterToGrid(grid, mol));
    const float* const centre = &grid[(20 * 41 + 20) * 41 + 20];
    for (int i = 0; i < 9; i += 4) EXPECT_NEAR(centre[i], fourier_density(f, 15, i * 0.09), 2e-6 * *centre);

    const double a[5] = {f.a1, f.a2, f.a3, f.a4, f.c}, b[5] = {f.b1, f.b2, f.b3, f.b4, 0};
    double want = 0, sum = 0;
    for (int k = 0; k < 5; ++k) {
      const double u = std::sqrt((*std::max_element(b, b + 5) + 15) / (b[k] + 15));
      want += a[k] * (std::erf(u) - 2 / std::sqrt(M_PI) * u * std::exp(-u * u));
    }
    for (unsigned int i = 0; i < grid.GetSize(); ++i) sum += grid[i];
    EXPECT_NEAR(sum * 0.09 * 0.09 * 0.09, want, 0.005 * want);
  }
}

TEST(ExpandCrystalSymmetry, AddsImagesAndClipsToTheGrid) {
  VXGraphMol mol;
  add_atom(mol, 6, 1, 1, 1);
  const VXGraphMol bare(mol);
  VXSkewGrid grid = skew_grid(27, 29, 31, 0.5f, kIdentity, 6.5f, 7.0f, 7.5f);
  EXPECT_FALSE(VXExpandCrystalSymmetry(grid, mol));
  EXPECT_EQ(mol.NumAtoms(), 1u);

  // One cell of P 21 21 21: the four atoms of the cell, and the first once more as the identity image. A
  // second grid that holds no atom empties the molecule.
  VXSetPDBData(mol, "CRYST1", kCrystal);
  EXPECT_TRUE(VXExpandCrystalSymmetry(grid, mol));
  EXPECT_EQ(mol.NumAtoms(), 5u);
  EXPECT_TRUE(VXExpandCrystalSymmetry(skew_grid(2, 2, 2, 0.1f, kIdentity, 3, 3, 3), mol));
  EXPECT_EQ(mol.NumAtoms(), 0u);

  // The grid's own symmetry serves a molecule without, and its record is written; one that is none only
  // clips.
  for (const bool some : {true, false}) {
    const VXXtal::VXSymmetry p212121(19, VXXtal::VXUnitCell(13, 14, 15, 90, 90, 90));
    mol = bare;
    grid.SetData("vx_symm", some ? p212121 : VXXtal::VXSymmetry());
    EXPECT_TRUE(VXExpandCrystalSymmetry(grid, mol));
    EXPECT_EQ(mol.NumAtoms(), some ? 5u : 1u);
    EXPECT_EQ(VXHasPDBData(mol, "CRYST1"), some);
  }
}

TEST(MakeGaussianScatterGrid, SizesTheGridAroundTheModel) {
  VXGraphMol mol;
  add_atom(mol, 6, 1, 2, 3);
  add_atom(mol, 8, 2, 2, 3);
  VXScalarGrid grid;
  ASSERT_TRUE(VXMakeGaussianScatterGrid(grid, mol, 0.5));
  EXPECT_TRUE(grid.GetXDim() == 11 && grid.GetYDim() == 9 && grid.GetXMid() == 1.5f &&
              grid.GetZMid() == 3.0f);
  EXPECT_GT(grid[(4 * 9 + 4) * 11 + 4], 1.0f);
}

TEST(XYZToIJK, MapsBothWaysAndKnowsItsSteps) {
  const VXSkewGrid grid = skew_grid(7, 8, 9, 0.5f, kOblique, 1, 2, 3);
  const XYZToIJK map(grid);
  const float ijk[3] = {6, 3, 2};
  float xyz[3], want[3], back[3];
  map.ToCartesian(ijk, xyz);
  map.ToIndex(xyz, back);
  ASSERT_TRUE(grid.ElementToSpatialCoord((2 * 8 + 3) * 7 + 6, want[0], want[1], want[2]));
  for (int axis = 0; axis < 3; ++axis) {
    EXPECT_NEAR(xyz[axis], want[axis], 1e-6);
    EXPECT_NEAR(back[axis], ijk[axis], 1e-5);
  }
  EXPECT_NEAR(map.StepLength(0), 0.5, 1e-6);
  EXPECT_NEAR(map.StepLength(1), 0.5 * std::hypot(0.3, 0.9), 1e-6);
  EXPECT_NEAR(map.StepLength(2), 0.5 * std::sqrt(0.01 + 0.0049 + 1.44), 1e-6);
  EXPECT_NEAR(map.GetSmallestSpacing(), 0.5 * std::hypot(0.3, 0.9), 1e-6);
}

TEST(ScatterDefaults, FlagsKeepWhatIsThere) {
  for (const unsigned int flags : {0u, 4u, 8u, 12u}) {
    SCOPED_TRACE(flags);
    VXGraphMol mol;
    const VXAtomBase *full = add_atom(mol, 6, 0, 0, 0, 25, 0.5f), *zeros = add_atom(mol, 6, 0, 0, 0, 0, 0);
    VXSetScatterDefaults(mol, 30.0, 1.0, flags);
    const VXResidue &r = VXAtomGetResidue(full), &z = VXAtomGetResidue(zeros);
    EXPECT_TRUE(r.GetBFactor() == (flags & 4 ? 25 : 30) && r.GetOccupancy() == (flags & 8 ? 0.5f : 1));
    EXPECT_TRUE(z.GetBFactor() == 30 && z.GetOccupancy() == 1 && z.GetName() == "ALA");
  }
}

TEST(Resolution, RadiusAndSources) {
  const double radii[][2] = {{0.5, 0.7}, {0.6, 0.7 / 3}, {1.7, 0.6}, {3.0, 3.1 / 3}, {3.1, 1.55}, {4.0, 2.0}};
  for (const auto& row : radii) EXPECT_NEAR(VXGetEDSRadius(row[0]), row[1], 1e-14) << row[0];

  const auto resolution = [](const auto& of) {  // 0: none, and the result stays
    double out = -7.0;
    return VXGetResolution(out, of) ? out : out + 7;
  };
  const std::tuple<const char*, const char*, double> records[] = {
      {"REMARK", "   2 RESOLUTION.    1.60 ANGSTROMS.", 1.6},
      {"REMARK", "   2\tRESOLUTION.\t2.1", 2.1},
      {"REMARK", "   2 RESOLUTION. NOT APPLICABLE.", 0},
      {"REMARK", "   2 RESOLUTION.", 0},
      {"REMARK", "   3  RESOLUTION 1.60", 0},
      {"HEADER", "   2 RESOLUTION.    1.60 ANGSTROMS.", 0}};
  for (const auto& [tag, value, expected] : records) {
    VXGraphMol mol;
    VXAddPDBData(mol, "REMARK", "   2");
    VXAddPDBData(mol, tag, value);
    EXPECT_EQ(resolution(mol), expected) << value;
  }
  VXSkewGrid grid;
  EXPECT_EQ(resolution(grid), 0);
  grid.SetData("resolution", 1.85);
  EXPECT_EQ(resolution(grid), 1.85);
}
