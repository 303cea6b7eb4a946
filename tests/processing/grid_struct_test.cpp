#include <vxgrid/processing/grid_struct.h>

#include <climits>
#include <cmath>
#include <cstring>

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
  const struct {
    int x, y, z;
    bool overflows;
  } rows[] = {
      {0, 5, 5, false},         {5, 5, 0, false},         {46341, 46341, 1, true},
      {46341, 46341, 0, false}, {1290, 1290, 1291, true}, {1290, 1290, 1290, false},
      {INT_MAX, 1, 1, false},   {INT_MAX, 1, 2, true},    {-1, 5, 5, true},
      {5, 5, -1, true},         {5, -1, -1, true},        {INT_MIN, INT_MIN, INT_MIN, true},
  };
  for (const auto& row : rows)
    EXPECT_EQ(vx_grid_struct_overflow(row.x, row.y, row.z), row.overflows)
        << row.x << " " << row.y << " " << row.z;
}

TEST(GridStruct, ArraysFollowTheRequest) {
  GridStruct grid{};
  grid.xdim = 2, grid.ydim = 3, grid.zdim = 4;
  vx_allocate_grid_struct(grid, true, true, 0);
  vx_zero_grid_struct(grid, true, true, 0);
  EXPECT_EQ(grid.floats[23] + static_cast<float>(grid.integers[23]), 0);
  vx_reallocate_grid_struct(grid, 100, false, true);
  vx_zero_grid_struct(grid, false, true, 100);
  EXPECT_EQ(grid.floats[99], 0);
  vx_deallocate_grid_struct(grid, true, false);
  EXPECT_EQ(grid.integers, nullptr);
  EXPECT_NE(grid.floats, nullptr);
  vx_deallocate_grid_struct(grid, true, true);

  grid.xdim = grid.ydim = grid.zdim = 60000;
  vx_allocate_grid_struct(grid, false, true, 0);
  EXPECT_EQ(grid.floats, nullptr) << "an overflowing count has no array";

  Lattice odd(5, 4, 3, 1);
  EXPECT_EQ(vx_grid_struct_midpoint(&odd.grid), 2 + 5 * (1 + 4 * 1));
}

TEST(GridStruct, EnclosesPointsWithAMargin) {
  float points[] = {0, 0, 0, 4, 1, -2};
  GridStruct grid{};
  EXPECT_EQ(vx_set_grid_from_points(points, 2, 0.5f, 0, 1, 0, &grid), 0);
  ASSERT_EQ(vx_set_grid_from_points(points, 2, 0.5f, 0, 1, 0.75f, &grid), 1);
  EXPECT_THAT(std::vector<int>({grid.xdim, grid.ydim, grid.zdim}), ElementsAre(6 + 3, 1 + 3, 5 + 3));
  EXPECT_THAT(std::vector<float>({grid.xmid, grid.ymid, grid.zmid}), ElementsAre(2, 0.5f, -1));
  ASSERT_EQ(vx_set_grid_from_points(points + 3, -7, 0, 0, 0, 1, &grid), 1);
  EXPECT_EQ(grid.xmid, 4) << "the first point counts whatever n";
  float far[] = {-3e38f, 0, NAN, 3e38f, 0, 0};
  ASSERT_EQ(vx_set_grid_from_points(far, 2, 0, 0, 0, 1e-30f, &grid), 1);
  EXPECT_TRUE(vx_grid_struct_overflow(grid));
}

TEST(GridStruct, FunctionAndCopies) {
  Lattice from(2, 3, 2, 0.5f, 1, 2, 3);
  vx_set_grid_values_by_function(from.grid, [](float x, float y, float z) { return x + 10 * y + 100 * z; });
  EXPECT_EQ(from.floats.front(), 0.75f + 15 + 275);
  EXPECT_EQ(from.floats.back(), 1.25f + 25 + 325);

  char name[] = "potential", empty[] = "";
  GridStruct out{};
  from.grid.name = empty;
  vi_copy_grid(0, &out, from.grid, 2);
  EXPECT_EQ(out.name, nullptr);
  EXPECT_EQ(out.floats, nullptr);
  from.grid.name = name;
  vi_copy_grid(0, &out, from.grid, 1);
  EXPECT_EQ(std::memcmp(out.name, name, std::strlen(name)), 0);
  EXPECT_EQ(std::vector<float>(out.floats, out.floats + 12), from.floats);
  EXPECT_EQ(out.zmid, 3);

  VXZemoGrid object;
  ASSERT_TRUE(VXConvertGridStructureToGridObject(object, out));  // reads the name to its end
  EXPECT_EQ(object.GetTitle(), "potential");
  vi_clear_grid(&out, 0);
  EXPECT_EQ(out.floats[5], from.floats[5]);
  vi_clear_grid(&out, 1);
  EXPECT_EQ(out.floats[5], 0);
  std::free(out.name);
  vx_deallocate_grid_struct(out, true, true);

  GridStruct back{};
  EXPECT_EQ(vx_convert_grid_object_to_grid_structure(back, object), 1);
  EXPECT_EQ(std::vector<float>(back.floats, back.floats + 12), from.floats);
  EXPECT_THAT(std::vector<int>(back.integers, back.integers + 12), testing::Each(0));
  EXPECT_EQ(back.inverse_spacing, 2);
  back.floats[0] = -1;
  EXPECT_NE(object.GetValues()[0], -1);
  back.xdim = -2;
  CapturedLog log;
  EXPECT_FALSE(VXConvertGridStructureToGridObject(object, back));
  EXPECT_THAT(log.text(), HasSubstr("Attempting to set grid data with wrong size array"));
  vx_deallocate_grid_struct(back, true, true);
}

