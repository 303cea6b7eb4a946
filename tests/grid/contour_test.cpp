#include <vxgrid/grid/contour.h>

#include <memory>
#include <vector>

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/grid/zemogrid.h>

#include "support/support.h"

using namespace VXCore;

TEST(Contour, GridsOfAllKindsCarryThem) {
  VXScalarGrid scalar;
  VXSkewGrid skew;
  VXZemoGrid zemo;
  for (VXGridAbstractBase* grid : std::initializer_list<VXGridAbstractBase*>{&scalar, &skew, &zemo}) {
    EXPECT_EQ(VXNumContours(*grid), 0u);
    VXAddContour(*grid, 1.5f, VXColor(1, 2, 3));
    VXAddContour(*grid, -2.0f, VXColor(0x80ff0000));
    VXAddContour(*grid, 1.5f, VXColor());
    const std::unique_ptr<VXGridAbstractBase> copy(grid->CreateCopy());
    VXAddContour(*copy, 4.0f, VXColor());
    EXPECT_EQ(VXNumContours(*copy), 4u);
    EXPECT_EQ(VXNumContours(*grid), 3u);
    EXPECT_EQ(grid->GetData<std::vector<float>>("VX_grid_contour_levels"),
              (std::vector<float>{1.5f, -2.0f, 1.5f}));
    EXPECT_EQ(grid->GetData<std::vector<unsigned>>("VX_grid_contour_colors"),
              (std::vector<unsigned>{0xff030201, 0x80ff0000, 0xff000000}));
    EXPECT_EQ(VXGetContourLevel(*copy, 3), 4.0f);
    EXPECT_EQ(VXGetContourLevel(*copy, 4), 0.0f);
    EXPECT_EQ(VXGetContourColor(*copy, 1), VXColor(0x80ff0000));
    EXPECT_EQ(VXGetContourColor(*copy, 4), VXColor());
  }
}

TEST(Contour, ListsOfAnotherTypeReadAsEmptyAndStay) {
  CapturedLog log;
  VXScalarGrid grid;
  grid.SetData<int>("VX_grid_contour_levels", 7);
  VXAddContour(grid, 1.5f, VXColor());
  EXPECT_EQ(VXNumContours(grid), 0u);
  EXPECT_EQ(VXGetContourLevel(grid, 0), 0.0f);
  EXPECT_EQ(grid.GetData<int>("VX_grid_contour_levels"), 7);
  EXPECT_NE(log.text(), "");
}
