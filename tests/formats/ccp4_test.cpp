#include <vxgrid/formats/ccp4.h>

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

// The sample that a grid read from `file` must hold; planes beyond the count repeat the first.
float expected(const MapFile& file, unsigned int x, unsigned int y, unsigned int z) {
  const int i = static_cast<int>(x) % file.count[0], j = static_cast<int>(y) % file.count[1],
            k = static_cast<int>(z) % file.count[2];
  if (file.mode == 2) return MapFile::sample(i, j, k);
  // AMIN -1.5, AMAX 2.5
  return 4.0f * static_cast<float>(MapFile::byte_sample(i, j, k) + 128) * 0.00392f - 1.5f;
}

int wrong_samples(const MapFile& file, const float* values, const unsigned int dims[3]) {
  int wrong = 0;
  for (unsigned int z = 0; z < dims[2]; ++z)
    for (unsigned int y = 0; y < dims[1]; ++y)
      for (unsigned int x = 0; x < dims[0]; ++x) wrong += *values++ != expected(file, x, y, z);
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

}  // namespace

TEST(CCP4, EveryAxisOrderByteOrderModeAndPeriod) {
  constexpr int kSizes[][3] = {{2, 3, 4}, {1, 5, 6}, {33, 20, 50}, {70, 17, 3}, {16, 300, 260}};
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
            vxisstream in(bytes);
            ASSERT_TRUE(map.Read(in));
            ASSERT_EQ(wrong_samples(file, map.data.data(), dims), 0);
            VXZemoGrid same;
            ASSERT_TRUE(VXCCP4ToGrid(same, map));
            ASSERT_TRUE(VXGridSameGeometry(grid, same));
            ASSERT_TRUE(std::equal(map.data.begin(), map.data.end(), same.GetValues()));
            vxosstream out;
            if (mode == 2 && !other_order) {
              ASSERT_TRUE(map.Write(out));
              ASSERT_EQ(out.str(), bytes);
            }
          }
}

TEST(CCP4, SamplesStandAtTheirPlaceInTheCell) {
  MapFile file;
  file.count = {5, 6, 7};
  file.start = {-3, 20, -11};
  file.period = {40, 30, 50};
  file.cell = {30, 45, 60, 80, 95, 112};
  const VXXtal::VXUnitCell cell(file.cell.data());
  for (const int wrapped : {0, 2}) {
    if (wrapped) file.period[1] = file.count[1];
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
    EXPECT_EQ(grid.GetData<float>("AMIN"), -1.5f);
    EXPECT_EQ(grid.GetData<float>("ARMS"), 0.75f);
  }
}

TEST(CCP4, ByteOrderIsKnownByTheFirstNumberAlone) {
  const CapturedLog quiet;
  MapFile file;
  file.other_order = true;
  file.count = {128, 1, 1};  // in the other order this is the lowest of all ints
  VXZemoGrid grid;
  EXPECT_TRUE(read(file.bytes(), grid));
  EXPECT_EQ(grid.GetXDim(), 128u);
  // 131073 = 0x00020001 columns in the machine's order are taken for 0x01000200 of the other.
  file.other_order = false;
  std::string bytes = file.bytes();
  for (const int columns : {131072, 131073}) {
    file.put_word(bytes, 0, columns);
    VXCCP4Map map;
    vxisstream in(bytes.substr(0, 16));
    EXPECT_FALSE(map.Read(in));
    EXPECT_EQ(map.NC, columns == 131072 ? 131072 : 0x01000200);
  }
}

