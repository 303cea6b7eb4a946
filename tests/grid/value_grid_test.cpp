#include <cmath>
#include <limits>
#include <memory>
#include <new>
#include <random>

#include <vxgrid/grid/multi_grid.h>
#include <vxgrid/grid/scalargrid.h>

#include "grid/grid_support.h"
#include "support/support.h"

using namespace VXCore;

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

TEST(ValueGrid, NearestSampleOfACoordinate) {
  const VXScalarGrid four(4, 1, 1, 0.0f, 0.0f, 0.0f, 1.0f, "", nullptr);  // at -1.5, -0.5, 0.5, 1.5
  const struct {
    float x;
    unsigned int idx;
  } rows[] = {{-1.0e30f, 0},
              {-1.5f, 0},
              {-0.5f, 1},
              {0.0f, 2},
              {-0.001f, 1},
              {1.0f, 3},
              {1.0e30f, 3},
              {kInf, 3},
              {-kInf, 0},
              {kNaN, 0},
              {std::numeric_limits<float>::max(), 3}};
  for (const auto& row : rows) EXPECT_EQ(four.GetXIdx(row.x), row.idx) << row.x;

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
  for (const float spacing : {0.0f, -1.0f, kNaN, kInf, 1e-38f})
    for (const float x : {-1.0f, 0.0f, 1.0f, 1e30f, kInf, kNaN})
      EXPECT_LT(VXScalarGrid(4, 4, 4, 0.5f, kInf, kNaN, spacing, "", nullptr).GetXIdx(x), 4u);
  EXPECT_EQ(VXScalarGrid(0, 4, 4, 0.0f, 0.0f, 0.0f, 1.0f, "", nullptr).GetXIdx(3.0f), 0u);
}

TEST(ValueGrid, GeometryFromExtents) {
  const float box[] = {0, 0, 0, 1, 1, 1};
  const VXScalarGrid grid(box, 0.3f, "box");
  EXPECT_EQ(grid.GetSize(), 64u);
  EXPECT_EQ(grid.GetXMid(), 0.5f);
  EXPECT_FLOAT_EQ(1.5f * grid.GetSpacing() + grid.GetXMid(), 0.95f);
  EXPECT_TRUE(grid.IsSpacingSet() && grid.IsXMidSet() && grid.IsTitleSet());
  EXPECT_EQ(values_of(grid), std::vector<float>(64, 0.0f));

  // 0.7 / 0.1 would be 6.999..., but the range is multiplied by the inverse of the spacing, 10.
  const double fine_box[] = {0, 0, 0, 0.7, 1e-9, 2};
  const VXScalarGrid fine(fine_box, 0.1, "");
  EXPECT_EQ(fine.GetXDim(), 8u);
  EXPECT_EQ(fine.GetYDim(), 1u);
  EXPECT_EQ(fine.GetZDim(), 21u);

  const double huge = 1e300;
  const double bad_boxes[][6] = {
      {0, 0, 0, huge, 1, 1}, {0, 0, 0, 1, -5, 1}, {0, 0, 0, 1e5, 1e5, 1e5}, {0, 0, 0, 1, 1, kNaN}};
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
  for (const float spacing : {0.0f, -1.0f, kNaN, kInf}) EXPECT_FALSE(grid.SetSpacing(spacing)) << spacing;
  EXPECT_EQ(log.text(), "");
  EXPECT_FALSE(grid.SetDim(1290, 1290, 1291));
  EXPECT_FALSE(grid.SetDim(46341, 46341, 1));
  EXPECT_FALSE(grid.SetXDim(4294967295u));
  EXPECT_THAT(log.text(),
              testing::HasSubstr("Warning: Grid dimensions too large for memory size: 1664100 x 1291\n"
                                 "Warning: Grid dimensions too large for memory size: 46341 x 46341\n"));
  EXPECT_FALSE(grid.SetDim(0, 4294967295u, 1));
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
  EXPECT_TRUE(grid.GetDim(x, y, z));
  EXPECT_TRUE(grid.SetDim(0, 3, 4));
  EXPECT_FALSE(grid.GetDim(x, y, z));
  EXPECT_EQ(grid.GetSize(), 0u);
  EXPECT_TRUE(VXZeroGridBoundary(grid));
}

