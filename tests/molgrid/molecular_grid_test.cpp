#include <vxgrid/molgrid/molecular_grid.h>

#include <cstring>
#include <numeric>
#include <random>

#include <vxgrid/gaussian/gaussian_width.h>
#include <vxgrid/gaussian/gsphere.h>
#include <vxgrid/host/zemomol.h>

#include "processing/lattices.h"
#include "support/support.h"

using namespace VXCore;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

constexpr int kSum = 2, kProduct = 4;
const double kPi = std::acos(-1.0);

/// exp(-a (i^2 - 2 d i)) by the recurrence, e = exp(2 d a).
float factor(int i, float q, float e) {
  float t = 1, s = q;
  for (int step = std::abs(i); step > 0; --step, s *= q * q) t = t * (i > 0 ? e : 1 / e) * s;
  return t;
}

/// The evaluation point by point over the whole lattice, without clipping, for a ball with exp in float, a
/// box with exp in double. False when the cut-off sphere misses the lattice.
template <class Exp>
bool plain_gaussian(const GridStruct& grid, const Gsphere& g, int mode, bool ball, Exp exp) {
  const float c[3] = {g.x, g.y, g.z}, h = grid.spacing, a = g.width * h * h, q = static_cast<float>(exp(-a));
  float low[3], high[3], d2 = 0, e[3];
  int nearest[3];
  vi_get_grid_limits(grid, &low[0], &low[1], &low[2], &high[0], &high[1], &high[2]);
  for (int axis = 0; axis < 3; ++axis) {
    if (c[axis] + g.radius < low[axis] || c[axis] - g.radius > high[axis]) return false;
    const float f = (c[axis] - low[axis]) / h, d = f - std::round(f);
    nearest[axis] = static_cast<int>(std::round(f));
    d2 += d * d;
    e[axis] = static_cast<float>(exp(2 * d * a));
  }
  const float reach = std::sqrt(d2) + g.radius / h,
              amplitude = static_cast<float>(g.prefactor * exp(-a * d2));
  const int n = static_cast<int>(reach), n2 = static_cast<int>(reach * reach);
  for (int z = 0, at = 0; z < grid.zdim; ++z)
    for (int y = 0; y < grid.ydim; ++y)
      for (int x = 0; x < grid.xdim; ++x, ++at) {
        const int k = z - nearest[2], j = y - nearest[1], i = x - nearest[0];
        if (std::max({std::abs(i), std::abs(j), std::abs(k)}) > n || (ball && i * i + j * j + k * k > n2))
          continue;
        const float v = amplitude * factor(k, q, e[2]) * factor(j, q, e[1]) * factor(i, q, e[0]);
        grid.floats[at] = mode == kSum ? grid.floats[at] + v : grid.floats[at] * (1 - v);
      }
  return true;
}

bool same_bits(const float* a, const std::vector<float>& b) {
  return std::memcmp(a, b.data(), b.size() * sizeof(float)) == 0;
}

/// Gaussians of radii up to 5 Å in a box of this half edge, in all forms; p is not 0.
struct Gaussians {
  Gaussians(int n, float half, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> place(-half, half), radius(0.05f, 5), height(-1, 3);
    for (int i = 0; i < n; ++i) {
      const float x = place(random), y = place(random), z = place(random);
      radii.push_back(radius(random));
      widths.push_back(2.344229f / (radii[i] * radii[i]));
      prefactors.push_back(height(random));
      atoms.push_back({x, y, z, {}});
      coords.insert(coords.end(), {x, y, z});
      spheres.push_back({widths[i], x, y, z, prefactors[i], 0, 0, 0});
    }
  }
  std::vector<PdbStruct> atoms;
  std::vector<Gsphere> spheres;
  std::vector<float> coords, radii, widths, prefactors;
};

/// Atoms on a line in the xy plane, by x and radius.
VXGraphMol molecule(const std::vector<std::pair<float, double>>& atoms) {
  VXGraphMol mol;
  for (const auto& [x, radius] : atoms) {
    VXAtomBase* const atom = mol.AddAtom(8);
    const float xyz[3] = {x, 0.5f * x, 0};
    mol.SetCoords(atom, xyz);
    atom->SetRadius(radius);
  }
  return mol;
}

}  // namespace

