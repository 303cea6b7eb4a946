#include <cmath>
#include <cstring>
#include <random>

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/processing/grid_values.h>
#include <vxgrid/processing/make_grid.h>
#include <vxgrid/processing/skeletonize.h>
#include <vxgrid/processing/thinning.h>

#include "processing/lattices.h"
#include "processing/plain_blob.h"
#include "support/support.h"

using namespace VXCore;

namespace {

VXScalarGrid grid_of(int x, int y, int z, const std::vector<float>& values = {}) {
  return {x, y, z, 1, 2, 3, 0.5f, "a map", values.empty() ? nullptr : values.data()};
}

/// Values about 0 in runs of some points, and now and then not-a-number.
VXScalarGrid random_grid(int x, int y, int z, unsigned seed) {
  VXScalarGrid grid = grid_of(x, y, z);
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> value(-0.6f, 1);
  float last = 0;
  for (unsigned i = 0; i < grid.GetSize(); ++i) {
    if (random() % 3 == 0) last = random() % 20 == 0 ? NAN : value(random);
    grid[i] = last;
  }
  return grid;
}

bool same_bits(const VXScalarGrid& a, const VXScalarGrid& b) {
  return a.GetSize() == b.GetSize() && std::memcmp(a.GetValues(), b.GetValues(), 4ul * a.GetSize()) == 0;
}

}  // namespace

TEST(ExtractBlob, SamePointsAsTheWalkPointByPoint) {
  // Neighbours are known by their indices alone, which is meant: next to the end of a row are starts of
  // others.
  const int dims[][3] = {{7, 5, 4},  {64, 3, 3}, {65, 4, 5}, {1, 90, 3},  {130, 1, 1},
                         {1, 1, 70}, {2, 2, 90}, {1, 1, 1},  {300, 2, 2}, {20, 17, 13}};
  unsigned seed = 7;
  for (const auto& [x, y, z] : dims)
    for (const float level : {0.0f, 0.3f, 0.45f, 0.7f, VXLevelOfSeed, -0.5f, -0.0f, NAN, INFINITY})
      for (int turn = 0; turn < 4; ++turn) {
        VXScalarGrid grid = random_grid(x, y, z, seed), plain(grid);
        const unsigned at = 7919u * ++seed % grid.GetSize();
        SCOPED_TRACE(testing::Message() << x << " " << y << " " << z << " level " << level << " at " << at);
        const float used = level == VXLevelOfSeed ? grid[at] : level;
        CapturedLog log;
        EXPECT_TRUE(VXExtractBlob(grid, at, level));
        const unsigned cleared = plain_extract_blob(plain, at, level);
        EXPECT_TRUE(same_bits(grid, plain));
        EXPECT_EQ(log.text(), "gsize " + std::to_string(grid.GetSize()) + "\nThe contour level is " +
                                  std::to_string(used) + "\nKeeping " + std::to_string(cleared) + "\n");
      }
  VXScalarGrid grid = random_grid(3, 3, 1, 1), before(grid);
  CapturedLog log;
  EXPECT_FALSE(VXExtractBlob(grid, 9, 1));
  EXPECT_TRUE(same_bits(grid, before));
  EXPECT_EQ(log.text(), "Error: Index out of range of grid\n");
}

TEST(Skeletonize, ThresholdThenThinning) {
  const VXScalarGrid map = random_grid(14, 12, 10, 3);
  VXScalarGrid grid(map), thinned(map);
  for (unsigned i = 0; i < map.GetSize(); ++i)
    if (thinned[i] < map[100]) thinned[i] = 0;
  const int rounds = VXThinGrid(thinned);
  EXPECT_EQ(VXSkeletonizeGrid(grid, map[100]), rounds);
  EXPECT_TRUE(same_bits(grid, thinned) && VXGridSameGeometry(grid, map) && grid.GetTitle() == "a map");
}

TEST(Skeletonize, OnALatticeOfAnotherSpacing) {
  VXScalarGrid grid = random_grid(14, 12, 10, 4), by_steps;
  for (unsigned i = 0; i < grid.GetSize(); ++i) grid[i] = std::fabs(grid[i]) >= 0 ? std::fabs(grid[i]) : 0.5f;
  const float center[] = {1, 2, 3}, extents[] = {7, 6, 5};
  VXMakeGridFromCenterAndExtents(by_steps, center, extents, 0.4f);
  VXInterpolateBetweenGrids(by_steps, grid);
  EXPECT_EQ(VXSkeletonizeGrid(grid, 0.4f, 0.4f), VXSkeletonizeGrid(by_steps, 0.4f));
  EXPECT_TRUE(grid.GetXDim() == 18 && VXGridSameGeometry(grid, by_steps) && same_bits(grid, by_steps));

  // No such lattice: what is left is one sample, which thinning clears.
  for (const float spacing : {0.0f, NAN, 1e-9f}) {
    CapturedLog log;
    VXScalarGrid none = random_grid(5, 5, 5, 5);
    EXPECT_EQ(VXSkeletonizeGrid(none, 0.5f, spacing), 1) << spacing;
    EXPECT_THAT(values_of(none), testing::ElementsAre(0.0f));
  }
}