TEST(CCP4, RefusesAndSaysWhy) {
  const struct {
    const char* what;
    int offset, value;
    bool image_reads;
    const char *image_says, *grid_says;
  } rows[] = {
      {"mode 1", 12, 1, false, "Error: VXCCP4Map::Can only read CCP4 Maps of type 2 (Real Numbers)\n", ""},
      {"axis 0", 64, 0, false, "Error: VXCCP4Map::Map axes must correspond to 1(x) 2(y) or 3(z)\n", ""},
      {"axis 4", 72, 4, false, "Error: VXCCP4Map::Map axes must correspond to 1(x) 2(y) or 3(z)\n", ""},
      {"axis twice", 68, 1, false, "Error: VXCCP4Map::indices not independent!\n", ""},
      {"sections along y too", 72, 2, true, "", ""},
      {"no rows", 4, 0, true,
       "Warning: Read 96 bytes more, initial bytes 1024, total data bytes = 96 (should be 0)\n",
       "Warning: Invalid CCP4 grid dimensions: 2 0 4\n"},
      {"negative columns", 0, -2, false, "Warning: CCP4 map: -2 x 3 x 4 samples announced\n",
       "Warning: Invalid CCP4 grid dimensions: -2 3 4\n"},
      {"more than an int", 8, 1 << 30, false,
       "Warning: CCP4 map: 6442450944 samples announced, the file holds at most 24\n",
       "Warning: Grid dimensions too large for memory size: 6 x 1073741824\n"},
      {"more than the file", 8, 1 << 20, false,
       "Warning: CCP4 map: 6291456 samples announced, the file holds at most 24\n",
       "Warning: CCP4 map: 6291456 samples announced, the file holds at most 24\n"},
      {"beyond 32 bits", 20, 2147483646, true, "",
       "Warning: Invalid Y dimensions for XPLOR file reading: -2147483647 < 2147483646\n"},
      {"up to the last int", 20, 2147483645, true, "",
       "Warning: Invalid Y dimensions for XPLOR file reading: -2147483648 < 2147483645\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    const MapFile file;
    std::string bytes = file.bytes();
    file.put_word(bytes, row.offset, row.value);
    VXCCP4Map map;
    vxisstream in(bytes);
    {
      CapturedLog log;
      EXPECT_EQ(map.Read(in), row.image_reads);
      EXPECT_EQ(log.text(), row.image_says);
    }
    VXZemoGrid grid = cell_grid();
    CapturedLog log;
    EXPECT_FALSE(read(bytes, grid));
    EXPECT_EQ(log.text(), row.grid_says);
    EXPECT_EQ(grid.GetSize(), 60u) << "target changed";
  }
  CapturedLog log;
  VXCCP4Map map;
  vxisstream in(MapFile().bytes() + "12345");
  EXPECT_TRUE(map.Read(in));
  EXPECT_EQ(log.text(),
            "Warning: Read 5 bytes more, initial bytes 1024, total data bytes = 101 (should be 96)\n");
}

// The length of a file is not looked at: what does not come stays 0.
TEST(CCP4, ShortFilesAreReadAsFarAsTheyGo) {
  const CapturedLog quiet;
  MapFile file;
  file.count = {5, 6, 40};
  file.symmetry = std::string(100, 's');  // one record and 20 bytes more
  for (const auto& axes : kAxisOrders)
    for (const bool other_order : {false, true}) {
      std::copy_n(axes, 3, file.axes.begin());
      file.other_order = other_order;
      SCOPED_TRACE(where(file));
      const std::string bytes = file.bytes();
      for (std::size_t length = 0; length <= bytes.size(); length += length < 1140 ? 1 : 97) {
        VXZemoGrid grid;
        VXCCP4Map map;
        vxisstream in(bytes.substr(0, length));
        const bool as_grid = read(bytes.substr(0, length), grid), as_image = map.Read(in);
        ASSERT_EQ(as_grid, length > 72 && (length >= 76 || !other_order)) << length;
        ASSERT_EQ(as_image, as_grid) << length;
        if (!as_grid) continue;
        const std::size_t whole = length < 1124 ? 0 : (length - 1124) / 4, cut = length > 1124 && length % 4;
        const auto there = [](const float* v) {
          return std::count_if(v, v + 1200, [](float f) { return f != 0; });
        };
        ASSERT_GE(there(map.data.data()), whole) << length;
        ASSERT_LE(there(map.data.data()), whole + cut) << length;
        ASSERT_EQ(there(grid.GetValues()), there(map.data.data())) << length;
        ASSERT_TRUE(std::equal(map.data.begin(), map.data.end(), grid.GetValues()));
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
  vxisstream in(bytes);
  ASSERT_TRUE(map.Read(in));
  vxosstream out;
  ASSERT_TRUE(map.Write(out));
  for (int i = 0; i < 15; ++i) file.put_word(bytes, 148 + 4 * i, 0x21 + i);  // the low bytes stay
  EXPECT_EQ(out.str(), bytes);
  EXPECT_EQ(map.symmetry[0][79], 0);

  CapturedLog log;
  map.Dump(true);
  EXPECT_THAT(
      log.text(),
      HasSubstr("\tNumber of columns, rows, sections ...............      2    3    4\n"
                "\tMap mode ........................................    2\n"
                "\tStart and stop points on columns, rows, sections      0    1    0    2    0    3\n"));
  EXPECT_THAT(log.text(), HasSubstr("\tFast, medium, slow axes .........................    X    Y    Z\n"));
  EXPECT_THAT(log.text(),
              HasSubstr("\tNumber of titles ................................    2\n Labels: \n\t*label one"));
  EXPECT_THAT(log.text(), HasSubstr("SKWMAT: 6.000000 7.000000 8.000000\nSKWTRN: 9.0000 10.0000 11.0000\n"
                                    "ARMS    0.750000\nNLABL   2\n===========================\n"));

  map.Clear();
  EXPECT_EQ(map.NX, 50);
  EXPECT_EQ(map.NSYMBT + map.NLABL + map.FUTURE[3], 0);
  EXPECT_EQ(map.SKWMAT[8] + map.SKWTRN[2], 0.0f);
  EXPECT_FALSE(map.Write(out));
}

TEST(CCP4, WriterRefusals) {
  VXCCP4Map map;
  vxisstream in(MapFile().bytes());
  ASSERT_TRUE(map.Read(in));
  CapturedLog log;
  vxosstream sixteen, head;
  map.MODE = 0;
  EXPECT_FALSE(map.Write(sixteen));
  EXPECT_EQ(sixteen.str().size(), 16u);
  map.MODE = 2;
  map.MAPR = 1;
  EXPECT_FALSE(map.Write(head));
  EXPECT_EQ(head.str().size(), 1024u);
  map.MAPR = 2;
  map.NC = 1000;
  EXPECT_FALSE(map.Write(head));
  EXPECT_EQ(log.text(),
            "Error: VXCCP4Map::Can only write CCP4 Maps of type 2 (Real Numbers)\n"
            "Error: VXCCP4Map::indices not independent!\n"
            "Warning: CCP4 map: 1000 x 3 x 4 samples announced, the image holds 24\n");
  EXPECT_FALSE(VXWriteCCP4Grid("/dev/full", cell_grid()));
  EXPECT_FALSE(VXWriteCCP4Grid("/no such folder/a.map", cell_grid()));
  EXPECT_THAT(log.text(),
              HasSubstr("Warning: Unable to open file for grid writing: /no such folder/a.map\n"));
}

TEST(CCP4, StatisticsOfTheHeader) {
  VXZemoGrid grid = cell_grid();
  grid.GetValues()[7] = -4.0f;
  grid.GetValues()[8] = std::nanf("");
  const float largest = MapFile::sample(2, 3, 4);
  const auto numbers = [&] {
    const std::string file = written(grid);
    // The image says what the file says.
    VXCCP4Map map;
    EXPECT_TRUE(VXGridToCCP4(map, grid));
    vxosstream out;
    EXPECT_TRUE(map.Write(out));
    EXPECT_EQ(out.str(), file);
    return std::vector<float>{word_at<float>(file, 76), word_at<float>(file, 80), word_at<float>(file, 84),
                              word_at<float>(file, 216), word_at<float>(file, 1024)};
  };
  EXPECT_THAT(numbers(), ElementsAre(-4, largest, 0, 1, 1)) << "searched; counts as normalised";
  grid.SetData<float>("SIGMA", 2.0f);
  EXPECT_THAT(numbers(), ElementsAre(-4, largest, 0, 1, 1)) << "SIGMA alone does nothing";
  grid.SetData<bool>("vx_no_norm", true);
  EXPECT_THAT(numbers(), ElementsAre(-8, 2 * largest, 0, 1, 2));
  grid.SetData<float>("AMIN", 10.0f);
  grid.SetData<float>("AMAX", 11.0f);
  grid.SetData<float>("AMEAN", 12.0f);
  EXPECT_THAT(numbers(), ElementsAre(-8, 2 * largest, 0, 1, 2)) << "three of four";
  grid.SetData<float>("ARMS", 13.0f);
  EXPECT_THAT(numbers(), ElementsAre(10, 11, 12, 13, 2));
  grid.SetData<float>("SIGMA", 0.0f);
  vxosstream out;
  CapturedLog log;
  EXPECT_FALSE(VXWriteCCP4Grid(out, grid));
  EXPECT_EQ(log.text(),
            "Warning: VXWriteCCP4: cached SIGMA value is 0.0, grid values will be zero, failing...\n");
  EXPECT_EQ(out.str(), "");
}

TEST(CCP4, CellGridsKeepLatticeAndStarts) {
  MapFile file;
  file.count = {7, 6, 5};
  file.start = {-3, 20, -11};
  file.period = {40, 30, 50};
  file.cell = {30, 45, 60, 80, 95, 112};
  file.group = 19;
  VXZemoGrid grid, again;
  ASSERT_TRUE(read(file.bytes(), grid));
  std::string bytes = written(grid), expected_bytes = file.bytes();
  expected_bytes.replace(208, 4, "MAP ");
  file.put_word(expected_bytes, 212, 16708);
  EXPECT_EQ(bytes, expected_bytes);
  // Without a group the same grid is made regular first and loses its starts.
  grid.SetSpaceGroup(0);
  bytes = written(grid);
  EXPECT_EQ(word_at<int>(bytes, 88), 146);
  EXPECT_NE(word_at<int>(bytes, 16), -3);
}

TEST(CCP4, PlainGridsGetALatticeOfTheirOwn) {
  // f = x + 10 y + 100 z is its own trilinear interpolation. Dimensions 10, 11, 4; midpoint off the lattice.
  VXScalarGrid grid(10, 11, 4, 1.3f, -2.2f, 0.0f, 0.5f, "plain", nullptr);
  const auto f = [](double x, double y, double z) { return static_cast<float>(x + 10 * y + 100 * z); };
  for (unsigned int z = 0, e = 0; z < 4; ++z)
    for (unsigned int y = 0; y < 11; ++y)
      for (unsigned int x = 0; x < 10; ++x, ++e)
        grid[e] = f((x - 4.5) * 0.5 + 1.3, (y - 5.0) * 0.5 - 2.2, (z - 1.5) * 0.5);
  vxosstream out;
  ASSERT_TRUE(VXWriteCCP4Grid(out, grid));
  const std::string file = out.str();
  std::vector<int> head;
  for (const int offset : {0, 4, 8, 12, 16, 20, 24, 28, 32, 36, 64, 68, 72, 88, 212})
    head.push_back(word_at<int>(file, offset));
  // The centre goes to 1.5, -2, 0, which is 3, -4, 0 in steps; the first samples lie 5, 5, 2 steps before.
  EXPECT_THAT(head, ElementsAre(11, 11, 5, 2, -2, -9, -2, 22, 22, 10, 1, 2, 3, 146, 16708));
  EXPECT_EQ(word_at<float>(file, 40), 11.0f);
  EXPECT_EQ(word_at<float>(file, 52), 90.0f);
  EXPECT_EQ(file.substr(208, 4), "MAP ");
  int inside = 0;
  for (int z = 0; z < 5; ++z)
    for (int y = 0; y < 11; ++y)
      for (int x = 0; x < 11; ++x) {
        const double px = (x - 2) * 0.5, py = (y - 9) * 0.5, pz = (z - 2) * 0.5;
        const float value = word_at<float>(file, 1024 + 4 * (x + 11 * (y + 11 * z)));
        if (px > -0.9 && px < 3.5 && py > -4.6 && py < 0.2 && std::fabs(pz) < 0.7) {
          EXPECT_NEAR(value, f(px, py, pz), 2e-4);
          ++inside;
        }
      }
  EXPECT_GT(inside, 200);
}