TEST(ValueGrid, SizeLimit) {
  const struct {
    unsigned long x, y, z;
    int product;
    bool warns;
  } rows[] = {{3, 5, 7, 105, false},
              {0, 5, 5, 0, false},
              {5, 0, 5, 0, false},
              {5, 5, 0, 0, false},
              {2147483647, 1, 1, 2147483647, false},
              {2147483648, 1, 1, 0, true},
              {46341, 46341, 1, 0, true},
              {46341, 46341, 0, 0, true},
              {65536, 32768, 1, 0, true},
              {65536, 32767, 1, 2147418112, false},
              {static_cast<unsigned long>(-3), 2, 2, 0, true}};
  for (const auto& row : rows) {
    CapturedLog log;
    EXPECT_EQ(VXGridSizeMultiply(row.x, row.y, row.z), row.product) << row.x << " " << row.y << " " << row.z;
    EXPECT_EQ(log.text() != "", row.warns);
  }
}

TEST(ValueGrid, SameGeometryIsExactAndNaNCountsAsSame) {
  VXScalarGrid a = numbered_grid(2, 3, 4), b = a;
  b.SetYMid(std::nextafter(b.GetYMid(), 0.0f));
  EXPECT_FALSE(VXGridSameGeometry(a, b));
  b.SetYMid(kNaN);
  EXPECT_TRUE(VXGridSameGeometry(a, b) && VXGridSameGeometry(b, a));
  b.SetDim(2, 4, 3);
  EXPECT_FALSE(VXGridSameGeometry(a, b));
}

TEST(ValueGrid, AssignmentAndCopies) {
  VXScalarGrid source = numbered_grid(2, 3, 4, 0.5f);
  source.SetType(VXGridTypeDifferenceMap);
  source.SetData("note", 7);
  const VXFixedGrid<float>& as_fixed = source;

  VXScalarGrid target = numbered_grid(5, 5, 5);
  target.SetData("old", 1);
  target = source;
  EXPECT_EQ(values_of(target), values_of(source));
  EXPECT_EQ(target.GetType(), 4u);
  EXPECT_EQ(target.GetTitle(), "numbered");
  EXPECT_TRUE(target.HasData("note") && !target.HasData("old"));
  target = as_fixed;
  EXPECT_EQ(target.GetType(), 0u);
  EXPECT_EQ(VXScalarGrid(as_fixed).GetType(), 0u);

  struct Stubborn : VXScalarGrid {
    using VXScalarGrid::operator=;
    bool SetSpacing(float) override { return false; }
  } stubborn;
  stubborn[0] = 3.0f;
  CapturedLog log;
  stubborn = source;
  EXPECT_EQ(values_of(stubborn), std::vector<float>{3.0f});
  EXPECT_EQ(stubborn.GetType(), 4u);
  stubborn = VXScalarGrid(source);
  EXPECT_EQ(values_of(stubborn), std::vector<float>{3.0f});
  EXPECT_EQ(log.text(), "");

  // Moves hand the block over; what is left behind is a grid.
  VXScalarGrid from = source;
  const float* const block = from.GetValues();
  VXScalarGrid moved = std::move(from);
  EXPECT_EQ(moved.GetValues(), block);
  EXPECT_EQ(moved.GetType(), 4u);
  EXPECT_EQ(from.GetSize(), 0u);
  from = std::move(moved);
  EXPECT_EQ(from.GetValues(), block);
  EXPECT_EQ(values_of(from), values_of(source));
  EXPECT_EQ(moved.GetSize(), 24u);

  target.Clear();
  EXPECT_EQ(target.GetSize(), 1u);
  EXPECT_FALSE(target.IsSpacingSet() || target.IsXMidSet() || target.IsTitleSet() || target.HasData("note"));

  const std::unique_ptr<VXScalarGrid> copy(source.CreateCopy());
  EXPECT_EQ(copy->GetType(), 4u);
  EXPECT_NE(copy->GetValues(), source.GetValues());
  VXFixedRefGrid<float> view(source, source.GetValues());
  const std::unique_ptr<VXFixedGrid<float>> shared(view.CreateCopy());
  (*shared)[5] = -1.0f;
  EXPECT_EQ(source[5], -1.0f);
  view.Clear();
  EXPECT_EQ(view.GetSize(), 24u);
  EXPECT_FALSE(view.HasData("note"));
}

