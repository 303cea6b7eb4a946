#include <vxgrid/processing/interpolation.h>

#include <cmath>
#include <cstring>
#include <tuple>

#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/host/molecule.h>
#include <vxgrid/processing/between_grids.h>
#include <vxgrid/processing/regularize.h>
#include <vxgrid/xtal/unit_cell.h>

#include "processing/lattices.h"
#include "support/support.h"

using namespace VXCore;
using testing::Each;
using testing::ElementsAre;

namespace {

constexpr float kUntouched = -77;

std::vector<float> random_points(int n, float half_width, unsigned seed) {
  Lattice numbers(n, 3, 1, 1);
  for (float& v : numbers.randomize(seed).floats) v *= half_width;
  return numbers.floats;
}

// The quadratic value about cell c at t, the plain way, with the neighbours of the linear index.
float plain_quadratic(const GridStruct& g, int* c, float* t) {
  float w[3][3];
  for (int a = 0; a < 3; ++a) {
    if (t[a] > 0.5f) t[a] -= 1, c[a] += 1;
    w[a][0] = (t[a] * t[a] - t[a]) / 2 + 0.125f;
    w[a][1] = 0.75f - t[a] * t[a];
    w[a][2] = w[a][0] + t[a];
  }
  float sum = 0;
  for (int k = 0; k < 3; ++k)
    for (int j = 0; j < 3; ++j)
      for (int i = 0; i < 3; ++i)
        sum += w[0][i] * w[1][j] * w[2][k] *
               g.floats[c[0] + i - 1 + g.xdim * (c[1] + j - 1 + g.ydim * (c[2] + k - 1))];
  return sum;
}

// One value at a point, the plain way: kernel 0 trilinear, 1 quadratic, 2 nearest point.
void plain_value(const GridStruct& g, const float* p, int kernel, float* out) {
  const float mid[3] = {g.xmid, g.ymid, g.zmid}, s = 1 / g.spacing, margin = kernel == 1 ? g.spacing / 2 : 0;
  const int dim[3] = {g.xdim, g.ydim, g.zdim};
  int c[3];
  float t[3];
  for (int a = 0; a < 3; ++a) {
    const float h = static_cast<float>(dim[a] - 1) * g.spacing / 2, lo = mid[a] - h, cells = (2 * h) * s;
    const float hi = static_cast<float>(mid[a] + h - 0.5 * (cells - std::trunc(cells)));
    if (!(p[a] > lo + margin && p[a] < hi - margin)) return;
    const float f = (p[a] - lo) * s;
    c[a] = static_cast<int>(f);
    t[a] = f - static_cast<float>(c[a]);
    if (c[a] == dim[a] - 1) c[a] = dim[a] - 2;
  }
  if (kernel == 0) *out = plain_trilinear(g, c, t);
  if (kernel == 1) *out = plain_quadratic(g, c, t);
  if (kernel == 2)
    *out = g.floats[c[0] + (t[0] > 0.5f) + g.xdim * (c[1] + (t[1] > 0.5f) + g.ydim * (c[2] + (t[2] > 0.5f)))];
}

}  // namespace

TEST(Interpolation, NineKindsHaveTheBitsOfThePlainLoop) {
  const std::tuple<int, int, int, float, float> lattices[] = {
      {9, 7, 5, 0.5f, 0}, {30, 21, 12, 0.31f, -1.7f}, {2, 2, 2, 3, 0}, {4, 1, 4, 1, 0}};
  for (const auto& [x, y, z, spacing, mid] : lattices) {
    Lattice lattice(x, y, z, spacing, mid, -mid, 2 * mid);
    lattice.randomize(5);
    std::vector<float> points = random_points(3000, 5, 6);
    for (int i = 0; i < x * y * z && i < 500; ++i) {  // lattice points and those half-way between
      const float half = i % 2 ? spacing / 2 : 0;
      for (const float p : {lattice.x(i % x), lattice.y(i / x % y), lattice.z(i / x / y)})
        points.push_back(p + half);
    }
    const int n = static_cast<int>(points.size() / 3);
    std::vector<double> doubles(points.begin(), points.end());
    std::vector<float> records(std::size_t{9} * n, NAN);
    for (int i = 0; i < n; ++i) std::copy_n(&points[3 * i], 3, &records[9 * i]);
    void* const layouts[3] = {records.data(), points.data(), doubles.data()};
    for (int kind = 0; kind < 9; ++kind) {
      const int kernel = kind < 6 ? kind % 2 : 2, layout = kind < 6 ? kind / 2 : kind - 6;
      std::vector<float> expected(n, kUntouched), out = expected;
      for (int i = 0; i < n; ++i) plain_value(lattice.grid, &points[3 * i], kernel, &expected[i]);
      vi_map_to_atoms_from_grid(layouts[layout], n, out.data(), lattice.grid, kind);
      EXPECT_EQ(std::memcmp(out.data(), expected.data(), 4 * out.size()), 0)
          << "kind " << kind << " on " << x;
    }
  }
}

