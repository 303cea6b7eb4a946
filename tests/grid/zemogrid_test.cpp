#include <climits>
#include <cmath>
#include <fstream>
#include <memory>

#include <vxgrid/grid/grid_accessors.h>
#include <vxgrid/grid/zemogrid.h>
#include <vxgrid/xtal/unit_cell.h>

#include "grid/grid_support.h"
#include "support/support.h"

using namespace VXCore;

namespace {

template <class T>
std::vector<T> block_of(const VXFixedMultiGrid<T>& grid) {
  return {grid.GetValues(), grid.GetValues() + grid.GetNumGrids() * grid.GetSize()};
}

TEST(MultiGrid, FieldsSurviveAResize) {
  VXMultiGrid<int> grid;
  grid.SetDim(2, 2, 1);
  const int first[] = {1, 2, 3, 4}, second[] = {5, 6, 7, 8};
  EXPECT_TRUE(grid.SetValues(0, first, 4) && grid.SetNumGrids(3) && grid.SetValues(1, second, 4));
  EXPECT_EQ(block_of(grid), (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8, 0, 0, 0, 0}));
  EXPECT_FALSE(grid.SetNumGrids(0) || grid.SetNumGrids(0x40000001)) << "4 times that wraps round";
  EXPECT_TRUE(grid.GetNumGrids() == 3 && grid.SetNumGrids(2));
  EXPECT_EQ(block_of(grid), (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8}));
  EXPECT_TRUE(grid.GetGrid(1)->GetValues() == grid.GetValues() + 4 && !grid.GetGrid(2));

  CapturedLog log;
  EXPECT_FALSE(grid.SetValues(9, nullptr, 3) || grid.SetValues(9, nullptr, 4) || grid.SetValues(2, first, 4));
  EXPECT_EQ(log.text(),
            "Warning: Attempting to set grid data with wrong size array\n"
            "Warning: Attempting to set grid data with zero pointer\n"
            "Warning: Attempting to set grid data of non-existent grid\n");

  // Every setter reaches the views.
  using Grid = VXMultiGrid<int>;
  for (const auto set : {&Grid::SetSpacing, &Grid::SetXMid, &Grid::SetYMid, &Grid::SetZMid})
    EXPECT_TRUE((grid.*set)(5) && VXGridSameGeometry(*grid.GetGrid(1), grid));
  EXPECT_TRUE(grid.SetZDim(2) && VXGridSameGeometry(*grid.GetGrid(1), grid));
  grid.Clear();
  EXPECT_EQ(block_of(grid), std::vector<int>{0});
}

TEST(MultiGrid, AssignmentReportsWhatItCannotCopy) {
  VXMultiGrid<float> source;
  const float values[] = {1, 2};
  EXPECT_TRUE(source.SetDim(2, 1, 1) && source.SetNumGrids(2) && source.SetValues(1, values, 2));
  source.GetGrid(1)->SetTitle("second");
  VXMultiGrid<float> target;
  target = source;
  EXPECT_EQ(block_of(target), (std::vector<float>{0, 0, 1, 2}));
  EXPECT_EQ(target.GetGrid(1)->GetTitle(), "second");
  target = static_cast<const VXFixedMultiGrid<float>&>(VXMultiGrid<float>());
  EXPECT_EQ(target.GetSize() * target.GetNumGrids(), 1u);

  // A spacing of 0 comes in through a constructor and is refused by the setter.
  const VXMultiGrid<float> odd(VXScalarGrid(2, 1, 1, 0, 0, 0, 0.0f, "", nullptr), values);
  // An empty lattice cannot be given more fields.
  VXMultiGrid<float> empty(source);
  empty.SetDim(0, 1, 1);
  CapturedLog log;
  target = odd;
  target = static_cast<const VXFixedMultiGrid<float>&>(odd);
  target = empty;
  target = static_cast<const VXFixedMultiGrid<float>&>(empty);
  const std::string error = "Error: VXMultiGrid<GridType>::operator=";
  EXPECT_EQ(log.text(), error + "(const VXMultiGrid<GridType> &rhs), can't copy geometry\n" + error +
                            "(const VXFixedMultiGrid<GridType> &rhs), can't copy geometry\n" + error +
                            "const VXMultiGrid<GridType> &rhs), can't copy contents\n" + error +
                            "const VXFixedMultiGrid<GridType> &rhs), can't copy contents\n");
}

