#include <vxgrid/formats/ccp4.h>

#include <climits>
#include <cmath>

#include <vxgrid/formats/gridio.h>
#include <vxgrid/xtal/unit_cell.h>

#include "map_file.h"
#include "support/support.h"

using namespace VXCore;
using testing::ElementsAre;
using testing::HasSubstr;
using VXHost::vxisstream;
using VXHost::vxosstream;

namespace {

constexpr int kAxisOrders[][3] = {{1, 2, 3}, {1, 3, 2}, {2, 1, 3}, {2, 3, 1}, {3, 1, 2}, {3, 2, 1}};

std::string where(const MapFile& file) {
  return testing::PrintToString(file.count) + " axes " + testing::PrintToString(file.axes) + " mode " +
         std::to_string(file.mode) + (file.other_order ? " other order" : "");
}

bool read(const std::string& bytes, VXZemoGrid& grid) {
  vxisstream in(bytes);
  return VXReadCCP4Map(in, grid);
}

bool read(const std::string& bytes, VXCCP4Map& map) {
  vxisstream in(bytes);
  return map.Read(in);
}

// Samples of a grid or an image that are not those of `file`; planes beyond the count repeat the first.
int wrong_samples(const MapFile& file, const float* values, const unsigned int dims[3]) {
  int wrong = 0;
  for (unsigned int e = 0; e < dims[0] * dims[1] * dims[2]; ++e) {
    const int x = static_cast<int>(e % dims[0]) % file.count[0],
              y = static_cast<int>(e / dims[0] % dims[1]) % file.count[1],
              z = static_cast<int>(e / dims[0] / dims[1]) % file.count[2];
    const float byte = MapFile::byte_sample(x, y, z);  // AMIN -1.5, AMAX 2.5
    wrong += values[e] != (file.mode == 2 ? MapFile::sample(x, y, z) : 4.0f * (byte + 128) * 0.00392f - 1.5f);
  }
  return wrong;
}

// A numbered grid of 3 x 4 x 5 that stands in a cell, start 0 0 0.
VXZemoGrid cell_grid() {
  MapFile file;
  file.count = {3, 4, 5};
  VXZemoGrid grid;
  EXPECT_TRUE(read(file.bytes(), grid));
  for (const char* name : {"AMIN", "AMAX", "AMEAN", "ARMS"}) grid.DeleteData(name);
  return grid;
}

std::string written(const VXZemoGrid& grid) {
  vxosstream out;
  EXPECT_TRUE(VXWriteCCP4Grid(out, grid));
  return out.str();
}

std::string written(VXCCP4Map& map) {
  vxosstream out;
  EXPECT_TRUE(map.Write(out));
  return out.str();
}

}  // namespace

TEST(CCP4, EveryAxisOrderByteOrderModeAndPeriod) {
  constexpr int kSizes[][3] = {{2, 3, 4}, {1, 5, 6}, {33, 20, 50}, {70, 17, 3}, {300, 260, 3}};
  MapFile file;
  for (const auto& size : kSizes)
    for (const auto& axes : kAxisOrders)
      for (const int mode : {0, 2})
        for (const bool other_order : {false, true})
          for (int wrapped = 0; wrapped<8; wrapped += size[1]> 100 ? 7 : 1) {
            std::copy_n(size, 3, file.count.begin());
            std::copy_n(axes, 3, file.axes.begin());
            file.mode = mode;
            file.other_order = other_order;
            for (int i = 0; i < 3; ++i) file.period[i] = wrapped >> i & 1 ? size[i] : 1000;
            SCOPED_TRACE(where(file) + " wrapped " + std::to_string(wrapped));
            const std::string bytes = file.bytes();
            VXZemoGrid grid;
            ASSERT_TRUE(read(bytes, grid));
            const unsigned int dims[3] = {grid.GetXDim(), grid.GetYDim(), grid.GetZDim()};
            for (int i = 0; i < 3; ++i) ASSERT_EQ(dims[i], size[i] + (wrapped >> i & 1));
            ASSERT_EQ(wrong_samples(file, grid.GetValues(), dims), 0);
            ASSERT_EQ(grid.GetReentrant(), 7u);
            if (wrapped) continue;

            // The image holds the same, and writes the file that it was read from; by way of the image the
            // grid is the same too.
            VXCCP4Map map;
            ASSERT_TRUE(read(bytes, map));
            ASSERT_EQ(wrong_samples(file, map.data.data(), dims), 0);
            VXZemoGrid same;
            ASSERT_TRUE(VXCCP4ToGrid(same, map) && VXGridSameGeometry(grid, same));
            ASSERT_TRUE(std::equal(map.data.begin(), map.data.end(), same.GetValues()));
            ASSERT_TRUE(mode == 0 || other_order || written(map) == bytes);
          }
}

