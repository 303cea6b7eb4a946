#include <vxgrid/processing/grid_struct.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <tuple>
#include <utility>
#include <vector>

#include <vxgrid/grid/zemogrid.h>
#include <vxgrid/processing/grid_file.h>
#include <vxgrid/processing/grid_merge.h>
#include <vxgrid/processing/grid_sweeps.h>

#include "processing/lattices.h"
#include "support/support.h"

using namespace VXCore;
using testing::ElementsAre;
using testing::HasSubstr;

TEST(GridStruct, Overflow) {
  const int fits[][3] = {{0, 5, 5}, {46341, 46341, 0}, {INT_MAX, 1, 1}, {1290, 1290, 1290}};
  const int overflows[][3] = {
      {46341, 46341, 1}, {1290, 1290, 1291},         {INT_MAX, 1, 2}, {-1, 5, 5}, {5, 5, -1},
      {5, -1, -1},       {INT_MIN, INT_MIN, INT_MIN}};
  for (const auto& [x, y, z] : fits) EXPECT_FALSE(vx_grid_struct_overflow(x, y, z)) << x << " " << y;
  for (const auto& [x, y, z] : overflows) EXPECT_TRUE(vx_grid_struct_overflow(x, y, z)) << x << " " << y;
  GridStruct grid{};
  grid.xdim = grid.ydim = grid.zdim = 60000;
  vx_allocate_grid_struct(grid, true, true, 0);
  EXPECT_TRUE(!grid.floats && !grid.integers) << "an overflowing count has no array";
}

TEST(GridStruct, EnclosesPointsWithAMargin) {
  float points[] = {0, 0, 0, 4, 1, -2}, far[] = {-3e38f, 0, NAN, 3e38f, 0, 0};
  GridStruct grid{};
  EXPECT_EQ(vx_set_grid_from_points(points, 2, 0.5f, 0, 1, 0, &grid), 0);
  ASSERT_EQ(vx_set_grid_from_points(points, 2, 0.5f, 0, 1, 0.75f, &grid), 1);
  EXPECT_THAT(std::vector<int>({grid.xdim, grid.ydim, grid.zdim}), ElementsAre(6 + 3, 1 + 3, 5 + 3));
  EXPECT_EQ(grid.zmid, -1);
  vx_set_grid_from_points(far, 2, 0, 0, 0, 1e-30f, &grid);
  EXPECT_TRUE(vx_grid_struct_overflow(grid));
}

TEST(GridStruct, CopiesToRecordsAndGrids) {
  Lattice from(2, 3, 2, 0.5f, 1, 2, 3);
  vx_set_grid_values_by_function(from.grid, [](float x, float y, float z) { return x + 10 * y + 100 * z; });
  EXPECT_EQ(from.floats.back(), 1.25f + 25 + 325);
  char name[] = "potential", empty[] = "";
  GridStruct out{}, back{};
  from.grid.name = empty;
  vi_copy_grid(0, &out, from.grid, 2);
  EXPECT_TRUE(!out.name && !out.floats);
  from.grid.name = name;
  vi_copy_grid(0, &out, from.grid, 1);
  EXPECT_EQ(std::memcmp(out.name, name, std::strlen(name)), 0);
  EXPECT_EQ(std::vector<float>(out.floats, out.floats + 12), from.floats);

  VXZemoGrid object;
  ASSERT_TRUE(VXConvertGridStructureToGridObject(object, out));  // looks for the end of the name
  EXPECT_EQ(object.GetTitle(), "potential");
  EXPECT_EQ(vx_convert_grid_object_to_grid_structure(back, object), 1);
  EXPECT_EQ(std::vector<float>(back.floats, back.floats + 12), from.floats);
  EXPECT_EQ(back.integers[11], 0);
  back.xdim = -2;
  CapturedLog log;
  EXPECT_FALSE(VXConvertGridStructureToGridObject(object, back));
  EXPECT_THAT(log.text(), HasSubstr("Attempting to set grid data with wrong size array"));
  std::free(out.name);
  vx_deallocate_grid_struct(out, true, true);
  vx_deallocate_grid_struct(back, true, true);
}