TEST(ZemoGrid, FromAPlainGrid) {
  VXScalarGrid source = numbered_grid(2, 3, 4, 0.5f);
  source.SetType(4);
  source.SetData("note", 7);
  VXZemoGrid assigned;
  assigned.SetReentrant(true);
  EXPECT_TRUE(assigned.SetFloatsMultiple(2) && assigned.SetSpaceGroup(19));
  assigned = source;
  const VXZemoGrid constructed(source), lent = VXZemoGrid::Borrow(source), copied(lent);
  VXScalarGrid giving = source;
  const VXZemoGrid given(std::move(giving));
  for (const VXZemoGrid* grid : {&std::as_const(assigned), &constructed, &lent, &copied, &given}) {
    EXPECT_EQ(values_of(*grid), values_of(source));
    EXPECT_TRUE(VXGridSameGeometry(*grid, source) && grid->GetTitle() == "numbered");
    EXPECT_TRUE(grid->GetData<int>("note") == 7 && grid->GetType() == 4);
    EXPECT_EQ(grid->GetReentrant() + grid->GetSpaceGroup() + grid->GetFloatsMultiple(), 1u);
    float m[9], a, b, c, alpha, beta, gamma;
    EXPECT_TRUE(grid->GetOrientation(m));
    EXPECT_THAT(m, testing::ElementsAre(1, 0, 0, 0, 1, 0, 0, 0, 1));
    grid->GetUnitCell(a, b, c, alpha, beta, gamma);
    EXPECT_THAT((std::vector<float>{a, b, c, alpha, beta, gamma}),
                testing::ElementsAre(1, 1.5f, 2, 90, 90, 90));
    EXPECT_EQ(grid->GetIntegersSet(), grid != &assigned) << "assignment alone clears the integers";
  }
  EXPECT_TRUE(lent.GetValues() == source.GetValues() && copied.GetValues() != source.GetValues());
  EXPECT_EQ(giving.GetSize(), 0u);

  // A view of the grid itself may be the source.
  assigned.SetFloatsMultiple(2);
  assigned = *assigned.GetFloats().GetGrid(1);
  EXPECT_EQ(values_of(assigned), std::vector<float>(24, 0.0f));
  EXPECT_EQ(assigned.GetType(), 0u);

  VXScalarGrid out;
  const float* const block = copied.GetValues();
  const_cast<VXZemoGrid&>(copied).MoveFloats(out);
  EXPECT_TRUE(out.GetValues() == block && out.GetType() == 0);
  EXPECT_EQ(values_of(out), values_of(source));
}

TEST(ZemoGrid, FromMultiGridsAndCopies) {
  VXMultiGrid<int> integers;
  EXPECT_TRUE(integers.SetDim(2, 1, 1) && integers.SetNumGrids(2) && integers.SetTitle("i"));
  integers.GetValues()[3] = 5;
  const VXZemoGrid from_integers(integers);
  EXPECT_TRUE(from_integers.GetTitle() == "i" && from_integers.GetFloatsSet());
  EXPECT_EQ(block_of(from_integers.GetFloats()), (std::vector<float>{0, 0}));

  VXMultiGrid<float> floats(integers, nullptr);
  floats.SetTitle("f");
  VXZemoGrid both(floats, integers), copy;
  both.SetUnitCell(10, 11, 12, 80, 90, 100, 20, 20, 20);
  both.SetXReentrant(true);
  copy = both;
  EXPECT_EQ(copy.GetTitle(), "f");
  EXPECT_EQ(block_of(copy.GetIntegers()), (std::vector<int>{0, 0, 0, 5}));
  EXPECT_TRUE(copy.HasUnitCell() && copy.GetXReentrant() && !copy.GetZReentrant());
  copy.Clear();
  EXPECT_FALSE(copy || copy.HasUnitCell() || copy.IsSpacingSet() || copy.GetOrientationSet());
  EXPECT_EQ(copy.GetValues(), nullptr) << "one sample counts as none";
}

#ifndef VXGRID_SANITIZED
TEST(ZemoGrid, UntouchedIntegersTakeNoMemory) {
  const auto resident_mib = [] {
    long pages = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    return static_cast<double>(resident) / 256.0;
  };
  VXZemoGrid grid;
  const double before = resident_mib();
  grid.SetDim(160, 160, 160);  // 15.6 MiB a field
  std::fill_n(grid.GetValues(), grid.GetSize(), 1.0f);
  const VXZemoGrid copy(grid);
  VXScalarGrid plain;
  grid.MoveFloats(plain);
  const VXZemoGrid lent = VXZemoGrid::Borrow(plain);
  EXPECT_LT(resident_mib() - before, 2 * 15.6 + 6.0);
  EXPECT_EQ(copy.GetValues()[0], 1.0f);
}
#endif

