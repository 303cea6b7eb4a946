#include <vxgrid/processing/regularize.h>

#include <cmath>
#include <cstring>

#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/processing/interpolation.h>
#include <vxgrid/processing/make_grid.h>
#include <vxgrid/processing/move_grid.h>

#include "processing/lattices.h"
#include "support/support.h"

using namespace VXCore;
using testing::Each;
using testing::HasSubstr;

namespace {

constexpr float kIdentity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
constexpr float kSkew[9] = {1.2f, -0.3f, 0.2f, 0, 1.1f, 0.4f, 0, 0, 0.9f};
constexpr float kSingular[9] = {1, 2, 3, 2, 4, 6, 0, 0, 1};

std::vector<float> values_of(const VXScalarGrid& grid) {
  return {grid.GetValues(), grid.GetValues() + grid.GetSize()};
}
std::vector<float> values_of(const VXZemoGrid& grid) {
  return {grid.GetValues(), grid.GetValues() + grid.GetSize()};
}

// The regulariser as plain loops over rows and points. The output is a record; false where the walk gives up.
bool plain_regularize(const GridStruct& in, const float* orientation, int mode, GridStruct out) {
  const float mid[3] = {in.xmid, in.ymid, in.zmid}, h = 0.5f * in.spacing, inverse = 1 / in.spacing;
  const int dim[3] = {in.xdim, in.ydim, in.zdim};
  float lo[3], L[3], N[3], step[3];
  for (int a = 0; a < 3; ++a) {
    lo[a] = mid[a] - static_cast<float>(dim[a] - 1) * h;
    L[a] = (static_cast<float>(dim[a] - 1) * h + mid[a]) - lo[a];
    N[a] = L[a] / in.spacing;
  }
  float ends[6] = {0, 0, 0, out.spacing, 0, 0};
  vx_untransform_coordinates_by_orientation_matrix(ends, 2, orientation, mid);
  for (int a = 0; a < 3; ++a) step[a] = (ends[3 + a] - ends[a]) / in.spacing;
  const auto low = [&](float m, int n) { return m - static_cast<float>(n - 1) * out.spacing * 0.5f; };
  std::vector<float> work(3 * static_cast<std::size_t>(out.xdim));
  float* row = out.floats;
  float z = low(out.zmid, out.zdim);
  for (int k = 0; k < out.zdim; ++k, z += out.spacing) {
    float y = low(out.ymid, out.ydim);
    for (int j = 0; j < out.ydim; ++j, y += out.spacing, row += out.xdim) {
      float x = low(out.xmid, out.xdim);
      for (int i = 0; i < out.xdim; ++i, x += out.spacing) {
        work[3 * i] = x;
        work[3 * i + 1] = y;
        work[3 * i + 2] = z;
      }
      vx_untransform_coordinates_by_orientation_matrix(work.data(), out.xdim, orientation, mid);
      if (mode == 0) {
        vi_map_to_atoms_from_grid(work.data(), out.xdim, row, in, 2);
        continue;
      }
      float f[3];
      for (int a = 0; a < 3; ++a) {
        float c = work[a] - lo[a];
        for (float before = c; c >= L[a]; before = c)
          if ((c -= L[a]) == before) return false;
        for (float before = c; c < 0; before = c)
          if ((c += L[a]) == before) return false;
        f[a] = c * inverse;
      }
      for (int i = 0; i < out.xdim; ++i) {
        int c[3];
        float t[3];
        for (int a = 0; a < 3; ++a) {
          c[a] = static_cast<int>(f[a]);
          t[a] = f[a] - static_cast<float>(c[a]);
          for (; c[a] >= dim[a] - 1; f[a] -= N[a]) c[a] -= dim[a] - 1;
          for (; c[a] < 0; f[a] += N[a]) c[a] += dim[a] - 1;
        }
        const auto v = [&](int dx, int dy, int dz) {
          return in.floats[c[0] + dx + in.xdim * (c[1] + dy + in.ydim * (c[2] + dz))];
        };
        const auto mix = [](float a, float b, float at) { return a + (b - a) * at; };
        const auto edge = [&](int dy, int dz) { return mix(v(0, dy, dz), v(1, dy, dz), t[0]); };
        row[i] = mix(mix(edge(0, 0), edge(1, 0), t[1]), mix(edge(0, 1), edge(1, 1), t[1]), t[2]);
        for (int a = 0; a < 3; ++a) f[a] += step[a];
      }
    }
  }
  return true;
}

struct Box {
  int x, y, z;
  float spacing, mid;
};

VXZemoGrid empty_grid(const Box& box) {
  VXZemoGrid grid;
  grid.SetSpacing(box.spacing);
  grid.SetMid(box.mid, -box.mid, box.mid / 2);
  grid.SetDim(static_cast<unsigned>(box.x), static_cast<unsigned>(box.y), static_cast<unsigned>(box.z));
  return grid;
}

int regularize(const Lattice& in, const float* orientation, int mode, VXZemoGrid& out) {
  const float mid[3] = {in.grid.xmid, in.grid.ymid, in.grid.zmid};
  const int dims[3] = {in.grid.xdim, in.grid.ydim, in.grid.zdim};
  return vx_regularize_grid_from_grid_params(out, mode, in.grid.floats, mid, dims, in.grid.spacing,
                                             orientation, nullptr);
}

}  // namespace