TEST(CCP4, SamplesStandAtTheirPlaceInTheCellAndKeepItInAFile) {
  MapFile file;
  file.count = {5, 6, 7};
  file.start = {-3, 20, -11};
  file.period = {40, 30, 50};
  file.cell = {30, 45, 60, 80, 95, 112};
  file.group = 19;
  const VXXtal::VXUnitCell cell(file.cell.data());
  for (const int rows_of_period : {30, 6}) {
    file.period[1] = rows_of_period;
    VXZemoGrid grid;
    ASSERT_TRUE(read(file.bytes(), grid));
    for (const unsigned int element : {0u, 1u, 5u, 30u, grid.GetSize() - 1}) {
      unsigned int i[3];
      float xyz[3], frac[3];
      grid.ElementToGridIdx(element, i[0], i[1], i[2]);
      grid.ElementToSpatialCoord(element, xyz[0], xyz[1], xyz[2]);
      for (int k = 0; k < 3; ++k)
        frac[k] =
            static_cast<float>(static_cast<int>(i[k]) + file.start[k]) / static_cast<float>(file.period[k]);
      VXXtal::vecmul(frac, cell.Frac2Cart());
      for (int k = 0; k < 3; ++k) EXPECT_NEAR(xyz[k], frac[k], 1e-4) << element;  // float at 50 Å
    }
    EXPECT_EQ(grid.GetTitle(), "ccp4 map");
    if (rows_of_period == 6) continue;
    std::string expected_bytes = file.bytes();
    expected_bytes.replace(208, 4, "MAP ");
    file.put_word(expected_bytes, 212, 16708);
    EXPECT_EQ(written(grid), expected_bytes);
    // Without a group the same grid is made regular first and loses its starts.
    grid.SetSpaceGroup(0);
    EXPECT_TRUE(word_at<int>(written(grid), 88) == 146 && word_at<int>(written(grid), 16) != -3);
  }
}

TEST(CCP4, ByteOrderIsKnownByTheFirstNumberAlone) {
  const CapturedLog quiet;
  MapFile file;
  file.count = {128, 1, 1};
  // 131073 = 0x00020001 is taken for 0x01000200 of the other order, where 128 is the lowest of all ints.
  for (const auto& [columns, taken_for] : {std::pair{131072, 131072}, {131073, 0x01000200}, {INT_MIN, 128}}) {
    std::string bytes = file.bytes();
    file.put_word(bytes, 0, columns);
    VXCCP4Map map;
    EXPECT_FALSE(read(bytes.substr(0, 16), map));
    EXPECT_EQ(map.NC, taken_for);
  }
}

