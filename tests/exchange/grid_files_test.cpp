#include <vxgrid/exchange/grid_files.h>

#include <gtest/gtest.h>

#include <vxgrid/host/error_handler.h>
#include <vxgrid/processing/move_grid.h>

using namespace VXCore;

namespace {

/// A monoclinic crystal without a group, with its first sample at the origin.
VXSkewGrid crystal() {
  VXSkewGrid grid;
  grid.SetDim(4, 5, 6);
  grid.SetUnitCell(20, 24, 30, 90, 110, 90, 40, 50, 60);
  float first[3];
  grid.ElementToSpatialCoord(0, first[0], first[1], first[2]);
  grid.SetMid(-first[0], -first[1], -first[2]);
  for (unsigned int i = 0; i < grid.GetSize(); ++i) grid.GetValues()[i] = static_cast<float>(i);
  return grid;
}

VXSkewGrid turned(VXSkewGrid grid) {
  const float quarter[9] = {0, -1, 0, 1, 0, 0, 0, 0, 1};
  VXRotate(grid, quarter);
  return grid;
}

}  // namespace

TEST(GridFiles, SamplesKeepTheirPlacesOrNothingIsWritten) {
  const struct {
    const char* what;
    VXSkewGrid grid;
    const char* held_by;
  } rows[] = {
      {"a crystal", crystal(), "ccp4 grd vxb"},
      {"one off the lattice of its cell", turned(crystal()), "vxb"},
      {"a plain grid", VXMakePlainSkewGrid(VXScalarGrid(4, 5, 6, 0, 0, 0, 1, "", nullptr)),
       "ccp4 phi grd agd json vxb"},
  };
  for (const auto& row : rows)
    for (const VXGridFileFormat& format : VXGetGridFileFormats()) {
      SCOPED_TRACE(row.what + std::string(" as ") + format.name);
      const bool held =
          std::string(row.held_by).find(format.name) != std::string::npos && format.is_writeable;
      VXHost::vxosstream out;
      const VXMessageCapture messages;
      EXPECT_EQ(VXWriteGridFile(out, row.grid, format.code), held);
      EXPECT_EQ(messages.GetMessages().empty(), held);
      const std::string change = VXChangeInFile(format.code, row.grid.GetImpl().GetImpl());
      const char* const says = format.code == VXGridFormatGrasp  ? "interpolated onto the 65 x"
                               : format.code != VXGridFormatCCP4 ? ""
                               : row.grid.IsRegular()            ? "interpolated"
                                                                 : "has no space group";
      EXPECT_TRUE(!held || (*says ? change.rfind(says, 0) == 0 : change.empty())) << change;
      if (!held || format.code == VXGridFormatGrasp ||
          (format.code == VXGridFormatCCP4 && row.grid.IsRegular()))
        continue;
      VXHost::vxisstream in(out.str());
      VXSkewGrid back;
      ASSERT_TRUE(VXReadGridFile(in, back, format.code));
      for (unsigned int i = 0; i < row.grid.GetSize(); ++i) {
        float p[3], q[3];
        row.grid.ElementToSpatialCoord(i, p[0], p[1], p[2]);
        back.ElementToSpatialCoord(i, q[0], q[1], q[2]);
        for (int axis = 0; axis < 3; ++axis) ASSERT_NEAR(p[axis], q[axis], 1e-5);
        ASSERT_EQ(row.grid.GetValues()[i], back.GetValues()[i]);
      }
    }
}