TEST(GridMerge, Offsets) {
  const struct {
    float b_mid;
    int b_dim;
    float b_spacing;
    int result, offset;
    const char* says;
  } rows[] = {
      {0, 5, 0.5f, 1, 0, ""},
      {0, 3, 0.5f, 1, 1, ""},
      {1, 5, 0.5f, 1, 2, ""},
      {-1, 3, 0.5f, 1, -1, ""},
      {0.25f, 5, 0.5f, 0, 77, "Grids are misaligned."},
      {0, 5, 0.501f, 0, 77, "Can't add grid with different spacings."},
      {NAN, 5, 0.5f, 1, 0, ""},
  };
  const Lattice a(5, 5, 5, 0.5f);
  for (const auto& row : rows) {
    SCOPED_TRACE(row.b_mid);
    CapturedLog log;
    const Lattice b(row.b_dim, 5, 5, row.b_spacing, row.b_mid);
    int x = 77, y = 77, z = 77;
    EXPECT_EQ(vi_zero_offset(a.grid, b.grid, &x, &y, &z), row.result);
    EXPECT_EQ(x, row.offset);
    EXPECT_THAT(log.text(), HasSubstr(row.says));
    EXPECT_EQ(log.text().empty(), row.result == 1);
  }
}

// What of b lies below a's low faces is cut off; above the high faces rows run on into the next ones, up to
// the end of the block.
TEST(GridMerge, ClipsTheLowSideAlone) {
  for (const int shift : {-9, -4, -1, 0, 2, 3, 9}) {
    SCOPED_TRACE(shift);
    Lattice a(5, 4, 3, 1), b(3, 4, 3, 1, static_cast<float>(shift));
    a.number();
    b.fill([](float, float, float) { return 100.0f; });
    std::vector<float> expected = a.floats;
    const int offset = shift + 1;
    for (int z = 0; z < 3; ++z)
      for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 3; ++x) {
          const int i = x + offset + 5 * (y + 4 * z);
          if (x + offset >= 0 && i < 60) expected[static_cast<std::size_t>(i)] += 100;
        }
    EXPECT_EQ(vi_add_grid(&a.grid, b.grid), 1);
    EXPECT_EQ(a.floats, expected);
    EXPECT_EQ(vi_sub_grid(&a.grid, b.grid), 1);
    EXPECT_EQ(a.floats, Lattice(5, 4, 3, 1).number().floats);
  }
}

TEST(GridMerge, EdgesOfTheRequest) {
  Lattice a(3, 3, 3, 1), b(3, 3, 3, 1, 0.5f);
  b.number();
  {
    CapturedLog log;
    EXPECT_EQ(vi_put_grid(&a.grid, b.grid), 1) << "a mismatch is reported and merged at 0";
    EXPECT_EQ(a.floats, b.floats);
    EXPECT_EQ(vi_merge_grids(&a.grid, b.grid, 4), 1);
    a.grid.spacing = 0;
    EXPECT_EQ(vi_add_grid(&a.grid, b.grid), 0);
    EXPECT_THAT(log.text(), HasSubstr("Zero grid spacing!"));
  }
  a.grid.spacing = 1;
  for (const float far : {2e9f, -2e9f, 3e38f, INFINITY}) {
    b.grid.xmid = b.grid.ymid = b.grid.zmid = far;
    CapturedLog log;
    vi_add_grid(&a.grid, b.grid);  // nothing outside the block is touched
  }
}