TEST(CCP4, RefusesAndSaysWhy) {
  const std::string
      mode = "Error: VXCCP4Map::Can only read CCP4 Maps of type 2 (Real Numbers)\n",
      axes = "Error: VXCCP4Map::Map axes must correspond to 1(x) 2(y) or 3(z)\n",
      dims = "Warning: Invalid CCP4 grid dimensions: ", map = "Warning: CCP4 map: ",
      y = "Warning: Invalid Y dimensions for XPLOR file reading: ",
      more = "Warning: Read 5 bytes more, initial bytes 1024, total data bytes = 101 (should be 96)\n";
  // A word, its offset, whether the image reads, what it says and what the grid says, which never reads.
  const std::tuple<const char*, int, int, bool, std::string, std::string> rows[] = {
      {"mode 1", 12, 1, false, mode, ""},
      {"axis 0", 64, 0, false, axes, ""},
      {"axis 4", 72, 4, false, axes, ""},
      {"axis twice", 68, 1, false, "Error: VXCCP4Map::indices not independent!\n", ""},
      {"sections along y too", 72, 2, true, more, ""},
      {"no rows", 4, 0, true,
       "Warning: Read 101 bytes more, initial bytes 1024, total data bytes = 101 (should be 0)\n",
       dims + "2 0 4\n"},
      {"negative columns", 0, -2, false, map + "-2 x 3 x 4 samples announced\n", dims + "-2 3 4\n"},
      {"more than an int", 8, 1 << 30, false,
       map + "6442450944 samples announced, the file holds at most 25\n",
       "Warning: Grid dimensions too large for memory size: 6 x 1073741824\n"},
      {"more than the file", 8, 1 << 20, false,
       map + "6291456 samples announced, the file holds at most 25\n",
       map + "6291456 samples announced, the file holds at most 25\n"},
      {"beyond 32 bits", 20, 2147483646, true, more, y + "-2147483647 < 2147483646\n"},
      {"up to the last int", 20, 2147483645, true, more, y + "-2147483648 < 2147483645\n"},
  };
  for (const auto& [what, offset, value, image_reads, image_says, grid_says] : rows) {
    SCOPED_TRACE(what);
    std::string bytes = MapFile().bytes() + "12345";
    MapFile().put_word(bytes, offset, value);
    VXCCP4Map image;
    VXZemoGrid grid = cell_grid();
    {
      CapturedLog log;
      EXPECT_EQ(read(bytes, image), image_reads);
      EXPECT_EQ(log.text(), image_says);
    }
    CapturedLog log;
    EXPECT_FALSE(read(bytes, grid));
    EXPECT_EQ(log.text(), grid_says);
    EXPECT_EQ(grid.GetSize(), 60u) << "target changed";
  }
  // An image may have no rows; a period of none cannot be closed.
  VXCCP4Map image;
  image.NC = 2, image.NS = 4, image.NX = image.NZ = 9;
  image.MAPC = 1, image.MAPR = 2, image.MAPS = 3;
  VXZemoGrid grid;
  CapturedLog log;
  EXPECT_FALSE(VXCCP4ToGrid(grid, image));
  EXPECT_EQ(log.text(), "Warning: Map with a period of 0 along Y\n");
}

// The length of a file is not looked at: what does not come stays 0. Grids close x also then.
TEST(CCP4, ShortFilesAreReadAsFarAsTheyGo) {
  const CapturedLog quiet;
  MapFile file;
  file.count = {5, 6, 40};
  file.symmetry = std::string(100, 's');  // one record and 20 bytes more
  for (const auto& axes : kAxisOrders)
    for (const bool other_order : {false, true}) {
      std::copy_n(axes, 3, file.axes.begin());
      file.other_order = other_order;
      file.period[0] = other_order ? 5 : 50;
      SCOPED_TRACE(where(file));
      const std::string bytes = file.bytes();
      for (std::size_t length = 0; length <= bytes.size(); length += length < 1140 ? 1 : 97) {
        VXZemoGrid grid;
        VXCCP4Map map;
        const std::string there = bytes.substr(0, length);
        const bool as_grid = read(there, grid), as_image = read(there, map);
        ASSERT_EQ(as_grid, length > 72 && (length >= 76 || !other_order)) << length;
        ASSERT_EQ(as_image, as_grid) << length;
        if (!as_grid) continue;
        const std::size_t whole = length < 1124 ? 0 : (length - 1124) / 4, cut = length > 1124 && length % 4;
        const std::size_t samples = 1200u - std::size_t(std::count(map.data.begin(), map.data.end(), 0.0f));
        ASSERT_TRUE(samples == whole || samples == whole + cut) << length;
        for (std::size_t e = 0, nx = grid.GetXDim(); e < grid.GetSize(); ++e)
          ASSERT_EQ(grid.GetValues()[e], map.data[e / nx * 5 + e % nx % 5]) << length << " at " << e;
        ASSERT_EQ(map.symmetry.size(), length > 1024) << length;
      }
    }
}