TEST(GridMerge, Offsets) {
  const std::tuple<float, int, float, int, int, const char*> rows[] = {
      {0, 5, 0.5f, 1, 0, ""},
      {-1, 3, 0.5f, 1, -1, ""},
      {0.25f, 5, 0.5f, 0, 77, "Warning: Grids are misaligned.\n"},
      {0, 5, 0.501f, 0, 77, "Warning: Can't add grid with different spacings.\n"}};
  const Lattice a(5, 5, 5, 0.5f);
  for (const auto& [b_mid, b_dim, b_spacing, result, offset, says] : rows) {
    CapturedLog log;
    int x = 77, y = 77, z = 77;
    EXPECT_EQ(vi_zero_offset(a.grid, Lattice(b_dim, 5, 5, b_spacing, b_mid).grid, &x, &y, &z), result);
    EXPECT_EQ(x, offset);
    EXPECT_EQ(log.text(), says);
  }
}

// What of b lies below a's low faces is cut off; above the high faces rows run on into the next ones, up to
// the end of the block.
TEST(GridMerge, ClipsTheLowSideAlone) {
  for (const int shift : {-9, -4, -1, 0, 2, 3, 9}) {
    Lattice a(5, 4, 3, 1), b(3, 4, 3, 1, static_cast<float>(shift));
    a.number();
    vi_constant_grid(b.grid, 100);
    std::vector<float> expected = a.floats;
    for (int z = 0; z < 3; ++z)
      for (int y = 0; y < 4; ++y)
        for (int x = std::max(0, shift + 1); x < shift + 4; ++x)
          if (x + 5 * (y + 4 * z) < 60) expected[x + 5 * (y + 4 * z)] += 100;
    vi_add_grid(&a.grid, b.grid);
    EXPECT_EQ(a.floats, expected) << shift;
  }
  Lattice a(3, 3, 3, 1), b(3, 3, 3, 1, 0.5f);
  CapturedLog log;
  EXPECT_EQ(vi_put_grid(&a.grid, b.number().grid), 1) << "a mismatch is reported and merged at 0";
  EXPECT_EQ(a.floats, b.floats);
  for (const float far : {2e9f, -2e9f, 3e38f, INFINITY, NAN}) {
    b.grid.xmid = b.grid.ymid = b.grid.zmid = far;
    vi_add_grid(&a.grid, b.grid);
  }
  a.grid.spacing = 0;
  EXPECT_EQ(vi_add_grid(&a.grid, b.grid), 0);
  EXPECT_THAT(log.text(), HasSubstr("Zero grid spacing!"));
}

TEST(GridMerge, GridsMeetWhereTheyOverlap) {
  const float centers[][3] = {{0, 0, 0}, {2, -1, 1}, {-3, 2, -1}, {3, 3, 3},
                              {9, 0, 0}, {0, -9, 0}, {2e9f, 0, 0}};
  for (const auto& [x, y, z] : centers) {
    const VXScalarGrid b(3, 4, 5, x, y, z, 1, "", std::vector<float>(60, 100).data());
    for (const auto& [how, expected] :
         {std::pair(VXMerge::Add, 107), {VXMerge::Subtract, -93}, {VXMerge::Put, 100}}) {
      VXScalarGrid a(5, 4, 3, 0, 0, 0, 1, "", std::vector<float>(60, 7).data());
      ASSERT_TRUE(VXMergeGrids(a, b, how));
      for (int i = 0; i < 60; ++i) {
        const auto inside = [](float at, float low, float mid, int dim) {
          return std::fabs(low + at - mid) <= static_cast<float>(dim - 1) / 2;
        };
        const bool meets = inside(static_cast<float>(i % 5), -2, x, 3) &&
                           inside(static_cast<float>(i / 5 % 4), -1.5f, y, 4) &&
                           inside(static_cast<float>(i / 20), -1, z, 5);
        EXPECT_EQ(a[i], meets ? static_cast<float>(expected) : 7) << x << " " << i;
      }
    }
  }
  VXScalarGrid a(2, 2, 2, 0, 0, 0, 1, "", nullptr);
  CapturedLog log;
  EXPECT_FALSE(VXMergeGrids(a, VXScalarGrid(2, 2, 2, 0.5f, 0, 0, 1, "", nullptr), VXMerge::Put));
  EXPECT_THAT(log.text(), HasSubstr("misaligned"));
}