// The B-spline turns x^2 into x^2 + spacing^2 / 4, of slope 2 x.
TEST(Interpolation, DerivativesInClosedForm) {
  constexpr int n = 200;
  Lattice lattice(20, 20, 20, 0.5f);
  std::vector<float> p = random_points(n, 4, 7), out(n), slope(3 * n);
  vx_set_grid_values_by_function(lattice.grid,
                                 [](float x, float y, float z) { return x * x - 3 * y + 5 * z; });
  vi_quadratic_interpolation_and_derivativates(p.data(), n, out.data(), slope.data(), lattice.grid);
  for (int i = 0; i < n; ++i) {
    EXPECT_NEAR(out[i], p[3 * i] * p[3 * i] + 0.0625f - 3 * p[3 * i + 1] + 5 * p[3 * i + 2], 3e-5);
    const float expected[3] = {2 * p[3 * i], -3, 5};
    for (int a = 0; a < 3; ++a) EXPECT_NEAR(slope[3 * i + a], expected[a], 2e-4);
  }
}

TEST(Interpolation, DerivativeForm) {
  VXScalarGrid grid(7, 6, 5, 0, 0, 0, 0.8f, "", nullptr);
  for (unsigned i = 0; i < grid.GetSize(); ++i) grid[i] = static_cast<float>((i * 37) % 11);
  const float xyz[] = {0.1f, -0.3f, 0.2f, 99, 0, 0, 0.41f, 0.39f, 0.8f};
  float out[3], slope[9] = {0, 0, 0, kUntouched, kUntouched, kUntouched};
  CapturedLog log;
  ASSERT_TRUE(VXQuadraticInterpolationAndDerivatives(grid, xyz, 3, out, slope));
  EXPECT_EQ(log.text(), "Warning: 1 points not inside of map.\n");
  EXPECT_EQ(out[1], 0);
  EXPECT_THAT(std::vector<float>(slope + 3, slope + 6), Each(kUntouched));
  EXPECT_FALSE(VXQuadraticInterpolationAndDerivatives(VXScalarGrid(), xyz, 3, out, slope));

  VXGraphMol mol;
  for (int i = 0; i < 3; ++i) mol.SetCoords(mol.AddAtom(6), xyz + 3 * i);
  std::vector<float> at_atoms, slopes;
  ASSERT_TRUE(VXQuadraticInterpolationAndDerivatives(grid, mol, at_atoms, slopes));
  EXPECT_THAT(at_atoms, ElementsAre(out[0], 0, out[2]));
  EXPECT_EQ(slopes[8], slope[8]);
}

