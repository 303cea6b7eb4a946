#include <vxgrid/realspace/density.h>

#include <cmath>
#include <limits>
#include <random>
#include <tuple>

#include <vxgrid/host/pdb_data.h>
#include <vxgrid/xtal/scatter_table.h>
#include <vxgrid/xtal/symmetry.h>

#include "model.h"
#include "plain_density.h"
#include "support/support.h"

using namespace VXCore;
using testing::HasSubstr;

namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

const float kTurned[9] = {0.96f, -0.28f, 0, 0.28f, 0.96f, 0, 0, 0, 1};
const char kCrystal[] = "   13.000   14.000   15.000  90.00  90.00  90.00 P 21 21 21    4";

unsigned int differences(const VXSkewGrid& a, const VXSkewGrid& b) {
  unsigned int n = a.GetSize() != b.GetSize();
  for (unsigned int i = 0; i < std::min(a.GetSize(), b.GetSize()); ++i) {
    const float x = a.GetValues()[i], y = b.GetValues()[i];
    n += !(x == y || (std::isnan(x) && std::isnan(y)));
  }
  return n;
}

VXGraphMol random_model(int atoms, double size, double max_b) {
  const unsigned int elements[] = {1, 6, 7, 8, 16, 26};
  std::mt19937 random(7);
  std::uniform_real_distribution<float> unit(0.0f, 1.0f);
  const auto place = [&] { return static_cast<float>(size) * (unit(random) - 0.5f); };
  VXGraphMol mol;
  for (int i = 0; i < atoms; ++i)
    add_atom(mol, elements[i % 6], place(), place(), place(),
             static_cast<float>(max_b) * unit(random) + 0.01f, unit(random), i / 8);
  return mol;
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
  const std::tuple<const char*, const float*, double, const char*> rows[] = {
      {"regular", kIdentity, 60, nullptr},
      {"oblique", kOblique, 60, nullptr},
      {"turned", kTurned, 60, nullptr},
      {"sharp atoms", kOblique, 0.5, nullptr},
      {"broad atoms", kOblique, 2000, nullptr},
      {"crystal", kOblique, 60, kCrystal},
      {"crystal, regular", kIdentity, 5, kCrystal}};
  for (const auto& [what, orientation, max_b, cryst1] : rows) {
    SCOPED_TRACE(what);
    VXGraphMol mol = random_model(200, 12.0, max_b);
    if (cryst1) VXSetPDBData(mol, "CRYST1", cryst1);
    VXSkewGrid grid = skew_grid(21, 18, 25, 0.51f, orientation, 0.3f, -0.2f, 0.7f), want = grid;
    EXPECT_GT(plain_density(want, mol), 1000u);
    ASSERT_TRUE(VXScatterToGrid(grid, mol));
    EXPECT_EQ(differences(grid, want), 0u);
    EXPECT_EQ(mol.NumAtoms(), 200u) << "the caller's molecule changed";
  }
}

TEST(ScatterToGrid, OddAtomsGiveWhatThePlainLoopGives) {
  const std::tuple<const char*, unsigned int, int, float, float, float> rows[] = {
      // element, charge, x, B factor, occupancy
      {"no B factor", 6, 0, 0, 0, 1},          {"b + B negative", 8, -1, 0, 0.005f, 1},
      {"b + B negative, far", 6, 0, 0, -3, 1}, {"B infinite", 6, 0, 0, kInf, 1},
      {"B not a number", 6, 0, 0, kNaN, 1},    {"B huge", 6, 0, 0, 1e30f, 1},
      {"no occupancy", 6, 0, 0, 20, 0},        {"occupancy huge", 6, 0, 0, 20, 3e38f},
      {"dummy atom", 0, 0, 0, 20, 1},          {"unknown element", 110, 0, 0, 20, 1},
      {"x infinite", 6, 0, kInf, 20, 1},       {"x not a number", 6, 0, kNaN, 20, 1},
      {"x huge", 6, 0, 1e30f, 20, 1},          {"beside the grid", 6, 0, 4.4f, 20, 1}};
  for (const auto& [what, element, charge, x, bfactor, occupancy] : rows) {
    SCOPED_TRACE(what);
    VXGraphMol mol;
    add_atom(mol, element, x, 0.1f, -0.2f, bfactor, occupancy)->SetFormalCharge(charge);
    for (const float* orientation : {kIdentity, kTurned}) {
      VXSkewGrid grid = skew_grid(15, 14, 13, 0.6f, orientation), want = grid;
      plain_density(want, mol);
      ASSERT_TRUE(VXScatterToGrid(grid, mol));
      EXPECT_EQ(differences(grid, want), 0u);
    }
  }
  VXSkewGrid point(regular_grid(1, 1, 1, 0.5f));
  EXPECT_FALSE(VXScatterToGrid(point, random_model(3, 1, 20)));
}