TEST(CCP4, HeaderIsWrittenAsItWasRead) {
  MapFile file;
  file.symmetry = std::string(79, 'a') + "b" + std::string(80, 'c');
  std::string bytes = file.bytes();
  for (int i = 0; i < 12; ++i) file.put_word(bytes, 100 + 4 * i, static_cast<float>(i));
  for (int i = 0; i < 15; ++i) file.put_word(bytes, 148 + 4 * i, 0x4321 + i);
  bytes.replace(208, 4, "PAM ");
  file.put_word(bytes, 96, 1), file.put_word(bytes, 212, 17), file.put_word(bytes, 220, 2);
  bytes.replace(224, 9, "label one");
  VXCCP4Map map;
  ASSERT_TRUE(read(bytes, map));
  for (int i = 0; i < 15; ++i) file.put_word(bytes, 148 + 4 * i, 0x21 + i);  // the low bytes stay
  EXPECT_EQ(written(map), bytes);
  EXPECT_EQ(map.symmetry[0][79], 0);

  CapturedLog log;
  map.Dump(true);
  for (const char* lines :
       {"\tStart and stop points on columns, rows, sections      0    1    0    2    0    3\n",
        "\tFast, medium, slow axes .........................    X    Y    Z\n",
        "\tNumber of titles ................................    2\n Labels: \n\t*label one",
        "SKWMAT: 6.000000 7.000000 8.000000\nSKWTRN: 9.0000 10.0000 11.0000\n"
        "ARMS    0.750000\nNLABL   2\n===========================\n"})
    EXPECT_THAT(log.text(), HasSubstr(lines));

  map.Clear();
  EXPECT_TRUE(map.NX == 50 && map.NSYMBT == 0 && map.NLABL == 0);
  EXPECT_TRUE(map.FUTURE[3] == 0 && map.SKWMAT[8] == 0 && map.SKWTRN[2] == 0);
}

TEST(CCP4, WriterRefusals) {
  // A field, its value, the bytes that have gone out, what is said.
  const std::tuple<int VXCCP4Map::*, int, std::size_t, const char*> rows[] = {
      {&VXCCP4Map::MODE, 0, 16, "Error: VXCCP4Map::Can only write CCP4 Maps of type 2 (Real Numbers)\n"},
      {&VXCCP4Map::MAPR, 1, 1024, "Error: VXCCP4Map::indices not independent!\n"},
      {&VXCCP4Map::NC, 1000, 1024, "Warning: CCP4 map: 1000 x 3 x 4 samples announced, the image holds 24\n"},
      {&VXCCP4Map::NSYMBT, 80, 16,
       "Warning: CCP4 map: 80 bytes of symmetry announced, the image holds 0 records\n"},
  };
  for (const auto& [field, value, bytes, says] : rows) {
    VXCCP4Map map;
    ASSERT_TRUE(read(MapFile().bytes(), map));
    map.*field = value;
    CapturedLog log;
    vxosstream out;
    EXPECT_FALSE(map.Write(out));
    EXPECT_EQ(out.str().size(), bytes);
    EXPECT_EQ(log.text(), says);
  }
  CapturedLog log;
  vxosstream out;
  EXPECT_FALSE(VXCCP4Map().Write(out) || VXWriteCCP4Grid("/dev/full", cell_grid()) ||
               VXWriteCCP4Grid("/no such folder/a.map", cell_grid()));
  EXPECT_EQ(log.text(), "Warning: Unable to open file for grid writing: /no such folder/a.map\n");
}