TEST(GaussGrid, SameBitsAsPlainLoop) {
  const std::tuple<int, int, int, float, float> rows[] = {
      {17, 23, 12, 0.5f, 7}, {41, 9, 30, 0.25f, 6}, {1, 1, 50, 0.3f, 8}, {3, 2, 5, 1, 4}, {7, 6, 5, 4, 20}};
  for (const auto& [nx, ny, nz, spacing, half] : rows)
    for (const int mode : {kSum, kProduct}) {
      SCOPED_TRACE(nx * 10 + mode);
      Lattice atoms(nx, ny, nz, spacing, 0.3f, -0.2f), spheres(nx, ny, nz, spacing, 0.3f, -0.2f),
          plain(nx, ny, nz, spacing, 0.3f, -0.2f);
      for (Lattice* values : {&atoms, &spheres, &plain}) values->randomize(5);
      Gaussians all(60, half, 7);
      vi_gauss_grid(0, 60, all.atoms.data(), all.widths.data(), all.prefactors.data(), 0.001f, mode,
                    atoms.grid, nullptr);
      vi_gauss_grid(0, 60, all.spheres.data(), nullptr, nullptr, 0.001f, mode, spheres.grid, nullptr);
      EXPECT_EQ(all.spheres[9].radius, vi_gauss_rad(all.prefactors[9], all.widths[9], 0.001f)) << "stored";
      if (mode == kProduct) vi_constant_grid(plain.grid, 1);
      for (const Gsphere& g : all.spheres) plain_gaussian(plain.grid, g, mode, true, vi_exp_f);
      if (mode == kProduct)
        for (float& v : plain.floats) v = 1 - v;
      EXPECT_TRUE(same_bits(atoms.floats.data(), plain.floats));
      EXPECT_TRUE(same_bits(spheres.floats.data(), plain.floats));
    }
}

TEST(GaussGrid, WhatNoLatticeHolds) {
  const float inf = INFINITY, nan = NAN;
  // How many points of 27 change: none, the nearest alone, or all, which become 1.
  const std::pair<Gsphere, int> rows[] = {
      {{1, nan, 0, 0, 1, 0, 0, 2}, 0},     {{1, 0, inf, 0, 1, 0, 0, 2}, 0},
      {{1, 0, 0, 0, 1, 0, 0, nan}, 0},     {{nan, 0, 0, 0, 1, 0, 0, 0}, 0},
      {{1, 0, 0, 0, 1, 0, 0, -9}, 0},      {{1, 3e9f, 0, 0, 1, 0, 0, 4e9f}, 0},
      {{1, -inf, 0, 0, 1, 0, 0, inf}, 0},  {{1, 1e5f, 0, 0, 1, 0, 0, 2e5f}, 0},
      {{-1, 0, 0, 0, 1, 0, 0, 0}, 1},      {{0, 0.2f, 0, 0, 1, 0, 0, 0}, 1},
      {{inf, 0, 0, 0, 1, 0, 0, 0}, 1},     {{0, 0, 0, 0, 1, 0, 0, 1e30f}, 27},
      {{1e-38f, 0, 0, 0, 1, 0, 0, 0}, 27}, {{1e-12f, 0, 0, 4e4f, 1, 0, 0, 5e4f}, 27},
      {{1e-9f, 0, 0, 0, 1, 0, 0, inf}, 27}};
  for (const auto& [gaussian, points] : rows) {
    Lattice lattice(3, 3, 3, 1);
    Gsphere g = gaussian;
    vi_gauss_grid(0, 1, &g, nullptr, nullptr, 0.001f, kSum, lattice.grid, nullptr);
    EXPECT_EQ(27 - std::count(lattice.floats.begin(), lattice.floats.end(), 0.0f), points)
        << g.x << " " << g.width;
    EXPECT_TRUE(points < 27 || std::fabs(lattice.floats[0] - 1) < 3e-3f);
    for (const float spacing : {0.0f, -1.0f, nan, inf}) {
      Lattice still(3, 3, 3, spacing);
      vi_gauss_grid(0, 1, &g, nullptr, nullptr, 0.001f, kSum, still.grid, nullptr);
      EXPECT_THAT(still.floats, Each(0));
    }
  }
}

