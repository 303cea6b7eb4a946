#include <vxgrid/processing/regularize.h>

#include <cmath>
#include <cstring>
#include <tuple>

#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/processing/interpolation.h>
#include <vxgrid/processing/move_grid.h>

#include "processing/lattices.h"
#include "support/support.h"

using namespace VXCore;
using testing::Each;
using testing::HasSubstr;

namespace {

// A row of points as it is brought into the period of a lattice, the plain way; false where that gives up.
bool plain_periodic_row(const GridStruct& in, const float* first, const float* step, int n, float* row) {
  const float mid[3] = {in.xmid, in.ymid, in.zmid}, h = 0.5f * in.spacing;
  const int dim[3] = {in.xdim, in.ydim, in.zdim};
  float f[3], N[3];
  for (int a = 0; a < 3; ++a) {
    const float half = static_cast<float>(dim[a] - 1) * h, lo = mid[a] - half, L = (half + mid[a]) - lo;
    float c = first[a] - lo;
    for (float before = c; c >= L; before = c)
      if ((c -= L) == before) return false;
    for (float before = c; c < 0; before = c)
      if ((c += L) == before) return false;
    f[a] = c * (1 / in.spacing);
    N[a] = L / in.spacing;
  }
  for (int i = 0; i < n; ++i) {
    int c[3];
    float t[3];
    for (int a = 0; a < 3; ++a) {
      c[a] = static_cast<int>(f[a]);
      t[a] = f[a] - static_cast<float>(c[a]);
      for (; c[a] >= dim[a] - 1; f[a] -= N[a]) c[a] -= dim[a] - 1;
      for (; c[a] < 0; f[a] += N[a]) c[a] += dim[a] - 1;
      f[a] += step[a];
    }
    row[i] = plain_trilinear(in, c, t);
  }
  return true;
}

// The regulariser as plain loops over rows and points of an output record that holds zeros.
bool plain_regularize(const GridStruct& in, const float* orientation, int mode, const GridStruct& out) {
  const float mid[3] = {in.xmid, in.ymid, in.zmid};
  float ends[6] = {0, 0, 0, out.spacing, 0, 0}, step[3];
  vx_untransform_coordinates_by_orientation_matrix(ends, 2, orientation, mid);
  for (int a = 0; a < 3; ++a) step[a] = (ends[3 + a] - ends[a]) / in.spacing;
  const auto low = [&](float m, int n) { return m - static_cast<float>(n - 1) * out.spacing * 0.5f; };
  float* row = out.floats;
  float z = low(out.zmid, out.zdim);
  for (int k = 0; k < out.zdim; ++k, z += out.spacing) {
    float y = low(out.ymid, out.ydim);
    for (int j = 0; j < out.ydim; ++j, y += out.spacing, row += out.xdim) {
      float x = low(out.xmid, out.xdim);
      for (int i = 0; i < out.xdim; ++i, x += out.spacing) {
        float p[3] = {x, y, z};
        vx_untransform_coordinates_by_orientation_matrix(p, 1, orientation, mid);
        if (mode == 0) vi_map_to_atoms_from_grid(p, 1, row + i, in, 2);
        if (mode == 1 && i == 0 && !plain_periodic_row(in, p, step, out.xdim, row)) return false;
      }
    }
  }
  return true;
}

VXZemoGrid grid_like(const GridStruct& r) {
  VXZemoGrid grid;
  grid.SetSpacing(r.spacing);
  grid.SetMid(r.xmid, r.ymid, r.zmid);
  grid.SetDim(unsigned(r.xdim), unsigned(r.ydim), unsigned(r.zdim));
  return grid;
}

int regularize(const GridStruct& in, const float* orientation, int mode, VXZemoGrid& out) {
  const float mid[3] = {in.xmid, in.ymid, in.zmid};
  const int dims[3] = {in.xdim, in.ydim, in.zdim};
  return vx_regularize_grid_from_grid_params(out, mode, in.floats, mid, dims, in.spacing, orientation,
                                             nullptr);
}

// 9 x 8 x 7 samples whose value is their x index.
VXScalarGrid x_indices() {
  VXScalarGrid grid(9, 8, 7, 0, 0, 0, 1, "name", nullptr);
  for (unsigned i = 0; i < grid.GetSize(); ++i) grid[i] = static_cast<float>(i % 9);
  grid.SetType(4);
  grid.SetData<float>("ARMS", 2);
  return grid;
}

}  // namespace