// Against Fourier inversion, which shares no constant with the density; the closed radius apart, five floats
// are summed, each with 2^-24 of its size.
TEST(ScatterToGrid, DensityIsTheFourierTransformOfTheFormFactor) {
  for (unsigned int element : {1u, 6u, 8u, 26u}) {
    VXGraphMol mol;
    add_atom(mol, element, 0, 0, 0, 15.0f);
    VXScalarGrid grid = regular_grid(9, 9, 9, 0.2f);
    ASSERT_TRUE(VXScatterToGrid(grid, mol));
    const VXScatterData& row = scatter_data[VXGetScatterType(static_cast<int>(element), 0)];
    for (unsigned int i = 0; i < 4; ++i) {
      const double want = fourier_density(row, 15.0, i * 0.2);
      EXPECT_NEAR(grid[(4 * 9 + 4) * 9 + 4 + i], want, 2e-6 * fourier_density(row, 15.0, 0)) << element;
    }
  }
}

// Electrons within the radius: each term holds erf(u) - 2 u exp(-u^2) / sqrt(pi) of its own, u = sqrt(e) R.
// A sphere of 14000 points misses the volume by some 0.2 %.
TEST(ScatterToGrid, IntegralIsTheElectronsWithinTheRadius) {
  const VXScatterData& row = scatter_data[VXGetScatterType(6, 0)];
  const double b = 20.0, radius = std::sqrt((b + row.b4) / (4 * M_PI * M_PI));
  const auto within = [&](double height, double width) {
    const double u = 2 * M_PI / std::sqrt(width + b) * radius;
    return height * (std::erf(u) - 2 / std::sqrt(M_PI) * u * std::exp(-u * u));
  };
  const double want = within(row.a1, row.b1) + within(row.a2, row.b2) + within(row.a3, row.b3) +
                      within(row.a4, row.b4) + within(row.c, 0);
  VXGraphMol mol;
  add_atom(mol, 6, 0, 0, 0, static_cast<float>(b));
  VXScalarGrid grid = regular_grid(41, 41, 41, 0.09f);
  ASSERT_TRUE(VXScatterToGrid(grid, mol));
  double sum = 0;
  for (unsigned int i = 0; i < grid.GetSize(); ++i) sum += grid[i];
  EXPECT_NEAR(sum * 0.09 * 0.09 * 0.09, want, 0.004 * want);
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

  // The grid's own symmetry serves a molecule without; its record is written then.
  mol = bare;
  grid.SetData("vx_symm", VXXtal::VXSymmetry(19, VXXtal::VXUnitCell(13, 14, 15, 90, 90, 90)));
  EXPECT_TRUE(VXExpandCrystalSymmetry(grid, mol));
  EXPECT_EQ(mol.NumAtoms(), 5u);
  EXPECT_TRUE(VXHasPDBData(mol, "CRYST1"));
  mol = bare;
  grid.SetData("vx_symm", VXXtal::VXSymmetry());
  EXPECT_TRUE(VXExpandCrystalSymmetry(grid, mol));
  EXPECT_EQ(mol.NumAtoms(), 1u) << "a symmetry that is none only clips";
}

