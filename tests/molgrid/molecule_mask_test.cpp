#include <vxgrid/molgrid/molecule_mask.h>

#include <cmath>
#include <limits>

#include <vxgrid/grid/zemogrid.h>
#include <vxgrid/host/molecule.h>
#include <vxgrid/molgrid/molecular_grid.h>

#include "support/support.h"

using namespace VXCore;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

VXGraphMol two_atoms() {
  VXGraphMol mol;
  for (const float x : {-1.0f, 1.5f}) {
    const float xyz[3] = {x, 0.3f, 0};
    mol.SetCoords(mol.AddAtom(6), xyz);
  }
  return mol;
}

/// 2, 3, 4, ... on 11 x 9 x 7 points, of type 3 and with an attribute.
VXScalarGrid numbered() {
  VXScalarGrid grid(11, 9, 7, 0.25f, 0, 0, 0.9f, "map", nullptr);
  for (unsigned int i = 0; i < grid.GetSize(); ++i) grid[i] = 2.0f + static_cast<float>(i);
  grid.SetType(VXGridTypeRegularMap);
  grid.SetData<float>("SIGMA", 1.5f);
  return grid;
}

VXZemoGrid row(std::vector<float> values) {
  return VXZemoGrid(VXScalarGrid(static_cast<int>(values.size()), 1, 1, 0, 0, 0, 1, "", values.data()));
}

std::vector<float> values_of(const VXZemoGrid& grid) {
  return {grid.GetValues(), grid.GetValues() + grid.GetSize()};
}

/// What a mode makes of v where the density is m.
double masked(unsigned int mode, double v, double m, double c) {
  switch (mode) {
    case 4:
      return m > c ? 0 : v;
    case 5:
      return m < c ? 0 : v;
    case 6:
      return v * std::exp(-c * m);
  }
  return v * (1 - std::exp(-c * m));
}

}  // namespace

TEST(MoleculeMask, EveryModeAndEntry) {
  const VXGraphMol mol = two_atoms();
  VXZemoGrid density(numbered());
  std::fill_n(density.GetValues(), density.GetSize(), 0.0f);
  ASSERT_TRUE(VXMakeMolecularGaussianGrid(density, mol));
  const char* const types[] = {"gaussian", "gaussian-", "gaussian_smooth", "gaussian_smooth-"};
  for (unsigned int mode = 4; mode < 8; ++mode)
    for (const float c : {0.5f, 1.25f, density.GetValues()[36 + 3 * 99]}) {
      SCOPED_TRACE(testing::Message() << mode << " " << c);
      VXScalarGrid scalar = numbered();
      VXZemoGrid zemo(scalar), typed(scalar);
      EXPECT_TRUE(c == 0.5f ? VXMaskGridByMolecule(scalar, mol, mode)
                            : VXMaskGridByMolecule(scalar, mol, mode, c));
      EXPECT_TRUE(c == 0.5f ? VXMaskGridByMolecule(zemo, mol, mode)
                            : VXMaskGridByMolecule(zemo, mol, mode, c));
      EXPECT_EQ(1, vx_mask_grid(typed, mol, c, types[mode - 4]));
      unsigned int changed = 0;
      for (unsigned int i = 0; i < scalar.GetSize(); ++i) {
        const double expected = masked(mode, 2.0 + i, density.GetValues()[i], c);
        ASSERT_NEAR(scalar[i], expected, 3e-7 * (2.0 + i)) << i;  // floats
        ASSERT_EQ(zemo.GetValues()[i], scalar[i]);
        ASSERT_EQ(typed.GetValues()[i], scalar[i]);
        changed += scalar[i] != 2.0f + static_cast<float>(i);
      }
      EXPECT_GT(changed, 5u);
      EXPECT_EQ(scalar.GetType(), VXGridTypeRegularMap);
      EXPECT_EQ(scalar.GetData<float>("SIGMA"), 1.5f);
    }
}