TEST(MolecularGaussianGrid, LatticeAndFormerValues) {
  const VXGraphMol mol = molecule({{-1, 1.7}, {2, 1.5}});
  VXZemoGrid sized, once(VXScalarGrid(10, 10, 10, 0, 0, 0, 0.7f, "title", nullptr)), twice = once;
  ASSERT_TRUE(VXMakeMolecularGaussianGrid(sized, mol, 0.5f));
  EXPECT_TRUE(VXGridSameGeometry(sized, VXScalarGrid(25, 22, 19, 0.5f, 0.25f, 0, 0.5f, "", nullptr)));
  EXPECT_TRUE(VXMakeMolecularGaussianGrid(once, mol, 0.1f));
  EXPECT_TRUE(VXMakeMolecularGaussianGrid(twice, mol) && VXMakeMolecularGaussianGrid(twice, mol, 3));
  for (unsigned i = 0; i < 1000; ++i) EXPECT_FLOAT_EQ(twice.GetValues()[i], 2 * once.GetValues()[i]);

  VXScalarGrid plain(10, 10, 10, 0, 0, 0, 0.7f, "title", nullptr);
  for (int pass = 0; pass < 2; ++pass) {
    EXPECT_TRUE(VXMakeMolecularGaussianGrid(plain, mol));
    EXPECT_TRUE(same_bits(once.GetValues(), values_of(plain)));
  }
  EXPECT_TRUE(VXMakeMolecularGaussianGrid(plain, mol, 0.5f));
  EXPECT_TRUE(VXGridSameGeometry(plain, sized) && same_bits(sized.GetValues(), values_of(plain)));

  EXPECT_FALSE(VXMakeMolecularGaussianGrid(sized, VXGraphMol(), 0.5f));
  EXPECT_TRUE(same_bits(sized.GetValues(), values_of(plain))) << "as it was";
  EXPECT_FALSE(VXMakeMolecularGaussianGrid(plain, VXGraphMol(), 0.5f));
  EXPECT_EQ(plain.GetSize(), 1u) << "the empty grid is assigned";
}

TEST(MolecularGaussianGrid, RadiiAndProductForm) {
  const VXScalarGrid coarse(3, 3, 3, 0, 0, 0, 0.9f, "", nullptr);
  const double kappa = std::pow(2.7 * 3 * std::sqrt(kPi) / 4, 2 / 3.0);
  for (const double radius : {0.0, -1.0}) {
    const VXGraphMol mol = molecule({{0, radius}});
    VXZemoGrid grid(coarse);
    EXPECT_TRUE(VXMakeMolecularGaussianGrid(grid, mol));
    EXPECT_NEAR(grid.GetValues()[4], 2.7 * std::exp(-kappa * 0.81 / 1.6 / 1.6), 1e-5) << "1.6 Å of oxygen";
    EXPECT_EQ(VXIter<VXAtomBase>(mol.GetAtoms())->GetRadius(), radius) << "of the caller";
  }
  // With one radius above 0 the others stay: a radius of 0 puts 2.7 on one point.
  VXZemoGrid wide(VXScalarGrid(5, 5, 5, 0, 0, 0, 30, "", nullptr));
  EXPECT_TRUE(VXMakeMolecularGaussianGrid(wide, molecule({{0, 0}, {40, 1}})));
  EXPECT_EQ(std::accumulate(wide.GetValues(), wide.GetValues() + 125, 0.0f), 2.7f);
  // 1 - (1 - 2.7) at an atom, 1 - 1.7^2 at two in one place; former values go.
  for (const std::size_t atoms : {1, 2}) {
    EXPECT_EQ(vx_make_molecular_product_gaussian_grid(molecule({atoms, {0, 1}}), 0.1f, wide), 1);
    EXPECT_FLOAT_EQ(wide.GetValues()[62], atoms == 1 ? 2.7f : 1 - 1.7f * 1.7f);
  }
}

