#include <vxgrid/formats/grasp.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <numeric>

#include <vxgrid/formats/gridio.h>

#include "grid/grid_support.h"
#include "support/support.h"

using namespace VXCore;
using namespace std::string_literals;

namespace {

constexpr unsigned int kSize = 65 * 65 * 65;

std::string written(const VXScalarGrid& grid) {
  VXHost::vxosstream out;
  EXPECT_TRUE(VXWriteGrid(out, grid, 1));
  return out.str();
}

float big_endian(const std::string& file, std::size_t at) {
  const std::string bytes(file.rend() - static_cast<long>(at) - 4, file.rend() - static_cast<long>(at));
  float number;
  std::memcpy(&number, bytes.data(), 4);
  return number;
}

VXZemoGrid read(const std::string& file) {
  VXHost::vxisstream in(file);
  VXZemoGrid grid(numbered_grid(2, 3, 4));
  EXPECT_TRUE(VXReadGraspGrid(in, grid) && grid.GetSize() == kSize && grid.GetTitle().empty());
  return grid;
}

}  // namespace

TEST(Grasp, NumbersAndTextsInBothOrders) {
  VXHost::vxosstream out;
  for (const bool swap : {false, true}) {
    VXGraspIO::WriteGraspInt(0x01020304, out, swap);
    VXGraspIO::WriteGraspFloat(-1.5f, out, swap);
    VXGraspIO::WriteGraspLine(out, std::string(200, 't').c_str(), 200, swap);
  }
  EXPECT_EQ(out.str().substr(0, 4), "\4\3\2\1");
  VXHost::vxisstream in(out.str() + "\0\0\2\0ab????\0\0\0\0????\x40\4\0\0\0\0\0\0\0\0\0"s);
  for (const bool swap : {false, true}) {
    EXPECT_TRUE(VXGraspIO::ReadGraspInt(in, swap) == 0x01020304 &&
                VXGraspIO::ReadGraspFloat(in, swap) == -1.5f);
    EXPECT_EQ(VXGraspIO::ReadGraspLine(in), std::string(200, 't'));
  }
  EXPECT_EQ(VXGraspIO::ReadGraspLine(in), "ab") << "any byte of the four";
  EXPECT_EQ(VXGraspIO::ReadGraspLine(in), "");
  EXPECT_EQ(VXGraspIO::ReadGraspDouble(in, true), 2.5) << "an empty record is one all the same";
  CapturedLog log;
  EXPECT_EQ(VXGraspIO::ReadGraspLine(in), "");
  EXPECT_EQ(log.text(), "Warning: Invalid line length in Grasp grid file\n");
}

TEST(Grasp, TheFileByteForByteAndBack) {
  VXScalarGrid grid(65, 65, 65, 1, -2, 3.5f, 0.5f, "", nullptr);
  const auto value = [](unsigned e) {
    return static_cast<float>(e % 65 + 2 * (e / 65 % 65) + 4 * (e / 4225));
  };
  for (unsigned int e = 0; e < kSize; ++e) grid.GetValues()[e] = value(e);
  std::string file = written(grid);
  ASSERT_EQ(file.size(), 1098662u);
  const auto text = [](const std::string& bytes) {
    const std::string length{0, 0, 0, static_cast<char>(bytes.size())};
    return length + bytes + length;
  };
  EXPECT_EQ(file.substr(0, 106),
            text("now starting phimap ") +
                text("potential Phimap written from within Grasp" + std::string(28, ' ')));
  // The lengths of floats are in the machine's order, all else is big-endian.
  EXPECT_EQ(file.substr(106, 4) + file.substr(1098610, 4), "\4\303\20\0\4\303\20\0"s);
  EXPECT_EQ(file.substr(1098614, 24), text(" end of phimap  "));
  EXPECT_EQ(file.substr(1098638, 4) + file.substr(1098658), "\20\0\0\0\20\0\0\0"s);
  for (int i = 0; i < 4; ++i)
    EXPECT_EQ(big_endian(file, 1098642 + 4 * i), (std::array{2.0f, 1.0f, -2.0f, 3.5f})[i]);
  // Where the lattices coincide the last points are sampled just inside, by 1e-5 of the span.
  for (unsigned int e = 0; e < kSize; ++e) ASSERT_NEAR(big_endian(file, 110 + 4 * e), value(e), 5e-3) << e;

  file.replace(106, 4, "mark").replace(1098658, 4, "mark");
  const VXZemoGrid again = read(file);
  EXPECT_TRUE(again.GetSpacing() == 0.5f && again.GetYMid() == -2.0f);
  for (unsigned int e = 0; e < kSize; ++e) ASSERT_EQ(again.GetValues()[e], big_endian(file, 110 + 4 * e));

  // Short files count for what they hold.
  CapturedLog log;
  for (const std::size_t length : {0, 50, 110 + 4 * 1001 + 1, 1098650}) {
    const VXZemoGrid cut = read(file.substr(0, length));
    for (const unsigned int e : {1u, 999u, 1002u, kSize - 1})
      EXPECT_EQ(cut.GetValues()[e], 110 + 4 * e < length ? again.GetValues()[e] : 0.0f) << length << " " << e;
    EXPECT_TRUE(cut.IsSpacingSet() == (length == 1098650) && cut.GetZMid() == 0.0f);
  }
  VXHost::vxofstream full("/dev/full");
  EXPECT_FALSE(VXWriteGrid(full, grid, 1));
}

TEST(Grasp, LatticesOfOtherSizesAreResampled) {
  const std::tuple<int, int, int, float, float> rows[] = {
      {130, 10, 10, 1, 2}, {10, 66, 20, 0.5f, 0.50769231f}, {5, 6, 7, 0.75f, 0.75f}, {65, 2, 2, 2, 2}};
  for (const auto& [x, y, z, spacing, expected] : rows) {
    VXScalarGrid grid(x, y, z, 1, 2, 3, spacing, "", nullptr);
    std::fill_n(grid.GetValues(), grid.GetSize(), 4.0f);
    const VXZemoGrid map = read(written(grid));
    EXPECT_NEAR(map.GetSpacing(), expected, 1e-6f);
    EXPECT_EQ(map.GetValues()[kSize / 2], 4.0f) << "the midpoints coincide";
    EXPECT_EQ(map.GetValues()[0], 0.0f) << "outside the grid";
  }
}

// A potential that another program calculated, with the numbers of a third.
TEST(Grasp, MapOfAnotherProgram) {
  SKIP_WITHOUT_DATA("maps/1crn.phi");
  VXScalarGrid grid;
  ASSERT_TRUE(VXReadGrid(real_data("maps/1crn.phi"), grid));
  EXPECT_NEAR(grid.GetSpacing(), 0.6, 1e-6);
  EXPECT_TRUE(grid.GetXMid() == 9.3f && grid.GetYMid() == 9.8f && grid.GetZMid() == 6.9f);
  const float* const v = grid.GetValues();
  EXPECT_NEAR(*std::min_element(v, v + kSize), -370.2318, 1e-4);
  EXPECT_NEAR(std::accumulate(v, v + kSize, 0.0) / kSize, 0.662039, 1e-6);
  EXPECT_NEAR(v[1], -0.00425706, 1e-8);
  EXPECT_NEAR(v[65 * 65], -0.00409129, 1e-8);
  EXPECT_NEAR(v[(30 * 65 + 20) * 65 + 40], 0.879074, 1e-6);
}