TEST(GridMerge, RemapTakesTheCentredBlock) {
  Lattice large(6, 5, 4, 1), small(3, 3, 2, 1);
  large.number();
  std::vector<float> expected;
  for (int z = 1; z < 3; ++z)
    for (int y = 1; y < 4; ++y)
      for (int x = 1; x < 4; ++x) expected.push_back(static_cast<float>(x + 6 * (y + 5 * z)));
  vi_simple_grid_remap(small.grid, large.grid);
  EXPECT_EQ(small.floats, expected);
  EXPECT_EQ(small.integers[7], -static_cast<int>(expected[7]));

  GridStruct moved = large.grid;
  moved.xdim = 3, moved.ydim = 3, moved.zdim = 2;
  vi_simple_one_grid_remap(moved, 6, 5, 4);
  EXPECT_EQ(std::vector<float>(large.floats.begin(), large.floats.begin() + 18), expected);

  vi_simple_grid_remap(large.grid, small.grid);  // the other way round reads what there is
  vi_simple_one_grid_remap(large.grid, 3, 3, 2);
  moved.xdim = -3;
  vi_simple_one_grid_remap(moved, 6, 5, 4);
}

TEST(GridMerge, PackHalfIsACheckerboard) {
  Lattice grid(4, 4, 4, 1);
  grid.number();
  float half[4];
  vi_pack_half(grid.grid, half, 1, 0);
  const auto at = [](int x, int y, int z) { return static_cast<float>(x + 4 * (y + 4 * z)); };
  EXPECT_THAT(half, ElementsAre(at(2, 1, 1), at(1, 2, 1), at(1, 1, 2), at(2, 2, 2)));

  // Both phases together hold the interior, each one colour of it; unpacking puts back what packing took.
  Lattice odd(7, 6, 5, 1), copy(7, 6, 5, 1);
  odd.number();
  for (const int phase : {0, 1}) {
    std::vector<float> packed(5 * 4 * 3 / 2);
    vi_pack_half(odd.grid, packed.data(), 1, phase);
    for (const float v : packed) {
      const int i = static_cast<int>(v), parity = i % 7 + i / 7 % 6 + i / 42;
      EXPECT_EQ(parity % 2, phase == 0 ? 0 : 1);
    }
    vi_pack_half(copy.grid, packed.data(), 0, phase);
  }
  vi_Inner_f0(odd.grid);
  vi_add_grid(&odd.grid, copy.grid);
  EXPECT_EQ(odd.floats, Lattice(7, 6, 5, 1).number().floats);
}

TEST(GridSweeps, EdgesAreVisitedTwiceAndCornersThreeTimes) {
  Lattice grid(3, 3, 3, 1);
  vi_constant_grid(grid.grid, 1);
  vi_scale_boundary(grid.grid, 2);
  for (int i = 0; i < 27; ++i) {
    const int outer = (i % 3 != 1) + (i / 3 % 3 != 1) + (i / 9 != 1);
    EXPECT_EQ(grid.floats[static_cast<std::size_t>(i)], 1 << outer);
  }
  Lattice plane(3, 2, 1, 1);
  vi_constant_grid(plane.grid, 1);
  testing::internal::CaptureStdout();
  vi_scale_boundary(plane.grid, 2);
  vi_PrintBoundary(plane.grid);
  EXPECT_THAT(testing::internal::GetCapturedStdout(),
              testing::StartsWith("0 16.000000\n1 8.000000\n2 16.000000\n3 16"));

  vi_Inner_f0(grid.grid);
  EXPECT_EQ(grid.floats[13], 0);
  EXPECT_EQ(grid.floats[12], 2);
  vi_Boundary_f0(grid.grid, 5);
  EXPECT_EQ(std::count(grid.floats.begin(), grid.floats.end(), 5.0f), 26);
  plane.grid.zdim = -1;
  vi_Boundary0(plane.grid);
  vi_Inner_f0(plane.grid);
}

TEST(GridSweeps, GradientsAreThoseOfThePlainLoop) {
  const int dims[][3] = {{4, 3, 5}, {1, 1, 1}, {5, 1, 1}, {1, 4, 2}};
  for (const auto& d : dims) {
    Lattice grid(d[0], d[1], 4 * d[2], 0.3f);
    grid.randomize(1);
    grid.grid.zdim = d[2];
    std::vector<float> f = grid.floats;
    const float s = 1 / grid.grid.spacing;
    const std::size_t row = static_cast<std::size_t>(d[0]), plane = row * d[1], n = plane * d[2];
    for (std::size_t i = 0; i < n; ++i) {
      f[n + i] = (f[i + 1] - f[i]) * s;
      f[2 * n + i] = (f[i + row] - f[i]) * s;
      f[3 * n + i] = (f[i + plane] - f[i]) * s;
    }
    vi_add_simple_gradients_to_grid(&grid.grid);
    EXPECT_EQ(grid.floats, f);
  }
}

