#include <vxgrid/molgrid/molecule_mask.h>

#include <cmath>
#include <numeric>

#include <vxgrid/grid/zemogrid.h>
#include <vxgrid/molgrid/molecular_grid.h>

#include "grid/grid_support.h"
#include "realspace/model.h"
#include "support/support.h"

using namespace VXCore;
using testing::ElementsAre;

namespace {

VXGraphMol two_atoms() {
  VXGraphMol mol;
  for (const float x : {-1.0f, 1.5f}) add_atom(mol, 6, x, 0.3f, 0);
  return mol;
}

/// 2, 3, 4, ... on 11 x 9 x 7 points, of type 3 and with an attribute.
VXScalarGrid numbered() {
  VXScalarGrid grid = regular_grid(11, 9, 7, 0.9f, 0.25f);
  std::iota(grid.GetValues(), grid.GetValues() + grid.GetSize(), 2.0f);
  grid.SetType(VXGridTypeRegularMap);
  grid.SetData<float>("SIGMA", 1.5f);
  return grid;
}

VXZemoGrid row(std::vector<float> values) {
  return VXZemoGrid(VXScalarGrid(static_cast<int>(values.size()), 1, 1, 0, 0, 0, 1, "", values.data()));
}

/// What a mode makes of v where the density is m.
double masked(unsigned int mode, double v, double m, double c) {
  if (mode < 6) return (mode == 4 ? m > c : m < c) ? 0 : v;
  return v * (mode == 6 ? std::exp(-c * m) : 1 - std::exp(-c * m));
}

}  // namespace

TEST(MoleculeMask, EveryModeAndEntry) {
  const VXGraphMol mol = two_atoms();
  const float coords[] = {-1, 0, 0, 2, 0.5f, 0.1f}, radii[] = {1.5f, 2};
  VXZemoGrid density(numbered());
  std::fill_n(density.GetValues(), density.GetSize(), 0.0f);
  VXZemoGrid of_spheres(density);
  ASSERT_TRUE(VXMakeMolecularGaussianGrid(density, mol));
  vx_make_gaussian_grid_explicit(coords, radii, nullptr, 2, 0, of_spheres, 0);
  const char* const types[] = {"gaussian", "gaussian-", "gaussian_smooth", "gaussian_smooth-"};
  for (unsigned int mode = 4; mode < 8; ++mode)
    for (const float c : {0.5f, 1.25f, density.GetValues()[36 + 3 * 99]}) {
      SCOPED_TRACE(testing::Message() << mode << " " << c);
      VXScalarGrid scalar = numbered(), spheres(scalar);
      VXZemoGrid zemo(scalar), typed(scalar);
      const auto by_molecule = [&](auto& grid) {
        return c == 0.5f ? VXMaskGridByMolecule(grid, mol, mode) : VXMaskGridByMolecule(grid, mol, mode, c);
      };
      EXPECT_TRUE(by_molecule(scalar) && by_molecule(zemo));
      EXPECT_EQ(1, vx_mask_grid(typed, mol, c, types[mode - 4]));
      EXPECT_TRUE(VXMaskGridByCoordsAndRadii(spheres, coords, radii, 2, mode));
      unsigned int changed = 0;
      for (unsigned int i = 0; i < scalar.GetSize(); ++i) {
        const double was = 2.0 + i, tolerance = 3e-7 * was;  // floats
        ASSERT_NEAR(scalar[i], masked(mode, was, density.GetValues()[i], c), tolerance) << i;
        ASSERT_NEAR(spheres[i], masked(mode, was, of_spheres.GetValues()[i], 0.5), tolerance) << i;
        changed += scalar[i] != static_cast<float>(was);
      }
      EXPECT_EQ(values_of(zemo), values_of(scalar));
      EXPECT_EQ(values_of(typed), values_of(scalar));
      EXPECT_GT(changed, 5u);
      EXPECT_EQ(scalar.GetType(), VXGridTypeRegularMap);
      EXPECT_EQ(scalar.GetData<float>("SIGMA"), 1.5f);
    }
}

TEST(MoleculeMask, Refusals) {
  CapturedLog log;
  const float coords[3] = {}, radius = 1.5f;
  VXScalarGrid grid = numbered(), one;
  VXZemoGrid zemo(grid);
  VXGraphMol flat = two_atoms();
  flat.SetDimension(2);
  for (const unsigned int mode : {0u, 3u, 8u, ~0u}) {
    EXPECT_FALSE(VXMaskGridByMolecule(grid, two_atoms(), mode));
    EXPECT_FALSE(VXMaskGridByMolecule(zemo, two_atoms(), mode, 1));
    EXPECT_FALSE(VXMaskGridByCoordsAndRadii(grid, coords, &radius, 1, mode));
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
  EXPECT_EQ(values_of(grid), values_of(numbered()));
  EXPECT_EQ(values_of(zemo), values_of(numbered()));

  // The working grid takes an empty molecule for one without density, and a flat one as it is.
  EXPECT_TRUE(VXMaskGridByMolecule(zemo, flat, 4));
  EXPECT_TRUE(VXMaskGridByMolecule(zemo, VXGraphMol(), 5));
  EXPECT_THAT(values_of(zemo), testing::Each(0.0f));
  one[0] = 3;
  EXPECT_TRUE(VXMaskGridByMolecule(one, two_atoms(), 5));
  EXPECT_FALSE(VXMaskGridByCoordsAndRadii(one, coords, &radius, 1, 4));
  EXPECT_EQ(one[0], 3) << "one sample is no grid";
}

TEST(MoleculeMask, ByValueAndByGrid) {
  const std::vector<float> values = {-1, 0.5f, 2, NAN, 3};
  const VXZemoGrid mask = row({5, 4, NAN, 1, 4}), shorter = row({9, 9});
  const auto by = [&](const char* type, const VXZemoGrid* other = nullptr) {
    VXZemoGrid grid = row(values);
    EXPECT_EQ(1, other ? vx_mask_grid(grid, *other, 4, type) : vx_mask_grid(grid, 0.5f, type));
    return values_of(grid);
  };
  using testing::IsNan;
  EXPECT_THAT(by("value+"), ElementsAre(-1, 0.5f, 0, IsNan(), 0));
  EXPECT_THAT(by("value-"), ElementsAre(0, 0.5f, 2, IsNan(), 3));
  EXPECT_THAT(by("grid+", &mask), ElementsAre(0, 0.5f, 2, IsNan(), 3));
  EXPECT_THAT(by("grid-", &mask), ElementsAre(-1, 0.5f, 2, 0, 3));
  EXPECT_THAT(by("grid+", &shorter), ElementsAre(0, 0, 2, IsNan(), 3));
  VXZemoGrid empty;
  EXPECT_EQ(1, vx_mask_grid(empty, 1, "value+"));
  for (const char* type : {"value", "grid+", "value++", "Value+", "", static_cast<const char*>(nullptr)})
    EXPECT_EQ(0, vx_mask_grid(empty, 1, type));
  EXPECT_EQ(0, vx_mask_grid(empty, mask, 1, "value+"));
}