TEST(Regularize, HasTheBitsOfThePlainLoops) {
  Lattice in(9, 7, 8, 0.37f, 1, 2, -0.5f);
  in.randomize(11);
  const Box boxes[] = {{23, 11, 13, 0.21f, 0},  {5, 6, 7, 0.37f, 1},    {40, 3, 3, 0.9f, -2.5f},
                       {12, 4, 4, 3.1f, 40},    {7, 5, 5, 50, 123},     {3, 3, 3, 0.5f, 1234.5f},
                       {3, 2, 2, 0.5f, -98765}, {2, 2, 2, 0.25f, 9e5f}, {2, 2, 2, 0.5f, 1e8f}};
  for (const Box& box : boxes)
    for (const float* orientation : {kIdentity, kSkew, kSingular})
      for (const int mode : {0, 1}) {
        SCOPED_TRACE(testing::Message() << box.mid << " mode " << mode << " " << orientation[1]);
        VXZemoGrid out = empty_grid(box);
        Lattice plain(box.x, box.y, box.z, box.spacing, box.mid, -box.mid, box.mid / 2);
        std::fill_n(out.GetValues(), out.GetSize(), 5.0f);  // cleared first
        const bool done = plain_regularize(in.grid, orientation, mode, plain.grid);
        EXPECT_EQ(regularize(in, orientation, mode, out), done);
        EXPECT_EQ(std::memcmp(out.GetValues(), plain.floats.data(), 4 * plain.floats.size()), 0);
      }
}

// A quarter turn maps the lattice on itself; a linear field keeps its value at every place of a skew one.
TEST(Regularize, SymmetryAndLinearFields) {
  Lattice in(5, 5, 5, 1);
  in.number();
  const float quarter[9] = {0, -1, 0, 1, 0, 0, 0, 0, 1};
  VXZemoGrid out = empty_grid({5, 5, 5, 1, 0});
  EXPECT_EQ(regularize(in, quarter, 1, out), 1);
  for (int y = 0; y < 5; ++y)  // R turns (x, y) into (-y, x); the last plane is the image of the first
    for (int x = 0; x < 5; ++x)
      EXPECT_EQ(out.GetValues()[50 + 5 * y + x], in.floats[50 + 5 * (4 - x) % 20 + y % 4]);

  Lattice field(30, 30, 30, 0.5f, 1, 2, 3);
  field.fill([](float x, float y, float z) {  // of the world position R (p - c) + c
    const float d[3] = {x - 1, y - 2, z - 3};
    return 1.2f * d[0] - 0.3f * d[1] + 0.2f * d[2] + 2 * (1.1f * d[1] + 0.4f * d[2]) - 0.9f * d[2];
  });
  VXZemoGrid linear;
  linear.SetSpacing(0.4f);
  linear.SetMid(1, 2, 3);
  linear.SetDim(15, 14, 13);
  EXPECT_EQ(regularize(field, kSkew, 0, linear), 1);
  for (unsigned i = 0; i < linear.GetSize(); ++i) {
    float x, y, z;
    linear.ElementToSpatialCoord(i, x, y, z);
    EXPECT_NEAR(linear.GetValues()[i], (x - 1) + 2 * (y - 2) - (z - 3), 2e-5);
  }
}

TEST(Regularize, PeriodIsOneCellShort) {
  Lattice in(5, 4, 6, 0.5f);
  in.randomize(12);
  VXZemoGrid clipped = empty_grid({40, 3, 3, 0.5f, 0}), images = empty_grid({40, 3, 3, 0.5f, 0});
  EXPECT_EQ(regularize(in, kIdentity, 1, images), 1);
  EXPECT_EQ(regularize(in, kIdentity, 0, clipped), 1);
  for (int i = 0; i + 4 < 120; ++i) {
    if (i % 40 < 36) {
      EXPECT_EQ(images.GetValues()[i], images.GetValues()[i + 4]);
    }
    EXPECT_EQ(clipped.GetValues()[i] != 0, i % 40 >= 18 && i % 40 < 22) << i;  // half a step off the lattice
  }
}