TEST(MakeGaussianScatterGrid, SizesTheGridAroundTheModel) {
  VXGraphMol mol;
  add_atom(mol, 6, 1, 2, 3);
  add_atom(mol, 8, 2, 2, 3);
  VXScalarGrid grid;
  ASSERT_TRUE(VXMakeGaussianScatterGrid(grid, mol, 0.5));
  EXPECT_EQ(grid.GetXDim(), 11u);
  EXPECT_EQ(grid.GetYDim(), 9u);
  EXPECT_EQ(grid.GetXMid(), 1.5f);
  EXPECT_EQ(grid.GetZMid(), 3.0f);
  EXPECT_GT(grid[(4 * 9 + 4) * 11 + 4], 1.0f);

  VXGraphMol plain;
  const float xyz[3] = {0, 0, 0};
  plain.SetCoords(plain.AddAtom(6), xyz);
  CapturedLog log;
  EXPECT_FALSE(VXMakeGaussianScatterGrid(grid, plain, 0.5));
  EXPECT_THAT(
      log.text(),
      HasSubstr("Warning: Input molecule does not have residues, cannot retrieve BFactors or Occupancies"));
}

TEST(XYZToIJK, MapsBothWaysAndKnowsItsSteps) {
  const XYZToIJK map(skew_grid(7, 8, 9, 0.5f, kOblique, 1, 2, 3));
  const float ijk[3] = {2.25f, 6.5f, 1.0f};
  float xyz[3], back[3];
  map.ToCartesian(ijk, xyz);
  map.ToIndex(xyz, back);
  for (int axis = 0; axis < 3; ++axis) EXPECT_NEAR(back[axis], ijk[axis], 1e-5);
  EXPECT_NEAR(map.StepLength(0), 0.5, 1e-6);
  EXPECT_NEAR(map.StepLength(1), 0.5 * std::hypot(0.3, 0.9), 1e-6);
  EXPECT_NEAR(map.StepLength(2), 0.5 * std::sqrt(0.01 + 0.0049 + 1.44), 1e-6);
  EXPECT_NEAR(map.GetSmallestSpacing(), 0.5 * std::hypot(0.3, 0.9), 1e-6);

  const VXSkewGrid grid = skew_grid(7, 8, 9, 0.5f, kTurned, 1, 2, 3);
  const float corner[3] = {6, 3, 2};
  XYZToIJK(grid).ToCartesian(corner, xyz);
  ASSERT_TRUE(grid.ElementToSpatialCoord((2 * 8 + 3) * 7 + 6, back[0], back[1], back[2]));
  for (int axis = 0; axis < 3; ++axis) EXPECT_NEAR(xyz[axis], back[axis], 1e-6);
}

TEST(ScatterDefaults, FlagsKeepWhatIsThere) {
  for (const unsigned int flags : {0u, 4u, 8u, 12u}) {
    SCOPED_TRACE(flags);
    VXGraphMol mol;
    const VXAtomBase *full = add_atom(mol, 6, 0, 0, 0, 25, 0.5f), *zeros = add_atom(mol, 6, 0, 0, 0, 0, 0);
    VXSetScatterDefaults(mol, 30.0, 1.0, flags);
    EXPECT_EQ(VXAtomGetResidue(full).GetBFactor(), flags & 4 ? 25 : 30);
    EXPECT_EQ(VXAtomGetResidue(full).GetOccupancy(), flags & 8 ? 0.5 : 1);
    EXPECT_EQ(VXAtomGetResidue(full).GetName(), "ALA");
    EXPECT_EQ(VXAtomGetResidue(zeros).GetBFactor(), 30);
    EXPECT_EQ(VXAtomGetResidue(zeros).GetOccupancy(), 1);
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
      {"REMARK", "   3  RESOLUTION RANGE HIGH (ANGSTROMS) : 1.60", 0},
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