TEST(MoleculeMask, Refusals) {
  CapturedLog log;
  VXScalarGrid grid = numbered();
  VXZemoGrid zemo(grid);
  VXGraphMol flat = two_atoms();
  flat.SetDimension(2);
  for (const unsigned int mode : {0u, 3u, 8u, ~0u}) {
    EXPECT_FALSE(VXMaskGridByMolecule(grid, two_atoms(), mode));
    EXPECT_FALSE(VXMaskGridByMolecule(zemo, two_atoms(), mode, 1));
  }
  EXPECT_EQ(log.text(), "");
  EXPECT_FALSE(VXMaskGridByMolecule(grid, VXGraphMol(), 4));
  EXPECT_FALSE(VXMaskGridByMolecule(grid, flat, 4));
  EXPECT_EQ(log.text(),
            "Warning: VXMaskGridByMolecule() : empty molecule!\n"
            "Warning: VXMaskGridByMolecule() : 3D molecule coordinates required!\n");
  for (const char* type : {"", "gaussian+", "Gaussian", "value+", "gaussian_smoot"})
    EXPECT_EQ(0, vx_mask_grid(zemo, two_atoms(), 1, type));
  EXPECT_EQ(0, vx_mask_grid(zemo, two_atoms(), 1, nullptr));
  const VXScalarGrid before = numbered();
  for (unsigned int i = 0; i < grid.GetSize(); ++i) {
    ASSERT_EQ(grid[i], before[i]);
    ASSERT_EQ(zemo.GetValues()[i], before[i]);
  }

  // The working grid takes an empty molecule for one without density, and a flat one as it is.
  EXPECT_TRUE(VXMaskGridByMolecule(zemo, flat, 4));
  EXPECT_TRUE(VXMaskGridByMolecule(zemo, VXGraphMol(), 5));
  EXPECT_THAT(values_of(zemo), testing::Each(0.0f));
  // One sample is no grid.
  VXScalarGrid one;
  one[0] = 3;
  EXPECT_TRUE(VXMaskGridByMolecule(one, two_atoms(), 5));
  EXPECT_EQ(one[0], 3);
}

TEST(MoleculeMask, BySpheres) {
  const float coords[] = {-1, 0, 0, 2, 0.5f, 0.1f}, radii[] = {1.5f, 2};
  VXZemoGrid density(numbered());
  std::fill_n(density.GetValues(), density.GetSize(), 0.0f);
  vx_make_gaussian_grid_explicit(coords, radii, nullptr, 2, 0, density, 0);
  for (const unsigned int mode : {4u, 5u, 6u, 7u, 9u}) {
    VXScalarGrid grid = numbered();
    EXPECT_EQ(VXMaskGridByCoordsAndRadii(grid, coords, radii, 2, mode), mode < 8);
    for (unsigned int i = 0; i < grid.GetSize(); ++i)
      ASSERT_NEAR(grid[i], mode > 7 ? 2.0 + i : masked(mode, 2.0 + i, density.GetValues()[i], 0.5),
                  3e-7 * (2.0 + i));
  }
  VXScalarGrid one;
  EXPECT_FALSE(VXMaskGridByCoordsAndRadii(one, coords, radii, 2, 4));
}

TEST(MoleculeMask, ByValueAndByGrid) {
  const std::vector<float> values = {-1, 0.5f, 2, kNan, 3};
  const VXZemoGrid mask = row({5, 4, kNan, 1, 4}), shorter = row({9, 9});
  const auto by_value = [&](const char* type) {
    VXZemoGrid grid = row(values);
    EXPECT_EQ(1, vx_mask_grid(grid, 0.5f, type));
    return values_of(grid);
  };
  const auto by_grid = [&](const VXZemoGrid& other, const char* type) {
    VXZemoGrid grid = row(values);
    EXPECT_EQ(1, vx_mask_grid(grid, other, 4, type));
    return values_of(grid);
  };
  using testing::IsNan;
  EXPECT_THAT(by_value("value+"), ElementsAre(-1, 0.5f, 0, IsNan(), 0));
  EXPECT_THAT(by_value("value-"), ElementsAre(0, 0.5f, 2, IsNan(), 3));
  EXPECT_THAT(by_grid(mask, "grid+"), ElementsAre(0, 0.5f, 2, IsNan(), 3));
  EXPECT_THAT(by_grid(mask, "grid-"), ElementsAre(-1, 0.5f, 2, 0, 3));
  EXPECT_THAT(by_grid(shorter, "grid+"), ElementsAre(0, 0, 2, IsNan(), 3));
  VXZemoGrid empty;
  EXPECT_EQ(1, vx_mask_grid(empty, 1, "value+"));
  for (const char* type : {"value", "grid+", "value++", "Value+", ""})
    EXPECT_EQ(0, vx_mask_grid(empty, 1, type));
  EXPECT_EQ(0, vx_mask_grid(empty, mask, 1, "value+"));
  EXPECT_EQ(0, vx_mask_grid(empty, mask, 1, nullptr));
}
