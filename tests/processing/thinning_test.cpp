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

float& at(VXScalarGrid& grid, unsigned int x, unsigned int y, unsigned int z) {
  return grid[(z * grid.GetYDim() + y) * grid.GetXDim() + x];
}

void add_ball(VXScalarGrid& grid, double x, double y, double z, double radius) {
  for (unsigned int k = 0; k < grid.GetZDim(); ++k)
    for (unsigned int j = 0; j < grid.GetYDim(); ++j)
      for (unsigned int i = 0; i < grid.GetXDim(); ++i)
        if (std::hypot(i - x, j - y, k - z) < radius) at(grid, i, j, k) = 1;
}

}  // namespace

TEST(Thinning, AsTheSweeps) {
  const int dims[][3] = {{3, 3, 3},  {3, 50, 4},   {40, 3, 9},  {9, 40, 3},  {61, 8, 9},   {64, 9, 11},
                         {65, 4, 9}, {66, 13, 13}, {67, 9, 10}, {127, 9, 8}, {128, 12, 9}, {130, 9, 14}};
  const float kinds[] = {1, -3, 1e-40f, NAN, 10, 20};  // all set
  std::mt19937 random(1);
  for (const auto& d : dims)
    for (const unsigned int percent : {5, 15, 30, 60}) {
      SCOPED_TRACE(testing::Message() << d[0] << " " << d[1] << " " << d[2] << ", " << percent << " %");
      VXScalarGrid noise = empty_grid(d[0], d[1], d[2]), balls = noise;
      for (unsigned int i = 0; i < noise.GetSize(); ++i)
        noise[i] = random() % 100 < percent ? kinds[random() % 6] : -0.0f;
      const auto below = [&](unsigned int n) { return static_cast<double>(random() % n); };
      for (int ball = 0; ball < 8; ++ball)
        add_ball(balls, below(balls.GetXDim()), below(balls.GetYDim()), below(balls.GetZDim()),
                 1.1 + below(percent) / 10);
      for (VXScalarGrid* grid : {&noise, &balls}) {
        VXScalarGrid plain = *grid;
        VXSkewGrid skew(*grid);
        const int rounds = plain_thinning(plain);
        EXPECT_EQ(VXThinGrid(*grid), rounds);
        EXPECT_EQ(values_of(*grid), values_of(plain));
        EXPECT_EQ(VXThinGrid(skew), rounds);
        EXPECT_EQ(values_of(skew), values_of(plain));
      }
    }
}

TEST(Thinning, FlatGridsAreCleared) {
  const int flat[][3] = {{0, 3, 3}, {1, 1, 1}, {2, 5, 5}, {5, 2, 5}, {70, 5, 1}};
  for (const auto& d : flat) {
    VXScalarGrid grid = empty_grid(d[0], d[1], d[2]);
    std::fill_n(grid.GetValues(), grid.GetSize(), 1.0f);
    EXPECT_EQ(VXThinGrid(grid), 1);
    EXPECT_THAT(values_of(grid), testing::Each(0.0f));
  }
}