TEST(CCP4, StatisticsOfTheHeader) {
  VXZemoGrid grid = cell_grid();
  grid.GetValues()[7] = -4.0f;
  grid.GetValues()[8] = std::nanf("");
  const float largest = MapFile::sample(2, 3, 4);
  // Attributes added one after another; then AMIN, AMAX, AMEAN, ARMS and the first sample on file.
  const std::tuple<const char*, float, std::array<float, 5>> rows[] = {
      {"SIGMA", 2, {-4, largest, 0, 1, 1}},  // searched; counts as normalised
      {"vx_no_norm", 1, {-8, 2 * largest, 0, 1, 2}},
      {"AMIN", 10, {-8, 2 * largest, 0, 1, 2}},
      {"AMAX", 11, {-8, 2 * largest, 0, 1, 2}},
      {"AMEAN", 12, {-8, 2 * largest, 0, 1, 2}},
      {"ARMS", 13, {10, 11, 12, 13, 2}},
  };
  for (const auto& [name, value, on_file] : rows) {
    SCOPED_TRACE(name);
    grid.SetData<float>(name, value);
    const std::string file = written(grid);
    const int offsets[] = {76, 80, 84, 216, 1024};
    for (int i = 0; i < 5; ++i) EXPECT_EQ(word_at<float>(file, offsets[i]), on_file[i]);
    VXCCP4Map map;  // the image says what the file says
    EXPECT_TRUE(VXGridToCCP4(map, grid) && written(map) == file);
  }
  grid.SetData<float>("SIGMA", 0.0f);
  vxosstream out;
  CapturedLog log;
  EXPECT_FALSE(VXWriteCCP4Grid(out, grid));
  EXPECT_EQ(log.text(),
            "Warning: VXWriteCCP4: cached SIGMA value is 0.0, grid values will be zero, failing...\n");
  EXPECT_EQ(out.str(), "");
}

TEST(CCP4, PlainGridsGetALatticeOfTheirOwn) {
  // f = x + 10 y + 100 z is its own trilinear interpolation. Dimensions 10, 11, 4; midpoint off the lattice.
  const auto f = [](double x, double y, double z) { return static_cast<float>(x + 10 * y + 100 * z); };
  VXScalarGrid grid(10, 11, 4, 1.3f, -2.2f, 0.0f, 0.5f, "plain", nullptr);
  for (unsigned int e = 0; e < 440; ++e)
    grid[e] = f((e % 10 - 4.5) * 0.5 + 1.3, (e / 10 % 11 - 5.0) * 0.5 - 2.2, (e / 110 - 1.5) * 0.5);
  vxosstream out;
  ASSERT_TRUE(VXWriteCCP4Grid(out, grid));
  const std::string file = out.str();
  std::vector<int> head;
  for (const int offset : {0, 4, 8, 12, 16, 20, 24, 28, 32, 36, 64, 68, 72, 88, 212})
    head.push_back(word_at<int>(file, offset));
  // The centre goes to 1.5, -2, 0, which is 3, -4, 0 in steps; the first samples lie 5, 5, 2 steps before.
  EXPECT_THAT(head, ElementsAre(11, 11, 5, 2, -2, -9, -2, 22, 22, 10, 1, 2, 3, 146, 16708));
  EXPECT_TRUE(word_at<float>(file, 40) == 11 && word_at<float>(file, 52) == 90);
  int inside = 0;
  for (int e = 0; e < 605; ++e) {
    const double x = (e % 11 - 2) * 0.5, y = (e / 11 % 11 - 9) * 0.5, z = (e / 121 - 2) * 0.5;
    if (x < -0.9 || x > 3.5 || y < -4.6 || y > 0.2 || std::fabs(z) > 0.7) continue;
    EXPECT_NEAR(word_at<float>(file, 1024 + 4 * e), f(x, y, z), 2e-4);
    ++inside;
  }
  EXPECT_GT(inside, 200);
}