TEST(MolecularGaussianGrid, RefusesWhatNoGridHolds) {
  const std::pair<float, float> rows[] = {{1e6f, 0.5f}, {NAN, 0.5f}, {5, 0.0f}, {5, -1.0f}, {5, NAN}};
  for (const auto& [x, spacing] : rows) {
    CapturedLog log;
    VXZemoGrid grid, explicitly;
    const float coords[] = {x, 0, 0, 0, 0, 0}, radii[] = {1, 1};
    EXPECT_TRUE(VXMakeMolecularGaussianGrid(grid, molecule({{x, 1}, {0, 1}}), spacing));
    EXPECT_THAT(log.text(), HasSubstr(spacing > 0 ? "too large" : "spacing above 0"));
    const std::string once = log.text();
    if (!(spacing > 0)) {
      vx_make_gaussian_grid_explicit(coords, radii, nullptr, 2, spacing, explicitly, 0);
      EXPECT_EQ(log.text(), once + once);
    }
    EXPECT_EQ(grid.GetSize() * explicitly.GetSize(), 1u);
  }
}

TEST(ExplicitGaussianGrid, SameBitsAsPlainBoxes) {
  const Gaussians all(40, 6, 11);
  for (const bool widths : {true, false})
    for (const bool own : {true, false}) {
      VXZemoGrid grid(VXScalarGrid(22, 15, 19, 0, 0, 0, 0.4f, "", nullptr));
      Lattice plain(22, 15, 19, 0.4f);
      float last = 2.7f;  // the reach is that of the prefactor before
      for (int i = 0; i < 40; ++i) {
        Gsphere g = all.spheres[i];
        if (!own) g.prefactor = 2.7f;
        const double reach = std::sqrt(std::log(std::fabs(last) / double{0.001f}) / g.width);
        g.radius = widths ? static_cast<float>(reach) : all.radii[i];
        if (plain_gaussian(plain.grid, g, kSum, false, [](float x) { return std::exp(double{x}); }))
          last = g.prefactor;
      }
      vx_make_gaussian_grid_explicit(all.coords.data(), (widths ? all.widths : all.radii).data(),
                                     own ? all.prefactors.data() : nullptr, 40, 1, grid, widths);
      EXPECT_TRUE(same_bits(grid.GetValues(), plain.floats)) << widths << own;
    }
}

TEST(GridSize, OfGaussians) {
  float coords[] = {1, 2, 3, 4, 2, 2}, radii[] = {1, 1.5f}, widths[] = {2, 0.5f}, heights[] = {1, -3}, x, y,
        z;
  VXZemoGrid by_radius, by_width;
  vx_make_gaussian_grid_explicit(coords, radii, nullptr, 2, 0.4f, by_radius, 0);
  EXPECT_TRUE(VXGridSameGeometry(by_radius, VXScalarGrid(16, 8, 11, 2.5f, 2, 2.5f, 0.4f, "", nullptr)))
      << "3, 0, 1 and twice 1.5 Å";
  vx_make_gaussian_grid_explicit(coords, widths, heights, 2, 0.4f, by_width, 1);
  EXPECT_EQ(by_width.GetYDim(), 21u) << "2 sqrt(ln(3000) / 0.5) is 8.003";
  const auto size = [&](int n) {
    int dim[3];
    vi_grid_size(n, coords, widths, heights, 0.01f, 0.4f, &x, &y, &z, &dim[0], &dim[1], &dim[2]);
    return std::vector<int>(dim, dim + 3);
  };
  // 1.517 and 3.378 Å: x from -0.517 (and 0.622) to 7.378.
  EXPECT_THAT(size(2), ElementsAre(2 * 9 + 3, 2 * 8 + 3, 2 * 8 + 3));
  EXPECT_NEAR(x, (7.378 - 0.517) / 2, 1e-3);
  coords[0] = 3e38f;
  EXPECT_EQ(size(2)[0], std::numeric_limits<int>::max());
  EXPECT_THAT(size(0), Each(3));
}
