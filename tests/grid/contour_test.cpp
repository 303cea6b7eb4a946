#include <vxgrid/grid/contour.h>

#include <vxgrid/grid/scalargrid.h>

#include "support/support.h"

using namespace VXCore;

TEST(Contour, GridsCarryThem) {
  VXScalarGrid grid;
  EXPECT_EQ(VXNumContours(grid), 0u);
  VXAddContour(grid, 1.5f, VXColor(1, 2, 3));
  VXAddContour(grid, -2.0f, VXColor(0x80ff0000));
  VXScalarGrid copy(grid);
  VXAddContour(copy, 1.5f, VXColor());
  EXPECT_EQ(VXNumContours(grid), 2u);
  EXPECT_EQ(copy.GetData<std::vector<float>>("VX_grid_contour_levels"), (std::vector<float>{1.5f, -2, 1.5f}));
  EXPECT_EQ(copy.GetData<std::vector<unsigned>>("VX_grid_contour_colors"),
            (std::vector<unsigned>{0xff030201, 0x80ff0000, 0xff000000}));
  EXPECT_EQ(VXGetContourLevel(grid, 1), -2.0f);
  EXPECT_EQ(VXGetContourLevel(grid, 2), 0.0f);
  EXPECT_EQ(VXGetContourColor(grid, 1), VXColor(0x80ff0000));
  EXPECT_EQ(VXGetContourColor(grid, 2), VXColor());

  CapturedLog log;  // lists of another type read as empty, and stay
  copy.Clear();
  copy.SetData<int>("VX_grid_contour_levels", 7);
  VXAddContour(copy, 1.5f, VXColor());
  EXPECT_EQ(VXNumContours(copy), 0u);
  EXPECT_EQ(copy.GetData<int>("VX_grid_contour_levels"), 7);
  EXPECT_NE(log.text(), "");
}