TEST(GridMerge, RemapTakesTheCentredBlock) {
  Lattice large(6, 5, 4, 1), small(3, 3, 2, 1);
  large.number();
  vi_simple_grid_remap(small.grid, large.grid);
  for (int i = 0; i < 18; ++i) EXPECT_EQ(small.floats[i], 1 + i % 3 + 6 * (1 + i / 3 % 3 + 5 * (1 + i / 9)));
  EXPECT_EQ(small.integers[7], -small.floats[7]);
  GridStruct moved = small.grid;
  moved.floats = large.floats.data();
  moved.integers = large.integers.data();
  vi_simple_one_grid_remap(moved, 6, 5, 4);
  EXPECT_TRUE(std::equal(small.floats.begin(), small.floats.end(), large.floats.begin()));

  vi_simple_grid_remap(large.grid, small.grid);  // the other way round there is less than the block asks for
  vi_simple_one_grid_remap(large.grid, 3, 3, 2);
}

TEST(GridMerge, PackHalfIsACheckerboard) {
  // Both phases together are the interior, one colour each.
  Lattice odd(7, 6, 5, 1), copy(7, 6, 5, 1);
  for (const int phase : {0, 1}) {
    std::vector<float> packed(5 * 4 * 3 / 2);
    vi_pack_half(odd.number().grid, packed.data(), 1, phase);
    for (const float v : packed) EXPECT_EQ((int(v) % 7 + int(v) / 7 % 6 + int(v) / 42) % 2, phase);
    vi_pack_half(copy.grid, packed.data(), 0, phase);
  }
  vi_Boundary0(odd.grid);
  EXPECT_EQ(copy.floats, odd.floats);
}

TEST(GridSweeps, EdgesAreVisitedTwiceAndCornersThreeTimes) {
  Lattice grid(3, 3, 3, 1), plane(3, 2, 1, 1);
  vi_constant_grid(grid.grid, 1);
  vi_scale_boundary(grid.grid, 2);
  for (int i = 0; i < 27; ++i)
    EXPECT_EQ(grid.floats[i], 1 << ((i % 3 != 1) + (i / 3 % 3 != 1) + (i / 9 != 1)));
  testing::internal::CaptureStdout();
  vi_PrintBoundary(plane.grid);
  EXPECT_THAT(testing::internal::GetCapturedStdout(),
              testing::StartsWith("0 0.000000\n1 0.000000\n2 0.000000\n"));
  vi_Inner_f0(grid.grid);
  EXPECT_EQ(std::count(grid.floats.begin(), grid.floats.end(), 0.0f), 1);
  plane.grid.zdim = -1;
  vi_Boundary0(plane.grid);
  vi_Inner_f0(plane.grid);
}

TEST(GridSweeps, GradientsAreThoseOfThePlainLoop) {
  const std::tuple<int, int, int> dims[] = {{4, 3, 5}, {1, 1, 1}, {5, 1, 1}, {1, 4, 2}};
  for (const auto& [xdim, ydim, zdim] : dims) {
    Lattice grid(xdim, ydim, 4 * zdim, 0.3f);
    std::vector<float> f = grid.randomize(1).floats;
    const float s = 1 / 0.3f;
    const int plane = xdim * ydim, n = plane * zdim;
    for (int i = 0; i < n; ++i) {
      f[n + i] = (f[i + 1] - f[i]) * s;
      f[2 * n + i] = (f[i + xdim] - f[i]) * s;
      f[3 * n + i] = (f[i + plane] - f[i]) * s;
    }
    grid.grid.zdim = zdim;
    vi_add_simple_gradients_to_grid(&grid.grid);
    EXPECT_EQ(grid.floats, f);
  }
}