// Both ways to the same value: the point kernels, themselves held to the plain loop, at the target's points.
TEST(BetweenGrids, SamplesInsideAndLeavesTheRest) {
  Lattice source(9, 8, 7, 0.5f);
  source.randomize(9);
  for (const float shift : {0.05f, 1.5f, -1.5f})  // inside, and sticking out on either side
    for (int mode = 0; mode < 6; ++mode) {
      Lattice target(11, 9, 7, 0.25f, shift, shift, shift);
      vi_constant_grid(target.grid, kUntouched);
      vi_int_btw_grids(source.grid, target.grid, mode);
      for (int i = 0; i < 11 * 9 * 7; ++i) {
        const int x = i % 11, y = i / 11 % 9, z = i / 99;
        const bool is_face = x == 0 || x == 10 || y == 0 || y == 8 || z == 0 || z == 6;
        float p[3] = {target.x(x), target.y(y), target.z(z)}, trilinear = kUntouched, expected = kUntouched;
        vi_map_to_atoms_from_grid(p, 1, &trilinear, source.grid, 2);
        if (mode % 3 == 2 || is_face == (mode % 3 == 0)) {
          expected = trilinear;
          if (mode > 2) vi_map_to_atoms_from_grid(p, 1, &expected, source.grid, 3);
        }
        // The outer half cell of the quadratic kernel: see NeighboursByLinearIndex.
        if (mode > 2 && expected == trilinear && expected != kUntouched) continue;
        EXPECT_NEAR(target.floats[i], expected, 2e-5) << "mode " << mode << " at " << i;
      }
    }
}

// The trilinear kernel as a plain loop over the points, which spread what is not finite alike.
TEST(BetweenGrids, SameBitsAsPointByPoint) {
  Lattice source(9, 8, 7, 0.5f);
  source.randomize(3);
  source.floats[200] = NAN, source.floats[301] = INFINITY, source.floats[302] = -INFINITY;
  for (const float spacing : {0.11f, 0.46f, 0.7f}) {  // some cells hold several points, some none
    Lattice target(4, 5, 3, spacing, 0.3f, 0.1f, -0.2f);
    vi_int_btw_grids(source.grid, target.grid, 2);
    const auto walk = [spacing](float mid, int dim, int source_dim, int i) {
      float p = mid - static_cast<float>(dim - 1) * spacing * 0.5f;
      while (i-- > 0) p += spacing;
      return (p + static_cast<float>(source_dim - 1) * 0.25f) / 0.5f;
    };
    for (int i = 0; i < 60; ++i) {
      const float f[3] = {walk(0.3f, 4, 9, i % 4), walk(0.1f, 5, 8, i / 4 % 5), walk(-0.2f, 3, 7, i / 20)};
      const int c[3] = {static_cast<int>(f[0]), static_cast<int>(f[1]), static_cast<int>(f[2])};
      float t[3];
      for (int a = 0; a < 3; ++a) t[a] = f[a] - static_cast<float>(c[a]);
      const float expected = plain_trilinear(source.grid, c, t);
      EXPECT_TRUE(target.floats[i] == expected || (std::isnan(expected) && std::isnan(target.floats[i])))
          << i;
    }
  }
}

// In the first row of an inner plane the quadratic kernel takes its neighbours from the row before; where
// they would leave the block it writes 0.
TEST(BetweenGrids, NeighboursByLinearIndex) {
  Lattice source(5, 4, 4, 1), one(1, 1, 1, 1, source.x(0), source.y(2), source.z(1));
  source.number();
  vi_int_btw_grids(source.grid, one.grid, 5);
  EXPECT_FLOAT_EQ(one.floats[0], 30) << "the field is linear in the index";
  one.grid.zmid = source.z(0);
  vi_int_btw_grids(source.grid, one.grid, 5);
  EXPECT_EQ(one.floats[0], 0);
}

TEST(BetweenGrids, EdgesOfTheRequest) {
  Lattice source(5, 5, 5, 1), same(5, 5, 5, 1), one(1, 1, 1, 1, 0.25f);
  vx_set_grid_values_by_function(source.grid, [](float x, float y, float z) { return x + 2 * y + 4 * z; });
  vi_int_btw_grids(source.grid, same.grid, 2);
  EXPECT_NEAR(same.floats[124], 14, 2e-4) << "identical lattices are walked with 0.99999 of the spacing";
  EXPECT_NE(same.floats[124], 14);
  for (const int mode : {-1, 0, 6}) vi_int_btw_grids(source.grid, one.grid, mode);
  EXPECT_EQ(one.floats[0], 0.25f) << "a face of one point is visited once; modes beyond 0 to 5 write nothing";
}