// Whatever the cell, a step along a lattice axis is one of the steps that its edge is divided into.
TEST(ZemoGrid, CellBecomesOrientation) {
  // Edges, angles, steps along the edges and the spacing that comes of them.
  const float rows[][10] = {{10, 10, 10, 90, 90, 90, 10, 10, 10, 1},
                            {20, 10, 10, 90, 90, 90, 10, 10, 10, 1},
                            {50, 50, 120, 90, 90, 120, 100, 100, 160, 0.5f},
                            {23.4f, 37.1f, 45.8f, 73.3f, 101.9f, 115.2f, 48, 72, 90, 23.4f / 48}};
  for (const auto& [a, b, c, alpha, beta, gamma, x, y, z, spacing] : rows) {
    VXZemoGrid grid;
    EXPECT_TRUE(grid.SetDim(3, 4, 5) && grid.SetMid(1, 2, 3));
    const unsigned int steps[3] = {unsigned(x), unsigned(y), unsigned(z)}, neighbour[3] = {1, 3, 12};
    EXPECT_TRUE(grid.SetUnitCell(a, b, c, alpha, beta, gamma, steps[0], steps[1], steps[2]));
    EXPECT_NEAR(grid.GetSpacing(), spacing, 1e-6f);
    // Coordinates of about 10 are floats to 1e-6.
    const VXXtal::VXUnitCell cell(a, b, c, alpha, beta, gamma);
    float p[3], q[3];
    EXPECT_TRUE(grid.ElementToSpatialCoord(0, p[0], p[1], p[2]));
    for (int i = 0; i < 3; ++i) {
      EXPECT_TRUE(grid.ElementToSpatialCoord(neighbour[i], q[0], q[1], q[2]));
      for (int k = 0; k < 3; ++k) EXPECT_NEAR(q[k] - p[k], cell.frac2cart[4 * i + k] / float(steps[i]), 2e-6);
    }

    std::vector<float> all = {1};
    EXPECT_TRUE(grid.SpatialCoords(all));
    ASSERT_EQ(all.size(), 180u);
    for (unsigned int e = 0; e < 60; ++e) {
      grid.ElementToSpatialCoord(e, p[0], p[1], p[2]);
      EXPECT_TRUE(p[0] == all[3 * e] && p[1] == all[3 * e + 1] && p[2] == all[3 * e + 2]) << e;
    }
    // One grid length along z is as many steps of the z axis as there are samples.
    EXPECT_TRUE(grid.PackingTransform(0, 0, 1, p[0], p[1], p[2]));
    for (int k = 0; k < 3; ++k) EXPECT_NEAR(p[k], cell.frac2cart[8 + k] / z * 5, 1e-5);
  }
  VXZemoGrid grid;
  EXPECT_TRUE(grid.SetUnitCell(10, 10, 10, 90, 90, 90, 0, 0, 0));
  EXPECT_EQ(grid.GetSpacing(), 1.0f) << "no steps, no spacing";
}

TEST(ZemoGrid, ElementsAndEmptyLattices) {
  VXZemoGrid grid(numbered_grid(2, 3, 4));
  unsigned int x, y, z;
  float p[3];
  int i, j, k;
  EXPECT_TRUE(grid.ElementToGridIdx(23, x, y, z) && x == 1 && y == 2 && z == 3);
  EXPECT_FALSE(grid.ElementToGridIdx(24, x, y, z) || grid.ElementToSpatialCoord(24, p[0], p[1], p[2]));
  grid.SetDim(2, 0, 4);
  std::vector<float> untouched = {1};
  EXPECT_FALSE(grid.ElementToGridIdx(0, x, y, z) || grid.ElementToSpatialCoord(0, p[0], p[1], p[2]) ||
               grid.SpatialCoords(untouched) || grid.SetUnitCellFromSpacing(1) ||
               grid.PackingTransform(1, 1, 1, p[0], p[1], p[2]) ||
               grid.SpatialCoordToPacking(0, 0, 0, i, j, k));
  EXPECT_EQ(untouched.size(), 1u);
}

TEST(ZemoGrid, PackingIndexHasNoSpacingAndStartsAtMinusOne) {
  VXZemoGrid grid(VXScalarGrid(4, 4, 4, 0.75f, 0.75f, 0.75f, 0.5f, "", nullptr));  // samples from 0 to 1.5
  const std::pair<float, int> rows[] = {{0.0f, -1},          {0.1f, 0},           {3.9f, 0}, {4.0f, 1},
                                        {-0.1f, -1},         {-4.0f, -2},         {NAN, -1}, {1e30f, INT_MAX},
                                        {INFINITY, INT_MAX}, {-INFINITY, INT_MIN}};
  for (const auto& [x, idx] : rows) {
    int i, j, k;
    EXPECT_TRUE(grid.SpatialCoordToPacking(x, 0.0f, 4.0f, i, j, k));
    EXPECT_TRUE(!std::isfinite(x) || (j == -1 && k == 1));
    EXPECT_EQ(i, idx) << x;
  }
}

