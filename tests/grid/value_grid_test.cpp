#include <cmath>
#include <memory>
#include <new>
#include <random>

#include <vxgrid/grid/multi_grid.h>
#include <vxgrid/grid/scalargrid.h>

#include "grid/grid_support.h"
#include "support/support.h"

using namespace VXCore;

TEST(ValueGrid, NearestSampleOfACoordinate) {
  const VXScalarGrid four(4, 1, 1, 0.0f, 0.0f, 0.0f, 1.0f, "", nullptr);  // at -1.5, -0.5, 0.5, 1.5
  const float rows[][2] = {{-1.0e30f, 0}, {-1.5f, 0},   {-0.5f, 1},    {0.0f, 2},      {-0.001f, 1},
                           {1.0f, 3},     {1.0e30f, 3}, {INFINITY, 3}, {-INFINITY, 0}, {NAN, 0}};
  for (const auto& [x, idx] : rows) EXPECT_EQ(four.GetXIdx(x), idx) << x;

  // Any lattice and place: no other sample is nearer, by more than what float can tell apart.
  std::mt19937 random(7);
  std::uniform_real_distribution<float> place(-30.0f, 30.0f), step(0.1f, 2.0f);
  for (int i = 0; i < 2000; ++i) {
    VXScalarGrid grid(1 + i % 7, 1 + i % 5, 1 + i % 11, place(random), place(random), place(random),
                      step(random), "", nullptr);
    const float c = place(random);
    const unsigned int idx = grid.GetZIdx(c);
    ASSERT_LT(idx, grid.GetZDim());
    const auto distance = [&](unsigned int k) {
      return std::fabs((k - (grid.GetZDim() - 1) * 0.5) * grid.GetSpacing() + grid.GetZMid() - c);
    };
    for (unsigned int k = 0; k < grid.GetZDim(); ++k) EXPECT_LE(distance(idx), distance(k) + 1e-5);
  }

  // Lattices that only a constructor can make: the answer stays inside.
  for (const float spacing : {0.0f, -1.0f, NAN, INFINITY, 1e-38f})
    for (const float x : {-1.0f, 0.0f, 1.0f, 1e30f, INFINITY, NAN})
      EXPECT_LT(VXScalarGrid(4, 4, 4, 0.5f, INFINITY, NAN, spacing, "", nullptr).GetXIdx(x), 4u);
  EXPECT_EQ(VXScalarGrid(0, 4, 4, 0.0f, 0.0f, 0.0f, 1.0f, "", nullptr).GetXIdx(3.0f), 0u);
}

TEST(ValueGrid, GeometryFromExtents) {
  const float box[] = {0, 0, 0, 1, 1, 1};
  const VXScalarGrid grid(box, 0.3f, "box");
  EXPECT_EQ(values_of(grid), std::vector<float>(64, 0.0f));
  EXPECT_TRUE(grid.GetXMid() == 0.5f && grid.GetSpacing() == 0.3f);
  EXPECT_TRUE(grid.IsSpacingSet() && grid.IsXMidSet() && grid.IsTitleSet());
  // 0.7 / 0.1 would be 6.999..., but the range is multiplied by the inverse of the spacing, 10.
  const double fine_box[] = {0, 0, 0, 0.7, 1e-9, 2};
  const VXScalarGrid fine(fine_box, 0.1, "");
  EXPECT_TRUE(fine.GetXDim() == 8 && fine.GetYDim() == 1 && fine.GetZDim() == 21);

  const double bad_boxes[][6] = {
      {0, 0, 0, 1e300, 1, 1}, {0, 0, 0, 1, -5, 1}, {0, 0, 0, 1e5, 1e5, 1e5}, {0, 0, 0, 1, 1, NAN}};
  for (const auto& bad : bad_boxes) {
    CapturedLog log;
    EXPECT_EQ(VXScalarGrid(bad, 1.0, "").GetSize(), 1u);
    EXPECT_THAT(log.text(), testing::HasSubstr("Warning: "));
  }
  CapturedLog log;
  EXPECT_EQ(VXScalarGrid(box, 0.0f, "").GetSize(), 1u);
  const float value = 5.0f;
  EXPECT_EQ(values_of(VXScalarGrid(-2, 3, 4, 0, 0, 0, 1, "", &value)), std::vector<float>{0.0f});
}

