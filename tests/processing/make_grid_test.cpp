#include <vxgrid/processing/make_grid.h>

#include <cmath>
#include <tuple>

#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/processing/move_grid.h>

#include "processing/lattices.h"
#include "support/support.h"

using namespace VXCore;
using testing::ElementsAre;
using testing::FloatNear;
using testing::HasSubstr;
using testing::Pointwise;

namespace {

VXZemoGrid numbered(int x, int y, int z, float spacing, float xm = 0, float ym = 0, float zm = 0) {
  VXZemoGrid grid(VXScalarGrid(x, y, z, xm, ym, zm, spacing, "numbered", nullptr));
  for (unsigned i = 0; i < grid.GetSize(); ++i)
    grid.GetIntegers().GetValues()[i] = -static_cast<int>(grid.GetValues()[i] = static_cast<float>(i));
  return grid;
}

std::vector<unsigned> dims(const VXGridAbstractBase& grid) {
  return {grid.GetXDim(), grid.GetYDim(), grid.GetZDim()};
}
std::vector<float> mids(const VXGridAbstractBase& grid) {
  return {grid.GetXMid(), grid.GetYMid(), grid.GetZMid()};
}

}  // namespace

TEST(MakeGrid, FromCenterAndExtents) {
  const float center[3] = {1, 2, 3};
  const char* const too_wide =
      "Warning: Unable to make dimension from extent because of (float)16777220.000000 is greater than the "
      "maximum allowed(unsigned int)16777216 when performing conversions between integers and floating point "
      "types\n";
  const std::vector<unsigned> refused = {1, 1, 1};
  const std::tuple<std::vector<float>, float, std::vector<unsigned>, const char*> rows[] = {
      {{10, 10, 10}, 0.5f, {21, 21, 21}, ""},
      {{-1, 0, 1.99f}, 1, {0, 1, 2}, ""},
      {{4, 4, 4}, 0, refused, ""},
      {{4, 16777218, 4}, 1, refused, too_wide},
      {{4, 4, -16777224},
       1,
       refused,
       "(float)-16777224.000000 is less than the minimum allowed(unsigned int)0"},
      {{1e38f, 1, 1}, 1e-9f, refused, "greater than the maximum"},
      {{4, NAN, 4}, 1, refused, "less than the minimum"},
      {{16777215, 16777215, 1}, 1, refused, "Grid dimensions too large"}};
  for (const auto& [extents, spacing, dim, says] : rows) {
    CapturedLog log;
    VXZemoGrid grid;
    VXScalarGrid scalar;
    EXPECT_EQ(VXMakeGridFromCenterAndExtents(grid, center, extents.data(), spacing), dim != refused);
    EXPECT_EQ(VXMakeGridFromCenterAndExtents(scalar, center, extents.data(), spacing), dim != refused);
    EXPECT_TRUE(dims(grid) == dim && dims(scalar) == dim) << extents[0];
    EXPECT_THAT(log.text(), HasSubstr(says));
    EXPECT_EQ(log.text().empty(), *says == 0);
  }
  VXZemoGrid grid;
  EXPECT_FALSE(VXMakeGridFromCenterAndExtents(grid, center, nullptr, 1));
  float half[3] = {5, 0, 1.2f}, at[3] = {1, 2, 3};
  EXPECT_EQ(vx_make_empty_grid(grid, at, half, 0), 0);
  EXPECT_EQ(vx_make_empty_grid(grid, at, half, 0.5f), 1);
  EXPECT_THAT(dims(grid), ElementsAre(21, 1, 5));
  EXPECT_EQ(grid.GetIntegers().GetZMid(), 3);
}