TEST(GridFile, BinaryComesBackWholeShortAndHostile) {
  const std::string path = scratch_file("grid.bin");
  Lattice grid(2, 3, 4, 0.25f, 1, 2, 3);
  grid.number();
  const auto file = [&](int content) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(vi_write_grid(0, grid.grid, 1, path.c_str(), content), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "writing BINARY grid file");
    return read_bytes(path);
  };
  const auto floats = file(1);
  const auto with_int = [&](std::size_t at, int v) {
    return std::string(floats).replace(at, 4, reinterpret_cast<char*>(&v), 4);
  };
  const auto f = reinterpret_cast<const char*>(grid.floats.data()),
             i = reinterpret_cast<const char*>(grid.integers.data());
  // Result, and the bytes that the two arrays begin with; none: no array.
  const std::tuple<const char*, std::string, int, std::string, std::string> rows[] = {
      {"floats", floats, 1, {f, 96}, ""},
      {"integers", file(2), 1, "", {i, 96}},
      {"both, exchanged as written", file(3), 1, {i, 96}, {f, 96}},
      {"empty", "", 1, "", ""},
      {"half a header", floats.substr(0, 18), 1, "", ""},
      {"half the values", floats.substr(0, 36 + 48), 1, std::string(f, 48) + std::string(48, '\0'), ""},
      {"content out of range", with_int(32, 99), 1, "", ""},
      {"negative dimension", with_int(20, -2), 0, "", ""},
      {"overflowing dimensions", with_int(24, INT_MAX), 0, "", ""},
      {"far more than the file holds", with_int(28, 100000000), 0, "", ""}};
  for (const auto& [what, bytes, result, to_floats, to_integers] : rows) {
    SCOPED_TRACE(what);
    CapturedLog log;
    write_bytes(path, bytes);
    GridStruct back{};
    EXPECT_EQ(vi_read_grid(0, &back, path.c_str()), result);
    EXPECT_EQ(log.text().empty(), result == 1);
    const auto held = [](const void* array) {
      return array ? std::string(static_cast<const char*>(array), 96) : "";
    };
    EXPECT_EQ(held(back.floats), to_floats);
    EXPECT_EQ(held(back.integers), to_integers);
    vx_deallocate_grid_struct(back, true, true);
  }
}

TEST(GridFile, TextForm) {
  const std::string path = scratch_file("grid.txt");
  Lattice grid(5, 1, 1, 0.5f, 1, -2, 30);
  grid.number().floats[3] = -1.25e-20f;
  ASSERT_EQ(vi_write_grid(0, grid.grid, 2, path.c_str(), 3), 1);
  EXPECT_EQ(read_bytes(path),
            "Ascii Grid file\n\nGrid spacing =    0.50000\nGrid center  =    1.00000   -2.00000   30.00000\n"
            "Grid size    = 5 1 1\n\nGrid values in batches of 3\n" +
                std::string(41, ' ') +
                "\n 0.00000e+00  1.00000e+00  2.00000e+00 \n-1.25000e-20  4.00000e+00 \n");
  CapturedLog log;
  EXPECT_EQ(vi_write_grid(0, grid.grid, 2, path.c_str(), 0), 0);
  EXPECT_EQ(vi_write_grid(0, grid.grid, 2, "/no/such/file", 3), 0);
  EXPECT_EQ(vi_read_grid(0, &grid.grid, "/no/such/file"), 0);
  const std::string fault = "Warning: Cannot open file /no/such/file\n";
  EXPECT_THAT(log.text(), HasSubstr(fault + fault));
  EXPECT_EQ(vi_write_grid(0, grid.grid, 2, "/dev/full", 3), 0);
  EXPECT_EQ(vi_write_grid(0, grid.grid, 3, "/no/such/file", 3), 1);
}