TEST(ValueGrid, RefusedSettersLeaveTheGrid) {
  VXScalarGrid grid = numbered_grid(2, 3, 4);
  const VXScalarGrid before = grid;
  CapturedLog log;
  for (const float spacing : {0.0f, -1.0f, NAN, INFINITY}) EXPECT_FALSE(grid.SetSpacing(spacing)) << spacing;
  EXPECT_EQ(log.text(), "");
  EXPECT_FALSE(grid.SetDim(1290, 1290, 1291) || grid.SetDim(46341, 46341, 1) || grid.SetXDim(~0u) ||
               grid.SetDim(0, ~0u, 1));
  EXPECT_THAT(log.text(),
              testing::HasSubstr("Warning: Grid dimensions too large for memory size: 1664100 x 1291\n"
                                 "Warning: Grid dimensions too large for memory size: 46341 x 46341\n"));
  EXPECT_TRUE(VXGridSameGeometry(grid, before));
  EXPECT_EQ(values_of(grid), values_of(before));

  struct NoMemory : VXScalarGrid {
    void Realloc() override { throw std::bad_alloc(); }
  } poor;
  EXPECT_THROW(poor.SetDim(9, 9, 9), std::bad_alloc);
  EXPECT_EQ(poor.GetSize(), 1u);

  // Any accepted change of dimensions zeroes, also to the same ones, and a lattice may be empty.
  EXPECT_TRUE(grid.SetYDim(3));
  EXPECT_EQ(values_of(grid), std::vector<float>(24, 0.0f));
  unsigned int x, y, z;
  EXPECT_TRUE(grid.GetDim(x, y, z) && grid.SetDim(0, 3, 4) && !grid.GetDim(x, y, z) && grid.GetSize() == 0);
  EXPECT_TRUE(VXZeroGridBoundary(grid));
}

TEST(ValueGrid, SizeLimit) {
  // Three factors, their product, whether a warning comes.
  const long rows[][5] = {{3, 5, 7, 105, 0},
                          {0, 5, 5, 0, 0},
                          {5, 0, 5, 0, 0},
                          {5, 5, 0, 0, 0},
                          {2147483647, 1, 1, 2147483647, 0},
                          {2147483648, 1, 1, 0, 1},
                          {46341, 46341, 0, 0, 1},
                          {65536, 32768, 1, 0, 1},
                          {65536, 32767, 1, 2147418112, 0},
                          {-3, 2, 2, 0, 1}};
  for (const auto& [x, y, z, product, warns] : rows) {
    CapturedLog log;
    EXPECT_EQ(VXGridSizeMultiply(x, y, z), product) << x << " " << y << " " << z;
    EXPECT_EQ(log.text() != "", warns);
  }
}

TEST(ValueGrid, SameGeometryIsExactAndNaNCountsAsSame) {
  VXScalarGrid a = numbered_grid(2, 3, 4), b = a;
  b.SetYMid(std::nextafter(b.GetYMid(), 0.0f));
  EXPECT_FALSE(VXGridSameGeometry(a, b));
  b.SetYMid(NAN);
  EXPECT_TRUE(VXGridSameGeometry(a, b) && VXGridSameGeometry(b, a));
  b.SetDim(2, 4, 3);
  EXPECT_FALSE(VXGridSameGeometry(a, b));
}