TEST(Regularize, Refusals) {
  const struct {
    const char* what;
    int x, y, z;
    float spacing;
    const char* says;
  } rows[] = {
      {"flat source", 5, 1, 5, 1, ""},
      {"no spacing", 5, 5, 5, 0, ""},
      {"empty source", 0, 5, 5, 1,
       "Warning: Unable to regularize grid due to input grid signed integer overflow: 0 x 5 x 5\n"},
      {"overflow", 60000, 60000, 2, 1, "input grid signed integer overflow: 60000 x 60000 x 2"},
      {"negative", -5, 5, 5, 1, "input grid signed integer overflow: -5 x 5 x 5"},
  };
  const std::vector<float> some(125, 1.0f);
  for (const auto& row : rows)
    for (const int mode : {0, 1}) {
      SCOPED_TRACE(row.what);
      CapturedLog log;
      VXZemoGrid out = empty_grid({2, 3, 2, 1, 0});
      const int dims[3] = {row.x, row.y, row.z};
      const float mid[3] = {0, 0, 0};
      EXPECT_EQ(vx_regularize_grid_from_grid_params(out, mode, some.data(), mid, dims, row.spacing, kIdentity,
                                                    nullptr),
                0);
      EXPECT_THAT(log.text(), HasSubstr(row.says));
      EXPECT_EQ(log.text().empty(), *row.says == 0);
      EXPECT_THAT(values_of(out), Each(0));
    }
  Lattice in(5, 5, 5, 1);
  in.randomize(13);
  VXZemoGrid none;
  EXPECT_EQ(regularize(in, kIdentity, 0, none), 0) << "no lattice, no corners";
  for (const float odd : {NAN, INFINITY, 1e30f, 1e-40f})
    for (const int mode : {0, 1}) {
      VXZemoGrid far = empty_grid({4, 4, 4, 1, odd}), wide = empty_grid({4, 4, 4, 1, 0});
      wide.SetSpacing(odd);
      regularize(in, kSkew, mode, far);
      regularize(in, kSkew, mode, wide);
      const float matrix[9] = {odd, 1, 0, 0, odd, 0, 1, 0, odd};
      regularize(in, matrix, mode, wide);
    }
}

TEST(Regularize, SubgridsOfAnOrientedGrid) {
  VXScalarGrid plain(9, 8, 7, 0, 0, 0, 1, "name", nullptr);
  for (unsigned i = 0; i < plain.GetSize(); ++i) plain[i] = static_cast<float>(i % 9);
  VXZemoGrid in(plain);
  float center[3] = {0.5f, 0, 0}, half[3] = {1, 1.5f, 1}, full[3] = {2, 3, 2};
  VXZemoGrid by_half, by_full;
  EXPECT_EQ(vx_make_regularized_subgrid(in, center, half, 0, by_half), 1);
  EXPECT_TRUE(VXMakeRegularSubGrid(by_full, in, center, full, 0, false));
  EXPECT_EQ(values_of(by_half), values_of(by_full));
  EXPECT_EQ(by_full.GetValues()[1], 4.5f);
  EXPECT_EQ(by_full.GetTitle(), "name");
  EXPECT_EQ(by_full.GetSpacing(), 1);
  center[0] = 100;
  EXPECT_EQ(vx_make_regularized_subgrid(in, center, half, 0.5f, by_half), 1);
  EXPECT_THAT(values_of(by_half), Each(0));
  EXPECT_EQ(vx_make_regularized_subgrid_reenterent(in, center, half, 0.5f, by_half), 1);
  EXPECT_EQ(by_half.GetValues()[0], 7) << "103 steps in: 12 periods and 7";

  // An empty output takes the bounding box of the corners at the source's spacing.
  VXZemoGrid whole;
  EXPECT_EQ(vx_regularize_grid_reenterent(in, whole), 1);
  EXPECT_EQ(whole.GetSize(), in.GetSize());
  EXPECT_EQ(whole.GetValues()[7], 7);
  EXPECT_EQ(whole.GetValues()[8], 0) << "image of the first plane";
  EXPECT_EQ(vx_regularize_grid(in, in), 1) << "onto itself";
}