TEST(GridAccessors, FieldsAndElements) {
  VXZemoGrid grid(numbered_grid(2, 2, 2));
  const float eight[8] = {8, 7, 6, 5, 4, 3, 2, 1};
  float value = 0;
  EXPECT_TRUE(vx_set_grid_floats_multiple(3, grid));
  EXPECT_FALSE(vx_set_grid_floats_multiple(0, grid) || vx_set_grid_integers_multiple(0, grid) ||
               vx_set_grid_floats_multiple(-1, grid));
  EXPECT_TRUE(vx_get_grid_floats_length(grid) == 24 && vx_get_grid_integers_length(grid) == 8 &&
              vx_grid_total_points(grid) == 8);
  EXPECT_EQ(vi_grid_floats(grid), grid.GetFloats().GetValues() + 16);
  EXPECT_TRUE(!vx_is_grid_floats_set(grid) && vx_set_grid_floats(eight, grid) && vx_is_grid_floats_set(grid));

  // One past the end: the next field's first element, or the spare one behind the block.
  EXPECT_TRUE(vx_set_grid_floats_element(-4.0f, 8, grid) && vx_get_grid_floats_element(&value, 8, grid));
  EXPECT_EQ(value, -4.0f);
  EXPECT_TRUE(vx_set_grid_floats_multiple(1, grid) && grid.GetFloats().GetNumGrids() == 3);
  EXPECT_TRUE(vx_set_grid_floats_element(-5.0f, 8, grid));
  EXPECT_EQ((*grid.GetFloats().GetGrid(1))[0], -5.0f);
  EXPECT_FALSE(vx_set_grid_floats_element(0, 9, grid) || vx_set_grid_floats_element(0, -1, grid) ||
               vx_get_grid_floats_element(&value, 9, grid) || vx_set_grid_integers_element(1, -1, grid));
  EXPECT_TRUE(vx_clear_grid_boundary(grid) && !vx_is_grid_floats_set(grid) && vx_clear_grid_floats(grid));
  EXPECT_EQ(block_of(grid.GetFloats()), std::vector<float>(24, 0.0f));

  // The integers of a grid that was assigned to have no lattice.
  grid = numbered_grid(2, 2, 2);
  const int whole[8] = {};
  CapturedLog log;
  EXPECT_FALSE(vx_set_grid_integers(whole, grid) || vx_set_grid_floats(nullptr, grid));
}

TEST(GridAccessors, FlagsAndRefusals) {
  VXZemoGrid grid;
  const std::pair<char, int> directions[] = {{'q', 0}, {'z', 4}, {'X', 5}};
  for (const auto& [axis, flags] : directions) EXPECT_EQ(vx_set_grid_reentrant_direction(axis, grid), flags);
  EXPECT_TRUE(vx_grid_x_reentrant(grid) && !vx_grid_y_reentrant(grid) && vx_set_grid_reentrant(grid) == 7);
  EXPECT_TRUE(vx_set_grid_spacing(-1.0f, grid) && !vx_is_grid_spacing_set(grid)) << "1 even when refused";
  CapturedLog log;
  EXPECT_FALSE(vx_set_grid_y_dimension(-2, grid));
  EXPECT_THAT(log.text(), testing::HasSubstr("too large"));
  EXPECT_TRUE(vx_set_grid_y_dimension(2, grid) && vx_set_grid_z_midpoint(4.5f, grid));
  const VXFixedGrid<int>& field = *grid.GetIntegers().GetGrid(0);
  EXPECT_TRUE(field.GetYDim() == 2 && field.GetZMid() == 4.5f);
}

TEST(GridAccessors, Report) {
  VXZemoGrid grid;
  char name[4];
  EXPECT_TRUE(vx_set_grid_name("map", grid) && vx_get_grid_name(name, grid) && std::string(name) == "map");
  EXPECT_TRUE(grid.SetDim(2, 3, 4) && vx_set_grid_x_midpoint(1.5f, grid));
  CapturedLog log;
  EXPECT_EQ(vx_print_grid_report(grid), 1);
  EXPECT_EQ(log.text(), R"(
****************************************
GRID REPORT

ACCESSIBLE VARIABLES
********************
 "name" is an array of 80 elements of type char that has been set
 "x_midpoint" is a variable of type float that has been set to 1.500000
 "y_midpoint" is a variable of type float that can set
 "z_midpoint" is a variable of type float that can set
 "spacing" is a variable of type float that can set
 "x_dimension" is a variable of type int that has been set to 2
 "y_dimension" is a variable of type int that has been set to 3
 "z_dimension" is a variable of type int that has been set to 4
 "floats" is an array of x_dimension*y_dimension*z_dimension elements of type float that can set
 "integers" is an array of x_dimension*y_dimension*z_dimension elements of type int that can set
 "orientation" is a variable of type float* that can set
****************************************

)");
}

}  // namespace
