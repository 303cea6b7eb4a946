#include <vxgrid/processing/thinning.h>

#include <algorithm>
#include <cmath>
#include <random>

#include <vxgrid/grid/skewgrid.h>

#include "lattices.h"
#include "plain_thinning.h"
#include "support/support.h"

using namespace VXCore;

namespace {

VXScalarGrid empty_grid(int x, int y, int z) { return VXScalarGrid(x, y, z, 1, -2, 3, 0.5f, "", nullptr); }

/// Points at random, or balls of up to 9 points across until `fill` of the points belongs to one; the
/// outermost layer is no exception.
VXScalarGrid random_object(int x, int y, int z, double fill, bool balls, unsigned seed) {
  VXScalarGrid grid = empty_grid(x, y, z);
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> uniform(0, 1);
  const float kinds[] = {1, -3, 1e-40f, NAN, 10, 20};
  double wanted = fill * grid.GetSize();
  if (!balls) {
    for (unsigned int i = 0; i < grid.GetSize(); ++i)
      grid[i] = uniform(random) < fill ? kinds[random() % 6] : -0.0f;
    return grid;
  }
  while (wanted > 0) {
    const double c[] = {uniform(random) * x, uniform(random) * y, uniform(random) * z, uniform(random) * 4.5};
    for (unsigned int i = 0; i < grid.GetSize(); ++i) {
      unsigned int at[3];
      at[0] = i % grid.GetXDim(), at[1] = i / grid.GetXDim() % grid.GetYDim();
      at[2] = i / grid.GetXDim() / grid.GetYDim();
      if (std::hypot(at[0] - c[0], at[1] - c[1], at[2] - c[2]) > c[3] || grid[i] != 0) continue;
      grid[i] = 1;
      --wanted;
    }
  }
  return grid;
}

}  // namespace

TEST(Thinning, AsTheSweeps) {
  const int dims[][3] = {{3, 3, 3},    {3, 50, 4},   {40, 3, 9},  {9, 40, 3},  {61, 8, 9},
                         {63, 12, 7},  {64, 9, 11},  {65, 11, 9}, {66, 8, 13}, {67, 13, 10},
                         {127, 9, 11}, {128, 12, 9}, {130, 9, 14}};
  unsigned seed = 0;
  for (const auto& d : dims)
    for (const double fill : {0.05, 0.15, 0.3, 0.6})
      for (const bool balls : {false, true}) {
        SCOPED_TRACE(testing::Message() << d[0] << " " << d[1] << " " << d[2] << " " << fill << " " << balls);
        VXScalarGrid grid = random_object(d[0], d[1], d[2], fill, balls, ++seed), plain = grid;
        VXSkewGrid skew(grid);
        const int rounds = plain_thinning(plain);
        EXPECT_EQ(VXThinGrid(grid), rounds);
        EXPECT_EQ(values_of(grid), values_of(plain));
        EXPECT_EQ(VXThinGrid(skew), rounds);
        EXPECT_EQ(values_of(skew), values_of(plain));
      }
}