TEST(MakeGrid, CenterAndExtents) {
  float center[3], extents[3] = {-1, -1, -1}, corners[24];
  VXGetCenterAndExtents(VXScalarGrid(), center, extents);
  EXPECT_THAT(extents, ElementsAre(-1, -1, -1)) << "no spacing was set";
  VXZemoGrid grid = numbered(4, 3, 2, 0.5f, 1, 2, 3);
  VXGetCenterAndExtents(grid.GetFloats(), center, extents);
  EXPECT_THAT(center, ElementsAre(1, 2, 3));
  EXPECT_THAT(extents, ElementsAre(2, 1.5f, 1));
  // An identity is an orientation: the box of the samples, one step up.
  VXGetCenterAndExtents(grid, center, extents);
  EXPECT_THAT(center, ElementsAre(1.5f, 2.5f, 3.5f));
  EXPECT_THAT(extents, ElementsAre(1.5f, 1, 0.5f));

  VXSkewGrid skew;
  grid.SetOrientation(kSkew);
  skew.GetImpl().GetImpl() = grid;
  vx_get_corners_of_grid(corners, grid);
  for (int corner = 0; corner < 8; ++corner) {
    float p[3];
    grid.ElementToSpatialCoord((corner & 1) * 3 + 4 * ((corner & 2) + 3 * (corner / 4)), p[0], p[1], p[2]);
    for (int a = 0; a < 3; ++a) EXPECT_FLOAT_EQ(corners[3 * corner + a], p[a]);
  }
  VXGetCenterAndExtents(skew, center, extents);
  EXPECT_FLOAT_EQ(center[1], 2.5f);
  EXPECT_FLOAT_EQ(extents[1], 1.1f * 1 + 0.4f * 0.5f);
  grid.SetDim(0, 3, 3);
  VXGetCenterAndExtents(grid, center, extents);
  EXPECT_FLOAT_EQ(center[1], 2.5f) << "not written";
}

TEST(MakeGrid, SubgridThatEnclosesPoints) {
  VXZemoGrid in = numbered(9, 7, 5, 1), out;
  const float points[] = {-0.6f, 0, 0.2f, 1.1f, -1.2f, 0}, low[] = {-1.5f, 0, 0};
  ASSERT_EQ(vx_make_subgrid_that_encloses_points(in, points, 2, 0.5f, out), 1);
  EXPECT_THAT(dims(out), ElementsAre(4, 3, 2));
  EXPECT_THAT(mids(out), ElementsAre(-0.5f, -1, -0.5f));
  for (unsigned i = 0; i < out.GetSize(); ++i) {  // each sample is the source's at the same place
    float x, y, z;
    out.ElementToSpatialCoord(i, x, y, z);
    EXPECT_EQ(out.GetValues()[i], x + 4 + 9 * (y + 3 + 7 * (z + 2)));
    EXPECT_EQ(out.GetIntegers().GetValues()[i], -out.GetValues()[i]);
  }
  // A span of 3.5 is cut to 3 before it is halved: indices count from -1.5, not from the first sample at
  // -1.75.
  ASSERT_EQ(vx_make_subgrid_that_encloses_points(numbered(8, 8, 8, 0.5f), low, 1, 0.1f, out), 1);
  EXPECT_EQ(out.GetXMid(), -1.5f);
  const std::tuple<float, float, float, const char*> misses[] = {
      {50, 0, 0, "minimum x of points is greater"},
      {0, 50, -50, "minimum y of points is greater"},
      {-50, -50, 0, "maximum x of points is less"},
      {-50, 0, 50, "minimum z of points is greater"}};
  for (const auto& [x, y, z, says] : misses) {
    CapturedLog log;
    const float p[3] = {x, y, z};
    EXPECT_EQ(vx_make_subgrid_that_encloses_points(in, p, 1, 1, out), 0);
    EXPECT_THAT(log.text(), HasSubstr(std::string(says) + " than original grid\n"));
    EXPECT_EQ(out.GetXMid(), -1.5f) << "unchanged";
  }
  const float odd[] = {NAN, INFINITY, 0, 0, 0, 0};
  CapturedLog log;
  for (const float margin : {0.0f, -3.0f, NAN, INFINITY, 1e30f})
    vx_make_subgrid_that_encloses_points(in, odd, 2, margin, out);
  ASSERT_EQ(vx_make_subgrid_that_encloses_points(in, points, 0, 99, in), 1)
      << "onto itself; the first point alone";
  EXPECT_EQ(in.GetSize(), 1u);
}