TEST(Regularize, SubgridsOfScalarAndSkewGrids) {
  VXScalarGrid in(9, 8, 7, 0, 0, 0, 1, "name", nullptr);
  for (unsigned i = 0; i < in.GetSize(); ++i) in[i] = static_cast<float>(i % 9);
  in.SetType(4);
  in.SetData<float>("ARMS", 2);
  VXSkewGrid skew(in);
  const float center[3] = {0.5f, 0, 0}, extents[3] = {2, 3, 2}, none[3] = {0, 0, 0};
  VXScalarGrid a, b;
  VXZemoGrid z;
  EXPECT_TRUE(VXMakeRegularSubGrid(a, in, center, extents, 0.5f, false));
  EXPECT_TRUE(VXMakeRegularSubGrid(b, skew, center, extents, 0.5f, false));
  EXPECT_TRUE(VXMakeRegularSubGrid(z, VXZemoGrid(in), center, extents, 0.5f, false));
  EXPECT_EQ(values_of(a), values_of(b));
  EXPECT_EQ(values_of(a), values_of(z));
  for (const VXScalarGrid* grid : {&a, &b}) {
    EXPECT_EQ(grid->GetType(), 4u);
    EXPECT_EQ(grid->GetTitle(), "name");
    EXPECT_EQ(grid->GetData<float>("ARMS"), 2);
  }
  EXPECT_TRUE(VXMakeRegularSubGrid(in, in, center, extents, 0.5f, false)) << "onto itself";
  EXPECT_EQ(values_of(in), values_of(a));

  EXPECT_FALSE(VXMakeRegularSubGrid(a, b, center, none, 0.25f, true));
  EXPECT_EQ(a.GetSize(), 1u);
  EXPECT_EQ(a.GetSpacing(), 0.5f) << "without a lattice the spacing is the source's";
  EXPECT_FALSE(VXMakeRegularSubGrid(a, b, nullptr, none, 1, true));
}

TEST(MakeRegularGrid, CopiesOrResamples) {
  VXZemoGrid in(VXScalarGrid(5, 4, 3, 0, 0, 0, 1, "name", nullptr));
  std::fill_n(in.GetValues(), 60, 2.0f);
  in.SetOrientationSet(false);
  VXZemoGrid out;
  for (const float spacing : {0.0f, 1.0f}) {
    EXPECT_TRUE(VXMakeRegularGrid(out, in, spacing));
    EXPECT_EQ(values_of(out), values_of(in));
  }
  EXPECT_TRUE(VXMakeRegularGrid(out, in, 0.5f));
  EXPECT_EQ(out.GetXDim(), 11u) << "one spacing wider than the samples span";
  const int middle = 11 * (9 * 3 + 4);  // sample 0 lies half a step below the source
  EXPECT_EQ(out.GetValues()[middle], 0);
  EXPECT_EQ(out.GetValues()[middle + 5], 2);
  EXPECT_EQ(out.GetValues()[middle + 10], 0);
  in.SetReentrant(true);
  EXPECT_TRUE(VXMakeRegularGrid(out, in, 0.5f));
  EXPECT_THAT(values_of(out), Each(2)) << "a re-entrant source fills every point";

  in.SetOrientation(kIdentity);
  EXPECT_TRUE(VXMakeRegularGrid(out, in, 0));  // oriented: resampled about a centre one spacing up
  EXPECT_EQ(out.GetXMid(), 1);
}

TEST(MakeRegularGrid, OfASkewGrid) {
  VXScalarGrid scalar(6, 5, 4, 1, 2, 3, 0.5f, "at birth", nullptr);
  for (unsigned i = 0; i < scalar.GetSize(); ++i) scalar[i] = static_cast<float>(i);
  scalar.SetType(4);
  VXSkewGrid skew(scalar);
  skew.SetData<int>("kept", 7);
  VXScalarGrid out;
  EXPECT_TRUE(VXMakeRegularGrid(out, skew, 99)) << "the spacing of a regular one is not looked at";
  EXPECT_EQ(values_of(out), values_of(scalar));
  EXPECT_EQ(out.GetType(), 0u);
  EXPECT_EQ(out.GetZMid(), 3);
  EXPECT_EQ(out.GetData<int>("kept"), 7);

  skew.SetUnitCell(10, 12, 14, 80, 95, 110, 20, 24, 28);
  skew.SetReentrant(true);
  skew.SetTitle("later");
  ASSERT_FALSE(skew.IsRegular());
  EXPECT_TRUE(VXMakeRegularGrid(out, skew, 0));
  EXPECT_EQ(out.GetType(), 4u);
  EXPECT_EQ(out.GetTitle(), "later");
  EXPECT_EQ(out.GetSpacing(), 0.5f);
  EXPECT_EQ(out.GetData<int>("kept"), 7);
  VXZemoGrid inner;
  EXPECT_TRUE(VXMakeRegularGrid(inner, skew.GetImpl().GetImpl(), 0));
  EXPECT_EQ(values_of(out), values_of(inner));
}