// Spacings whose inverse, or spans, no float holds: no access outside the lattice, whatever comes out.
TEST(Interpolation, NumbersWithoutEnd) {
  Lattice source(5, 5, 5, 1), odd(5, 5, 5, 1);
  std::vector<float> points = random_points(300, 2, 8), out(300);
  points[3] = NAN;
  points[6] = INFINITY;
  for (const float spacing : {0.0f, 1e-40f, 1e38f, INFINITY, NAN, -1.0f}) {
    odd.grid.spacing = spacing;
    for (const float scale : {1.0f, 1e-20f, 1e-20f}) {
      for (float& p : points) p *= scale;
      for (int kind : {2, 3, 7, 9}) vi_map_to_atoms_from_grid(points.data(), 300, out.data(), odd.grid, kind);
    }
    for (int mode = 0; mode < 6; ++mode) {
      vi_int_btw_grids(source.grid, odd.grid, mode);
      vi_int_btw_grids(odd.grid, source.grid, mode);
    }
  }
}

namespace {

// A map of 7 x 6 x 9 samples of random values with steps along the edges of a triclinic cell.
VXSkewGrid triclinic_map(bool wraps) {
  VXSkewGrid map;
  map.SetDim(7, 6, 9);
  map.SetUnitCell(6.6f, 6, 10.4f, 75, 98, 110, 6, 5, 8);
  map.SetMid(3, -2, 1);
  map.SetReentrant(wraps);
  Lattice numbers(7, 6, 9, 1);
  map.SetValues(numbers.randomize(11).floats.data(), 7 * 6 * 9);
  return map;
}

}  // namespace

TEST(Interpolate, MapsHaveTheBitsOfTheRegulariser) {
  for (const bool wraps : {false, true}) {
    SCOPED_TRACE(wraps);
    const VXSkewGrid map = triclinic_map(wraps);
    // Of a periodic source only the first point of a row is placed by its own coordinates.
    const float center[3] = {2.5f, -1.5f, 0.5f}, extents[3] = {wraps ? 0 : 14.0f, 14, 14};
    VXScalarGrid regular;
    ASSERT_TRUE(VXMakeRegularSubGrid(regular, map, center, extents, 0.4f, wraps));
    const unsigned int dim[3] = {regular.GetXDim(), regular.GetYDim(), regular.GetZDim()};
    std::vector<float> points;
    const auto low = [&](int a) { return center[a] - static_cast<float>(dim[a] - 1) * 0.4f * 0.5f; };
    float z = low(2);
    for (unsigned int k = 0; k < dim[2]; ++k, z += 0.4f) {
      float y = low(1);
      for (unsigned int j = 0; j < dim[1]; ++j, y += 0.4f) {
        float x = low(0);
        for (unsigned int i = 0; i < dim[0]; ++i, x += 0.4f) points.insert(points.end(), {x, y, z});
      }
    }
    std::vector<float> values(regular.GetSize()), narrowed(values.size());
    const std::size_t held =
        VXInterpolate(map, points.data(), values.size(), VXInterpolation::Linear, 0, values.data());
    EXPECT_TRUE(wraps ? held == values.size() : held > 3000 && held < values.size());
    // Rounding can keep the regulariser off the last cell.
    std::size_t reached = 0;
    for (unsigned int i = 0; i < values.size(); ++i) {
      if (regular[i] == 0) continue;
      ++reached;
      EXPECT_EQ(values[i], regular[i]) << i;
    }
    EXPECT_GT(reached, held * 3 / 4);
    const std::vector<double> doubles(points.begin(), points.end());
    VXInterpolate(map, doubles.data(), values.size(), VXInterpolation::Linear, 0, narrowed.data());
    EXPECT_EQ(narrowed, values);
  }
}