TEST(ValueGrid, SetValuesAndBlocks) {
  VXScalarGrid grid = numbered_grid(2, 2, 2);
  const std::vector<float> eight(8, 9.0f);
  {
    CapturedLog log;
    EXPECT_FALSE(grid.SetValues(nullptr, 7));
    EXPECT_FALSE(grid.SetValues(nullptr, 8));
    EXPECT_EQ(log.text(),
              "Warning: Attempting to set grid data with wrong size array\n"
              "Warning: Attempting to set grid data with zero pointer\n");
  }
  EXPECT_TRUE(grid.SetValues(eight.data(), 8));
  EXPECT_EQ(values_of(grid), eight);

  auto block = VXMakeValueBlock<float>(8, VXHost::VXLargeArray<float>::Zeroed);
  const float* const at = block.data();
  EXPECT_FALSE(grid.AdoptValues(VXHost::VXLargeArray<float>(8, VXHost::VXLargeArray<float>::Zeroed)))
      << "no room for the guard";
  EXPECT_TRUE(grid.AdoptValues(std::move(block)));
  EXPECT_EQ(grid.GetValues(), at);
}

TEST(ValueGrid, VirtualTable) {
  VXScalarGrid grid = numbered_grid(2, 3, 4, 0.5f);
  void* const object = static_cast<VXBase*>(&grid);
  const std::unique_ptr<VXBase> copy(call_slot<VXBase*>(object, 6));
  EXPECT_TRUE(copy->IsDataType(VXGetDataType<VXScalarGrid>()));
  EXPECT_EQ(call_slot<float>(object, 9), 0.5f);
  EXPECT_EQ(call_slot<unsigned int>(object, 11), 24u);
  EXPECT_EQ(call_slot<unsigned int>(object, 15), 4u);
  EXPECT_EQ(call_slot<float>(object, 19), 7.5f);
  EXPECT_TRUE(call_slot<bool>(object, 20));
  EXPECT_TRUE(call_slot<bool>(object, 24, 0.75f));
  EXPECT_EQ(grid.GetSpacing(), 0.75f);
  EXPECT_TRUE(call_slot<bool>(object, 28, 1.5f));
  EXPECT_EQ(grid.GetZMid(), 1.5f);
  EXPECT_TRUE(call_slot<bool>(object, 32, 5u));
  EXPECT_EQ(grid.GetSize(), 30u);
  grid[0] = 1.0f;
  call_slot<void>(object, 33);
  EXPECT_EQ(grid[0], 0.0f);
  const std::vector<float> thirty(30, 2.0f);
  EXPECT_TRUE(call_slot<bool>(object, 34, thirty.data(), 30u));
  EXPECT_EQ(grid[29], 2.0f);

  VXMultiGrid<int> multi;
  const int one = 1;
  EXPECT_TRUE(call_slot<bool>(static_cast<VXBase*>(&multi), 34, 0u, &one, 1u));
  EXPECT_EQ(*multi.GetValues(), 1);
}

TEST(ValueGrid, DataTypes) {
  const VXScalarGrid grid;
  for (const void* id :
       {VXGetDataType<VXScalarGrid>(), VXGetDataType<VXGrid<float>>(), VXGetDataType<VXFixedGrid<float>>(),
        VXGetDataType<VXGridBase>(), VXGetDataType<VXGridAbstractBase>(), VXGetDataType<VXBase>()})
    EXPECT_TRUE(grid.IsDataType(id));
  EXPECT_FALSE(grid.IsDataType(VXGetDataType<VXFixedGrid<int>>()));
}

TEST(ValueGrid, ZeroBoundaryKeepsTheInside) {
  VXScalarGrid grid = numbered_grid(3, 4, 5);
  EXPECT_TRUE(VXZeroGridBoundary(grid));
  unsigned int inside = 0;
  for (unsigned int i = 0; i < grid.GetSize(); ++i) {
    const unsigned int x = i % 3, y = i / 3 % 4, z = i / 12;
    const bool on_face = x == 0 || x == 2 || y == 0 || y == 3 || z == 0 || z == 4;
    EXPECT_EQ(grid[i], on_face ? 0.0f : static_cast<float>(i + 1));
    inside += !on_face;
  }
  EXPECT_EQ(inside, 6u);
}

}  // namespace