// Near and far, up to where a period no longer changes the coordinate; finer and coarser than the source's
// period.
TEST(Regularize, HasTheBitsOfThePlainLoops) {
  Lattice in(9, 7, 8, 0.37f, 1, 2, -0.5f);
  in.randomize(11);
  const std::tuple<int, int, int, float, float> boxes[] = {
      {23, 11, 13, 0.21f, 0},  {5, 6, 7, 0.37f, 1},    {40, 3, 3, 0.9f, -2.5f},
      {12, 4, 4, 3.1f, 40},    {7, 5, 5, 50, 123},     {3, 3, 3, 0.5f, 1234.5f},
      {3, 2, 2, 0.5f, -98765}, {2, 2, 2, 0.25f, 9e5f}, {2, 2, 2, 0.5f, 1e8f}};
  for (const auto& [x, y, z, spacing, mid] : boxes)
    for (const float* orientation : {kIdentity, kSkew, kSingular})
      for (const int mode : {0, 1}) {
        Lattice plain(x, y, z, spacing, mid, -mid, mid / 2);
        VXZemoGrid out = grid_like(plain.grid);
        std::fill_n(out.GetValues(), out.GetSize(), 5.0f);  // cleared first
        EXPECT_EQ(regularize(in.grid, orientation, mode, out),
                  plain_regularize(in.grid, orientation, mode, plain.grid));
        EXPECT_EQ(std::memcmp(out.GetValues(), plain.floats.data(), 4 * plain.floats.size()), 0)
            << "box of " << x << " at " << mid << ", mode " << mode << ", orientation " << orientation[1];
      }
}

// A quarter turn maps the lattice on itself. R turns (x, y) into (-y, x); the last plane is the image of the
// first.
TEST(Regularize, QuarterTurn) {
  Lattice in(5, 5, 5, 1);
  VXZemoGrid out = grid_like(in.grid);
  EXPECT_EQ(regularize(in.number().grid, kQuarterTurn, 1, out), 1);
  for (int y = 0; y < 5; ++y)
    for (int x = 0; x < 5; ++x)
      EXPECT_EQ(out.GetValues()[50 + 5 * y + x], in.floats[50 + 5 * (4 - x) % 20 + y % 4]);
}

TEST(Regularize, Refusals) {
  const std::tuple<int, int, int, float, const char*> rows[] = {
      {5, 1, 5, 1, ""},
      {5, 5, 5, 0, ""},
      {0, 5, 5, 1,
       "Warning: Unable to regularize grid due to input grid signed integer overflow: 0 x 5 x 5\n"},
      {60000, 60000, 2, 1, "overflow: 60000 x 60000 x 2"},
      {-5, 5, 5, 1, "overflow: -5 x 5 x 5"}};
  Lattice in(5, 5, 5, 1);
  in.randomize(13);
  for (const auto& [x, y, z, spacing, says] : rows)
    for (const int mode : {0, 1}) {
      CapturedLog log;
      GridStruct odd = in.grid;
      odd.xdim = x, odd.ydim = y, odd.zdim = z, odd.spacing = spacing;
      VXZemoGrid out = grid_like(in.grid);
      EXPECT_EQ(regularize(odd, kIdentity, mode, out), 0);
      EXPECT_THAT(log.text(), HasSubstr(says));
      EXPECT_EQ(log.text().empty(), *says == 0);
      EXPECT_THAT(values_of(out), Each(0));
    }
  VXZemoGrid none;
  EXPECT_EQ(regularize(in.grid, kIdentity, 0, none), 0) << "no lattice, no corners";
  for (const float odd : {NAN, INFINITY, 1e30f, 1e-40f})
    for (const int mode : {0, 1}) {
      const float matrix[9] = {odd, 1, 0, 0, odd, 0, 1, 0, odd};
      VXZemoGrid far = grid_like(Lattice(4, 4, 4, 1, odd).grid), wide = grid_like(Lattice(4, 4, 4, odd).grid);
      regularize(in.grid, kSkew, mode, far);
      regularize(in.grid, kSkew, mode, wide);
      regularize(in.grid, matrix, mode, wide);
    }
}