TEST(Interpolate, HoldsEverySampleUpToTheFaces) {
  VXSkewGrid map = triclinic_map(false);
  const VXZemoGrid& inner = map.GetImpl().GetImpl();
  std::vector<float> points, values(map.GetSize());
  ASSERT_TRUE(inner.SpatialCoords(points));
  for (const VXInterpolation method : {VXInterpolation::Nearest, VXInterpolation::Linear}) {
    EXPECT_EQ(VXInterpolate(map, points.data(), values.size(), method, -77, values.data()), values.size());
    for (unsigned int i = 0; i < map.GetSize(); ++i) EXPECT_NEAR(values[i], map.GetValues()[i], 5e-5) << i;
  }
  // The quadratic kind has no neighbours at the faces: 5 x 4 x 7 samples are left.
  EXPECT_EQ(VXInterpolate(map, points.data(), values.size(), VXInterpolation::Quadratic, -77, values.data()),
            5u * 4 * 7);
  EXPECT_EQ(values[0], -77);
  const float bad[6] = {std::nanf(""), 0, 0, 0, HUGE_VALF, 0};
  for (const bool wraps : {false, true}) {
    map.SetReentrant(wraps);
    EXPECT_EQ(VXInterpolate(map, bad, 2, VXInterpolation::Linear, -77, values.data()), 0u);
    EXPECT_EQ(values[0], -77);
  }
  VXScalarGrid flat(5, 1, 5, 0, 0, 0, 1, "", nullptr);
  EXPECT_EQ(VXInterpolate(flat, points.data(), 1, VXInterpolation::Nearest, -77, values.data()), 0u);
}

TEST(Interpolate, RepeatsWithThePeriodInEveryMethod) {
  VXSkewGrid map = triclinic_map(true);
  // The last planes are the images of the first.
  const auto at = [&](int x, int y, int z) -> float& { return map.GetValues()[x + 7 * (y + 6 * z)]; };
  for (int z = 0; z < 9; ++z)
    for (int y = 0; y < 6; ++y)
      for (int x = 0; x < 7; ++x) at(x, y, z) = at(x % 6, y % 5, z % 8);
  const int n = 500;
  std::vector<float> points = random_points(n, 9, 12), moved = points;
  const VXXtal::VXUnitCell cell(6.6f, 6, 10.4f, 75, 98, 110);
  const int cells[3] = {1, -2, 1};
  for (int i = 0; i < 3 * n; ++i)
    for (int a = 0; a < 3; ++a) moved[i] += static_cast<float>(cells[a]) * cell.frac2cart[4 * a + i % 3];
  for (const VXInterpolation method : {VXInterpolation::Linear, VXInterpolation::Quadratic}) {
    std::vector<float> values(n), there(n), gradients(3 * n), gradients_there(3 * n);
    VXInterpolate(map, points.data(), n, method, -77, values.data(), gradients.data());
    VXInterpolate(map, moved.data(), n, method, -77, there.data(), gradients_there.data());
    EXPECT_THAT(there, testing::Pointwise(testing::FloatNear(1e-4f), values));
    if (method == VXInterpolation::Linear) continue;  // has another gradient in every cell
    EXPECT_THAT(gradients_there, testing::Pointwise(testing::FloatNear(1e-3f), gradients));
  }
}

TEST(Interpolate, GradientsAreSlopesInTheWorld) {
  const VXSkewGrid map = triclinic_map(false);
  const int n = 400;
  const float h = 1e-2f;
  for (const VXInterpolation method : {VXInterpolation::Linear, VXInterpolation::Quadratic}) {
    std::vector<float> points = random_points(n, 1.2f, 13);
    for (int i = 0; i < n; ++i) points[3 * i] += 3, points[3 * i + 1] -= 2, points[3 * i + 2] += 1;
    std::vector<float> values(n), gradients(3 * n), low(n), high(n);
    VXInterpolate(map, points.data(), n, method, -77, values.data(), gradients.data());
    int smooth = 0, close = 0;
    for (int a = 0; a < 3; ++a) {
      std::vector<float> below = points, above = points;
      for (int i = 0; i < n; ++i) below[3 * i + a] -= h, above[3 * i + a] += h;
      VXInterpolate(map, below.data(), n, method, -77, low.data());
      VXInterpolate(map, above.data(), n, method, -77, high.data());
      for (int i = 0; i < n; ++i) {
        if (values[i] == -77 || low[i] == -77 || high[i] == -77) continue;
        ++smooth;
        close += std::fabs((high[i] - low[i]) / (2 * h) - gradients[3 * i + a]) < 5e-3f;
      }
    }
    // Where a difference straddles two cells, the linear kind has a kink.
    EXPECT_GT(smooth, 1000);
    EXPECT_GT(close, method == VXInterpolation::Linear ? smooth * 9 / 10 : smooth * 99 / 100);
  }
}