TEST(GridFile, BinaryComesBack) {
  const std::string path = scratch_file("grid.bin");
  Lattice grid(2, 3, 4, 0.25f, 1, 2, 3);
  grid.number();
  testing::internal::CaptureStdout();
  for (const int content : {1, 2, 3, 0}) {
    SCOPED_TRACE(content);
    ASSERT_EQ(vi_write_grid(0, grid.grid, 1, path.c_str(), content), 1);
    EXPECT_EQ(read_bytes(path).size(), 36u + 96u * (content == 3 ? 2 : content != 0));
    GridStruct back{};
    ASSERT_EQ(vi_read_grid(0, &back, path.c_str()), 1);
    EXPECT_EQ(back.zmid, 3);
    EXPECT_EQ(back.ydim, 3);
    if (content == 1) {
      EXPECT_EQ(std::vector<float>(back.floats, back.floats + 24), grid.floats);
    }
    if (content == 2) {
      EXPECT_EQ(std::vector<int>(back.integers, back.integers + 24), grid.integers);
    }
    if (content == 3) {
      EXPECT_EQ(std::memcmp(back.floats, grid.integers.data(), 96), 0) << "exchanged, as written";
      EXPECT_EQ(std::memcmp(back.integers, grid.floats.data(), 96), 0);
    }
    EXPECT_EQ(back.floats != nullptr, content % 2 == 1);
    vx_deallocate_grid_struct(back, true, true);
  }
  EXPECT_EQ(vi_write_grid(0, grid.grid, 1, scratch_file("no/such/folder").c_str(), 1), 0);
  EXPECT_THAT(testing::internal::GetCapturedStdout(), HasSubstr("writing BINARY grid fileCannot open file "));
  EXPECT_EQ(vi_write_grid(0, grid.grid, 7, "", 1), 1);
}

TEST(GridFile, ReadsShortAndHostileFiles) {
  const std::string path = scratch_file("short.bin");
  Lattice grid(2, 3, 4, 0.25f);
  grid.number();
  testing::internal::CaptureStdout();
  ASSERT_EQ(vi_write_grid(0, grid.grid, 1, path.c_str(), 1), 1);
  testing::internal::GetCapturedStdout();
  const std::string whole = read_bytes(path);
  const auto with_int = [&](std::size_t at, int v) {
    std::string bytes = whole;
    std::memcpy(&bytes[at], &v, 4);
    return bytes;
  };
  const struct {
    const char* what;
    std::string bytes;
    int result;
  } rows[] = {
      {"empty", "", 1},
      {"half a header", whole.substr(0, 18), 1},
      {"half the values", whole.substr(0, 36 + 48), 1},
      {"content out of range", with_int(32, 99), 1},
      {"negative dimension", with_int(20, -2), 0},
      {"overflowing dimensions", with_int(24, INT_MAX), 0},
      {"far more than the file holds", with_int(28, 100000000), 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    CapturedLog log;
    write_bytes(path, row.bytes);
    GridStruct back{};
    EXPECT_EQ(vi_read_grid(0, &back, path.c_str()), row.result);
    EXPECT_EQ(log.text().empty(), row.result == 1);
    if (back.floats) {
      EXPECT_EQ(back.floats[11], 11);
      EXPECT_EQ(back.floats[12], 0);
    }
    vx_deallocate_grid_struct(back, true, true);
  }
  CapturedLog log;
  GridStruct back{};
  EXPECT_EQ(vi_read_grid(0, &back, "/no/such/file"), 0);
  EXPECT_EQ(log.text(), "Warning: Cannot open file /no/such/file\n");
}

TEST(GridFile, TextForm) {
  const std::string path = scratch_file("grid.txt");
  Lattice grid(5, 1, 1, 0.5f, 1, -2, 30);
  grid.number();
  grid.floats[3] = -1.25e-20f;
  ASSERT_EQ(vi_write_grid(0, grid.grid, 2, path.c_str(), 3), 1);
  EXPECT_EQ(read_bytes(path),
            "Ascii Grid file\n\n"
            "Grid spacing =    0.50000\n"
            "Grid center  =    1.00000   -2.00000   30.00000\n"
            "Grid size    = 5 1 1\n"
            "\n"
            "Grid values in batches of 3\n" +
                std::string(41, ' ') +
                "\n"
                " 0.00000e+00  1.00000e+00  2.00000e+00 \n"
                "-1.25000e-20  4.00000e+00 \n");
  CapturedLog log;
  EXPECT_EQ(vi_write_grid(0, grid.grid, 2, path.c_str(), 0), 0);
  EXPECT_EQ(vi_write_grid(0, grid.grid, 2, "/no/such/file", 3), 0);
  EXPECT_THAT(log.text(), HasSubstr("Warning: Cannot open file /no/such/file\n"));
  EXPECT_EQ(vi_write_grid(0, grid.grid, 2, "/dev/full", 3), 0);
}
