#include <vxgrid/processing/make_grid.h>

#include <cmath>

#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/processing/move_grid.h>

#include "support/support.h"

using namespace VXCore;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::FloatNear;
using testing::HasSubstr;
using testing::Pointwise;

namespace {

constexpr float kSkew[9] = {1.2f, -0.3f, 0.2f, 0, 1.1f, 0.4f, 0, 0, 0.9f};

VXZemoGrid numbered(int x, int y, int z, float spacing, float xm = 0, float ym = 0, float zm = 0) {
  VXScalarGrid grid(x, y, z, xm, ym, zm, spacing, "numbered", nullptr);
  for (unsigned i = 0; i < grid.GetSize(); ++i) grid[i] = static_cast<float>(i);
  return VXZemoGrid(grid);
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
  const struct {
    float extents[3];
    float spacing;
    bool result;
    std::vector<unsigned> dim;
    const char* says;
  } rows[] = {
      {{10, 10, 10}, 0.5f, true, {21, 21, 21}, ""},
      {{3, 0, 1.99f}, 1, true, {4, 1, 2}, ""},
      {{-1, 4, 4}, 1, true, {0, 5, 5}, ""},
      {{4, 4, 4}, 0, false, {1, 1, 1}, ""},
      {{4, 16777218, 4},
       1,
       false,
       {1, 1, 1},
       "Warning: Unable to make dimension from extent because of (float)16777220.000000 is greater than the "
       "maximum "
       "allowed(unsigned int)16777216 when performing conversions between integers and floating point "
       "types\n"},
      {{4, 4, -16777224},
       1,
       false,
       {1, 1, 1},
       "(float)-16777224.000000 is less than the minimum allowed(unsigned int)0 when performing"},
      {{1e38f, 1, 1}, 1e-9f, false, {1, 1, 1}, "greater than the maximum"},
      {{4, NAN, 4}, 1, false, {1, 1, 1}, "less than the minimum"},
      {{16777215, 16777215, 1}, 1, false, {1, 1, 1}, "Grid dimensions too large"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.says);
    CapturedLog log;
    VXZemoGrid grid;
    EXPECT_EQ(VXMakeGridFromCenterAndExtents(grid, center, row.extents, row.spacing), row.result);
    EXPECT_EQ(dims(grid), row.dim);
    EXPECT_THAT(log.text(), HasSubstr(row.says));
    EXPECT_EQ(log.text().empty(), *row.says == 0);
    VXScalarGrid scalar;
    EXPECT_EQ(VXMakeGridFromCenterAndExtents(scalar, center, row.extents, row.spacing), row.result);
    EXPECT_EQ(dims(scalar), row.dim);
    if (row.result) {
      EXPECT_THAT(mids(scalar), ElementsAre(1, 2, 3));
    }
  }
  VXZemoGrid grid;
  EXPECT_FALSE(VXMakeGridFromCenterAndExtents(grid, nullptr, center, 1));
  EXPECT_FALSE(VXMakeGridFromCenterAndExtents(grid, center, nullptr, 1));

  float half[3] = {5, 0, 1.2f}, at[3] = {1, 2, 3};
  EXPECT_EQ(vx_make_empty_grid(grid, at, half, 0), 0);
  EXPECT_EQ(vx_make_empty_grid(grid, at, half, 0.5f), 1);
  EXPECT_THAT(dims(grid), ElementsAre(21, 1, 5));
  EXPECT_EQ(grid.GetIntegers().GetZMid(), 3);
}

TEST(MakeGrid, CenterAndExtents) {
  float center[3] = {-1, -1, -1}, extents[3] = {-1, -1, -1};
  VXGetCenterAndExtents(VXScalarGrid(), center, extents);
  EXPECT_THAT(center, ElementsAre(0, 0, 0));
  EXPECT_THAT(extents, ElementsAre(-1, -1, -1)) << "no spacing was set";
  VXZemoGrid grid = numbered(4, 3, 2, 0.5f, 1, 2, 3);
  VXGetCenterAndExtents(grid.GetFloats(), center, extents);
  EXPECT_THAT(center, ElementsAre(1, 2, 3));
  EXPECT_THAT(extents, ElementsAre(2, 1.5f, 1));
  VXGetCenterAndExtents(grid, center,
                        extents);  // an identity counts as orientation: samples' box, one spacing up
  EXPECT_THAT(center, ElementsAre(1.5f, 2.5f, 3.5f));
  EXPECT_THAT(extents, ElementsAre(1.5f, 1, 0.5f));

  grid.SetOrientation(kSkew);
  float corners[24];
  EXPECT_EQ(vx_get_corners_of_grid(corners, grid), 1);
  for (int corner = 0; corner < 8; ++corner) {
    float p[3];
    const unsigned element = (corner & 1 ? 3 : 0) + 4 * ((corner & 2 ? 2 : 0) + 3 * (corner & 4 ? 1 : 0));
    grid.ElementToSpatialCoord(element, p[0], p[1], p[2]);
    for (int a = 0; a < 3; ++a) EXPECT_FLOAT_EQ(corners[3 * corner + a], p[a]);
  }
  VXSkewGrid skew;
  skew.GetImpl().GetImpl() = grid;
  VXGetCenterAndExtents(skew, center, extents);
  for (int a = 0; a < 3; ++a) {
    float low = HUGE_VALF, high = -HUGE_VALF;
    for (int corner = 0; corner < 8; ++corner) {
      low = std::min(low, corners[3 * corner + a]);
      high = std::max(high, corners[3 * corner + a]);
    }
    EXPECT_FLOAT_EQ(extents[a], high - low);
    EXPECT_FLOAT_EQ(center[a], (low + high) / 2 + 0.5f);
  }
  center[0] = 77;
  grid.SetDim(0, 3, 3);
  VXGetCenterAndExtents(grid, center, extents);
  EXPECT_EQ(center[0], 77);
}

TEST(MakeGrid, SubgridThatEnclosesPoints) {
  VXZemoGrid in = numbered(9, 7, 5, 1);
  for (unsigned i = 0; i < in.GetSize(); ++i) in.GetIntegers().GetValues()[i] = -static_cast<int>(i);
  const float points[] = {-0.6f, 0, 0.2f, 1.1f, -1.2f, 0};
  VXZemoGrid out;
  ASSERT_EQ(vx_make_subgrid_that_encloses_points(in, points, 2, 0.5f, out), 1);
  EXPECT_THAT(dims(out), ElementsAre(4, 3, 2));
  EXPECT_THAT(mids(out), ElementsAre(-0.5f, -1, -0.5f));
  for (unsigned i = 0; i < out.GetSize(); ++i) {  // each sample is the source's at the same place
    float x, y, z;
    out.ElementToSpatialCoord(i, x, y, z);
    const unsigned element = static_cast<unsigned>(x + 4 + 9 * (y + 3 + 7 * (z + 2)));
    EXPECT_EQ(out.GetValues()[i], static_cast<float>(element));
    EXPECT_EQ(out.GetIntegers().GetValues()[i], -static_cast<int>(element));
  }
  // A span of 3.5 is cut to 3 before it is halved: indices count from -1.5, not from the first sample at
  // -1.75.
  const float low[] = {-1.5f, 0, 0};
  ASSERT_EQ(vx_make_subgrid_that_encloses_points(numbered(8, 8, 8, 0.5f), low, 1, 0.1f, out), 1);
  EXPECT_EQ(out.GetXDim(), 1u);
  EXPECT_EQ(out.GetXMid(), -1.5f);

  const struct {
    float x, y, z;
    const char* says;
  } misses[] = {
      {50, 0, 0, "minimum x of points is greater than original grid"},
      {0, 50, -50, "minimum y of points is greater than original grid"},
      {-50, -50, 50, "minimum z of points is greater than original grid"},
      {-50, -50, 0, "maximum x of points is less than original grid"},
      {0, 0, -50, "maximum z of points is less than original grid"},
  };
  for (const auto& miss : misses) {
    CapturedLog log;
    const float p[3] = {miss.x, miss.y, miss.z};
    EXPECT_EQ(vx_make_subgrid_that_encloses_points(in, p, 1, 1, out), 0);
    EXPECT_EQ(log.text(), "Warning: " + std::string(miss.says) + "\n");
    EXPECT_EQ(out.GetXMid(), -1.5f) << "unchanged";
  }
  const float odd[] = {NAN, INFINITY, 0, 0, 0, 0};
  for (const float margin : {0.0f, -3.0f, NAN, INFINITY, 1e30f}) {
    CapturedLog log;
    vx_make_subgrid_that_encloses_points(in, odd, 2, margin, out);
  }
  ASSERT_EQ(vx_make_subgrid_that_encloses_points(in, points, 0, 99, in), 1)
      << "onto itself; the first point alone";
  EXPECT_EQ(in.GetSize(), 1u);
}

TEST(MoveGrid, TranslateAndRotate) {
  VXZemoGrid grid = numbered(3, 3, 3, 1, 1, 2, 3);
  grid.SetSpaceGroup(19);
  const double shift[3] = {0.5, -1, 2};
  EXPECT_TRUE(VXTranslate(grid, shift));
  EXPECT_THAT(mids(grid), ElementsAre(1.5f, 1, 5));
  EXPECT_EQ(grid.GetIntegers().GetZMid(), 5);
  EXPECT_EQ(grid.GetSpaceGroup(), 0u);

  // A turn moves every sample as it moves points about the origin, twice over too.
  const float quarter[9] = {0, -1, 0, 1, 0, 0, 0, 0, 1}, angle = 0.3f;
  const double tilt[9] = {1, 0, 0, 0, std::cos(angle), -std::sin(angle), 0, std::sin(angle), std::cos(angle)};
  const float tilt_f[9] = {
      1, 0, 0, 0, std::cos(angle), -std::sin(angle), 0, std::sin(angle), std::cos(angle)};
  std::vector<float> before, after;
  VXSkewGrid skew;
  skew.GetImpl().GetImpl() = grid;
  grid.SpatialCoords(before);
  skew.SetSpaceGroup(5);
  EXPECT_TRUE(VXRotate(skew, quarter));
  EXPECT_TRUE(VXRotate(skew, tilt));
  vx_transform_coordinates_by_orientation_matrix(before.data(), 27, quarter, nullptr);
  vx_transform_coordinates_by_orientation_matrix(before.data(), 27, tilt_f, nullptr);
  skew.GetImpl().GetImpl().SpatialCoords(after);
  EXPECT_THAT(after, Pointwise(FloatNear(1e-5f), before));
  EXPECT_FALSE(skew.HasSpaceGroup());
  EXPECT_FALSE(VXRotate(grid, static_cast<const float*>(nullptr)));
  EXPECT_FALSE(VXTranslate(skew, static_cast<const double*>(nullptr)));
}

TEST(MoveGrid, TransformsOfCoordinates) {
  const std::vector<float> start = {1, 2, 3, -4, 5, 0.5f};
  std::vector<float> xyz = start;
  const float center[3] = {0.5f, -1, 2}, singular[9] = {1, 2, 3, 2, 4, 6, 0, 0, 1};
  EXPECT_EQ(vx_transform_coordinates_by_orientation_matrix(xyz.data(), 1, kSkew, center), 1);
  const float d[3] = {0.5f, 3, 1};
  EXPECT_FLOAT_EQ(xyz[0], 1.2f * d[0] - 0.3f * d[1] + 0.2f * d[2] + 0.5f);
  EXPECT_FLOAT_EQ(xyz[1], 1.1f * d[1] + 0.4f * d[2] - 1);
  EXPECT_EQ(xyz[3], -4) << "n points, no more";
  EXPECT_EQ(vx_untransform_coordinates_by_orientation_matrix(xyz.data(), 1, kSkew, center), 1);
  EXPECT_THAT(xyz, Pointwise(FloatNear(1e-5f), start));
  xyz = start;
  EXPECT_EQ(vx_untransform_coordinates_by_orientation_matrix(xyz.data(), 2, singular, nullptr), 0);
  EXPECT_EQ(xyz, start);

  VXZemoGrid grid;
  EXPECT_EQ(vx_transform_coordinates_by_grid_orientation(xyz.data(), 2, grid), 0);
  EXPECT_EQ(vx_untransform_coordinates_by_grid_orientation(xyz.data(), 2, grid), 0);
  grid.SetMid(center[0], center[1], center[2]);
  grid.SetOrientation(kSkew);
  EXPECT_EQ(vx_transform_coordinates_by_grid_orientation(xyz.data(), 2, grid), 1);
  EXPECT_NE(xyz, start);
  EXPECT_EQ(vx_untransform_coordinates_by_grid_orientation(xyz.data(), 2, grid), 1);
  EXPECT_THAT(xyz, Pointwise(FloatNear(1e-5f), start));
}

// A rod along (1, 2, 0) with a side arm: its long axis is turned onto x, and negative values count for
// nothing.
TEST(MoveGrid, OrientsByMomentsOfInertia) {
  VXScalarGrid rod(21, 21, 21, 3, -1, 2, 0.5f, "", nullptr);
  for (int i = -4; i <= 4; ++i) rod[static_cast<unsigned>((10 * 21 + 10 + 2 * i) * 21 + 10 + i)] = 2;
  for (unsigned x : {0u, 20u}) rod[x] = -50;
  VXZemoGrid grid(rod);
  EXPECT_EQ(vx_orient_grid_by_moments_of_inertia(grid), 1);
  float m[9];
  ASSERT_TRUE(grid.GetOrientation(m));
  const double length = std::sqrt(5.0);
  EXPECT_NEAR(std::fabs(m[0] * 1 + m[1] * 2) / length, 1, 1e-4);
  EXPECT_NEAR(m[3] * 1 + m[4] * 2, 0, 1e-3);
  EXPECT_NEAR(m[6] * 1 + m[7] * 2, 0, 1e-3);
  const double determinant = m[0] * (m[4] * m[8] - m[5] * m[7]) - m[1] * (m[3] * m[8] - m[5] * m[6]) +
                             m[2] * (m[3] * m[7] - m[4] * m[6]);
  EXPECT_NEAR(determinant, 1, 1e-5);
  EXPECT_THAT(mids(grid), ElementsAre(3, -1, 2));
  VXZemoGrid unset;
  EXPECT_EQ(vx_orient_grid_by_moments_of_inertia(unset), 0);
  VXZemoGrid flat(VXScalarGrid(3, 3, 3, 0, 0, 0, 1, "", nullptr));
  EXPECT_EQ(vx_orient_grid_by_moments_of_inertia(flat), 1);
}