TEST(Regularize, Subgrids) {
  VXScalarGrid scalar = x_indices(), a, b;
  VXZemoGrid in(scalar), by_half, by_full, whole;
  float center[3] = {0.5f, 0, 0}, half[3] = {1, 1.5f, 1};
  const float full[3] = {2, 3, 2}, none[3] = {0, 0, 0};
  EXPECT_EQ(vx_make_regularized_subgrid(in, center, half, 0, by_half), 1);
  EXPECT_TRUE(VXMakeRegularSubGrid(by_full, in, center, full, 0, false));
  EXPECT_TRUE(VXMakeRegularSubGrid(a, scalar, center, full, 1, false));
  EXPECT_TRUE(VXMakeRegularSubGrid(b, VXSkewGrid(scalar), center, full, 1, false));
  EXPECT_EQ(by_full.GetValues()[1], 4.5f);
  EXPECT_EQ(values_of(by_half), values_of(by_full));
  for (const VXScalarGrid* grid : {&a, &b}) {
    EXPECT_EQ(values_of(*grid), values_of(by_full));
    EXPECT_EQ(grid->GetType(), 4u);
    EXPECT_EQ(grid->GetTitle(), "name");
    EXPECT_EQ(grid->GetData<float>("ARMS"), 2);
  }
  EXPECT_TRUE(VXMakeRegularSubGrid(scalar, scalar, center, full, 1, false)) << "onto itself";
  EXPECT_EQ(values_of(scalar), values_of(a));
  EXPECT_FALSE(VXMakeRegularSubGrid(a, b, center, none, 0.25f, true));
  EXPECT_EQ(a.GetSpacing(), 1) << "without a lattice the spacing is the source's";

  center[0] = 100;
  EXPECT_EQ(vx_make_regularized_subgrid(in, center, half, 0.5f, by_half), 1);
  EXPECT_THAT(values_of(by_half), Each(0)) << "beyond the source";
  EXPECT_EQ(vx_make_regularized_subgrid_reenterent(in, center, half, 0.5f, by_half), 1);
  EXPECT_EQ(by_half.GetValues()[0], 7) << "103 steps in: 12 periods of 8 cells and 7";
  EXPECT_EQ(vx_regularize_grid_reenterent(in, whole), 1);
  EXPECT_EQ(whole.GetSize(), in.GetSize()) << "the box of the corners at the source's spacing";
  EXPECT_EQ(whole.GetValues()[8], 0) << "image of the first plane";
  EXPECT_EQ(vx_regularize_grid(in, in), 1) << "onto itself";
}

TEST(MakeRegularGrid, OfAWorkingGrid) {
  VXZemoGrid in(VXScalarGrid(5, 4, 3, 0, 0, 0, 1, "name", nullptr)), out;
  std::fill_n(in.GetValues(), 60, 2.0f);
  in.SetOrientationSet(false);
  for (const float spacing : {0.0f, 1.0f}) {
    EXPECT_TRUE(VXMakeRegularGrid(out, in, spacing));
    EXPECT_EQ(values_of(out), values_of(in)) << "a copy";
  }
  EXPECT_TRUE(VXMakeRegularGrid(out, in, 0.5f));
  const float* const row = out.GetValues() + 11 * (9 * 3 + 4);  // begins half a step below the source
  EXPECT_EQ(out.GetXDim(), 11u) << "one spacing wider than the samples span";
  EXPECT_TRUE(row[0] == 0 && row[5] == 2 && row[10] == 0);
  in.SetReentrant(true);
  EXPECT_TRUE(VXMakeRegularGrid(out, in, 0.5f));
  EXPECT_THAT(values_of(out), Each(2)) << "a re-entrant source fills every point";
  in.SetOrientation(kIdentity);
  EXPECT_TRUE(VXMakeRegularGrid(out, in, 0));
  EXPECT_EQ(out.GetXMid(), 1) << "oriented: resampled about a centre one spacing up";
}

TEST(MakeRegularGrid, OfASkewGrid) {
  VXSkewGrid skew(x_indices());
  VXScalarGrid out;
  VXZemoGrid inner;
  skew.SetData<int>("kept", 7);
  EXPECT_TRUE(VXMakeRegularGrid(out, skew, 99)) << "the spacing of a regular one is not looked at";
  EXPECT_EQ(values_of(out), values_of(x_indices()));
  EXPECT_EQ(out.GetType(), 0u);
  EXPECT_EQ(out.GetData<int>("kept"), 7);

  skew.SetUnitCell(10, 12, 14, 80, 95, 110, 20, 24, 28);
  skew.SetReentrant(true);
  skew.SetTitle("later");
  EXPECT_TRUE(VXMakeRegularGrid(out, skew, 0));
  EXPECT_TRUE(VXMakeRegularGrid(inner, skew.GetImpl().GetImpl(), 0));
  EXPECT_EQ(values_of(out), values_of(inner));
  EXPECT_EQ(out.GetTitle(), "later");
  EXPECT_EQ(out.GetSpacing(), 0.5f);
}