// A turn moves every sample as it moves points about the origin, one turn after another too.
TEST(MoveGrid, TranslateAndRotate) {
  VXSkewGrid skew;
  VXZemoGrid& grid = skew.GetImpl().GetImpl() = numbered(3, 3, 3, 1, 1, 2, 3);
  std::vector<float> expected, after;
  const double shift[3] = {0.5, -1, 2}, c = 0.8, s = 0.6, tilt[9] = {1, 0, 0, 0, c, -s, 0, s, c};
  const float tilt_f[9] = {1, 0, 0, 0, 0.8f, -0.6f, 0, 0.6f, 0.8f};
  skew.SetSpaceGroup(19);
  EXPECT_TRUE(VXTranslate(skew, shift));
  EXPECT_THAT(mids(skew), ElementsAre(1.5f, 1, 5));
  EXPECT_EQ(grid.GetIntegers().GetZMid(), 5);
  EXPECT_FALSE(skew.HasSpaceGroup());
  skew.SetSpaceGroup(5);
  grid.SpatialCoords(expected);
  EXPECT_TRUE(VXRotate(grid, kQuarterTurn));
  EXPECT_TRUE(VXRotate(skew, tilt));
  vx_transform_coordinates_by_orientation_matrix(expected.data(), 27, kQuarterTurn, nullptr);
  vx_transform_coordinates_by_orientation_matrix(expected.data(), 27, tilt_f, nullptr);
  grid.SpatialCoords(after);
  EXPECT_THAT(after, Pointwise(FloatNear(1e-5f), expected));
  EXPECT_FALSE(skew.HasSpaceGroup());
  EXPECT_FALSE(VXRotate(skew, static_cast<const double*>(nullptr)));
}

TEST(MoveGrid, TransformsOfCoordinates) {
  const std::vector<float> start = {1, 2, 3, -4, 5, 0.5f};
  std::vector<float> xyz = start;
  const float center[3] = {0.5f, -1, 2};
  vx_transform_coordinates_by_orientation_matrix(xyz.data(), 1, kSkew, center);
  EXPECT_FLOAT_EQ(xyz[0], 1.2f * 0.5f - 0.3f * 3 + 0.2f * 1 + 0.5f);
  VXZemoGrid grid;
  EXPECT_EQ(vx_untransform_coordinates_by_grid_orientation(xyz.data(), 1, grid), 0) << "none set";
  grid.SetMid(center[0], center[1], center[2]);
  grid.SetOrientation(kSkew);
  EXPECT_EQ(vx_untransform_coordinates_by_grid_orientation(xyz.data(), 1, grid), 1);
  EXPECT_THAT(xyz, Pointwise(FloatNear(1e-5f), start));
  xyz = start;
  EXPECT_EQ(vx_untransform_coordinates_by_orientation_matrix(xyz.data(), 2, kSingular, nullptr), 0);
  EXPECT_EQ(xyz, start);
}

// A rod along (1, 2, 0): its long axis is turned onto x, and negative values count for nothing.
TEST(MoveGrid, OrientsByMomentsOfInertia) {
  VXScalarGrid rod(21, 21, 21, 3, -1, 2, 0.5f, "", nullptr);
  for (int i = -4; i <= 4; ++i) rod[(10 * 21 + 10 + 2 * i) * 21 + 10 + i] = 2;
  rod[0] = rod[20] = -50;
  VXZemoGrid grid(rod), unset;
  EXPECT_EQ(vx_orient_grid_by_moments_of_inertia(grid), 1);
  float m[9];
  ASSERT_TRUE(grid.GetOrientation(m));
  EXPECT_NEAR(std::fabs(m[0] + m[1] * 2) / std::sqrt(5.0), 1, 1e-4) << "other rows are normal to the first";
  EXPECT_EQ(vx_orient_grid_by_moments_of_inertia(unset), 0);
}