TEST(ValueGrid, AssignmentAndCopies) {
  VXScalarGrid source = numbered_grid(2, 3, 4, 0.5f);
  source.SetType(VXGridTypeDifferenceMap);
  source.SetData("note", 7);
  const VXFixedGrid<float>& as_fixed = source;

  VXScalarGrid target(5, 5, 5, 0, 0, 0, 1, "old", nullptr);
  target.SetData("old", 1);
  target = source;
  EXPECT_EQ(values_of(target), values_of(source));
  EXPECT_EQ(target.GetTitle(), "numbered");
  EXPECT_TRUE(target.GetType() == 4 && target.HasData("note") && !target.HasData("old"));
  target = as_fixed;
  EXPECT_EQ(target.GetType() + VXScalarGrid(as_fixed).GetType(), 0u);

  struct Stubborn : VXScalarGrid {
    using VXScalarGrid::operator=;
    bool SetSpacing(float) override { return false; }
  } stubborn;
  stubborn[0] = 3.0f;
  CapturedLog log;
  stubborn = source;
  EXPECT_TRUE(stubborn.GetSize() == 1 && stubborn[0] == 3.0f && stubborn.GetType() == 4);
  stubborn = VXScalarGrid(source);
  EXPECT_TRUE(stubborn.GetSize() == 1 && stubborn[0] == 3.0f && log.text() == "");

  // Moves hand the block over; what is left behind is a grid.
  VXScalarGrid from = source;
  const float* const block = from.GetValues();
  VXScalarGrid moved = std::move(from);
  EXPECT_TRUE(moved.GetValues() == block && moved.GetType() == 4 && from.GetSize() == 0);
  from = std::move(moved);
  EXPECT_TRUE(from.GetValues() == block && moved.GetSize() == 24);
  EXPECT_EQ(values_of(from), values_of(source));

  target.Clear();
  EXPECT_FALSE(target.GetSize() != 1 || target.IsSpacingSet() || target.IsXMidSet() || target.IsTitleSet() ||
               target.HasData("note"));

  const std::unique_ptr<VXScalarGrid> copy(source.CreateCopy());
  EXPECT_TRUE(copy->GetType() == 4 && copy->GetValues() != source.GetValues());
  VXFixedRefGrid<float> view(source, source.GetValues());
  const std::unique_ptr<VXFixedGrid<float>> shared(view.CreateCopy());
  (*shared)[5] = -1.0f;
  EXPECT_EQ(source[5], -1.0f);
  view.Clear();
  EXPECT_TRUE(view.GetSize() == 24 && !view.HasData("note"));
}

TEST(ValueGrid, AdoptsBlocksWithRoomForTheGuard) {
  using Block = VXHost::VXLargeArray<float>;
  VXScalarGrid grid = numbered_grid(2, 2, 2);
  auto block = VXMakeValueBlock<float>(8, Block::Zeroed);
  const float* const at = block.data();
  EXPECT_FALSE(grid.AdoptValues(Block(8, Block::Zeroed)));
  EXPECT_TRUE(grid.AdoptValues(std::move(block)) && grid.GetValues() == at);
}

TEST(ValueGrid, VirtualTable) {
  VXScalarGrid grid = numbered_grid(2, 3, 4, 0.5f);
  void* const object = static_cast<VXBase*>(&grid);
  const std::unique_ptr<VXBase> copy(call_slot<VXBase*>(object, 6));
  for (const void* id :
       {VXGetDataType<VXScalarGrid>(), VXGetDataType<VXGrid<float>>(), VXGetDataType<VXFixedGrid<float>>(),
        VXGetDataType<VXGridBase>(), VXGetDataType<VXGridAbstractBase>(), VXGetDataType<VXBase>()})
    EXPECT_TRUE(copy->IsDataType(id));
  EXPECT_FALSE(copy->IsDataType(VXGetDataType<VXFixedGrid<int>>()));

  EXPECT_TRUE(call_slot<float>(object, 9) == 0.5f && call_slot<float>(object, 19) == 7.5f);
  EXPECT_TRUE(call_slot<unsigned int>(object, 11) == 24 && call_slot<unsigned int>(object, 15) == 4);
  EXPECT_TRUE(call_slot<bool>(object, 20));
  EXPECT_TRUE(call_slot<bool>(object, 24, 0.75f) && grid.GetSpacing() == 0.75f);
  EXPECT_TRUE(call_slot<bool>(object, 28, 1.5f) && grid.GetZMid() == 1.5f);
  EXPECT_TRUE(call_slot<bool>(object, 32, 5u) && grid.GetSize() == 30);
  grid[0] = 1.0f;
  call_slot<void>(object, 33);
  EXPECT_EQ(grid[0], 0.0f);
  const std::vector<float> thirty(30, 2.0f);
  EXPECT_TRUE(call_slot<bool>(object, 34, thirty.data(), 30u) && grid[29] == 2.0f);

  VXMultiGrid<int> multi;
  const int one = 1;
  EXPECT_TRUE(call_slot<bool>(static_cast<VXBase*>(&multi), 34, 0u, &one, 1u) && *multi.GetValues() == 1);
}

TEST(ValueGrid, ZeroBoundaryKeepsTheInside) {
  VXScalarGrid grid = numbered_grid(3, 4, 5);
  EXPECT_TRUE(VXZeroGridBoundary(grid));
  for (unsigned int i = 0; i < grid.GetSize(); ++i) {
    const unsigned int x = i % 3, y = i / 3 % 4, z = i / 12;
    const bool inside = x == 1 && (y == 1 || y == 2) && z > 0 && z < 4;
    EXPECT_EQ(grid[i], inside ? static_cast<float>(i + 1) : 0.0f);
  }
}
