#include <vxgrid/formats/xplor.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>

#include <vxgrid/formats/ccp4.h>
#include <vxgrid/formats/gridio.h>

#include "grid/grid_support.h"
#include "map_file.h"
#include "support/support.h"

using namespace VXCore;

namespace {

std::string text(const char* format, double number) {
  char field[40];
  return {field, static_cast<std::size_t>(std::snprintf(field, sizeof field, format, number))};
}

/// An X-PLOR map of the box of a MapFile, whose axes count from the fastest.
struct XplorFile : MapFile {
  std::string titles = "\n\n       1 !NTITLE\n REMARKS 2 titles\n", cell_line, mode;
  std::vector<int> numbers;

  XplorFile(const std::array<int, 3>& the_axes, int wrapped) {
    axes = the_axes, start = {-3, 20, -11}, cell = {30, 45, 60.5f, 80, 95, 112};
    mode = {"XYZ"[axes[2] - 1], "XYZ"[axes[1] - 1], "XYZ"[axes[0] - 1]};
    for (const float number : cell) cell_line += text("%12.5E", number);
    for (int i = 0; i < 3; ++i) {
      if (wrapped >> i & 1) period[i] = count[i];
      numbers.insert(numbers.end(), {period[i], start[i], start[i] + count[i] - 1});
    }
  }
  // section(k) before each section, sample(value, is_last) for each sample of it.
  template <class Section, class Sample>
  void each(Section section, Sample sample) const {
    const int n = count[axes[0] - 1], last = n * count[axes[1] - 1] - 1;
    int at[3];
    for (int k = 0; k < count[axes[2] - 1]; ++k) {
      section(k);
      for (int i = 0; i <= last; ++i) {
        at[axes[0] - 1] = i % n, at[axes[1] - 1] = i / n, at[axes[2] - 1] = k;
        sample(MapFile::sample(at[0], at[1], at[2]), i == last);
      }
    }
  }
  std::string as_text(const std::string& line_end, int fields_per_line) const {
    std::string file = titles;
    for (const int number : numbers) file += text("%8.0f", number);
    file += line_end + cell_line + line_end + mode + line_end;
    int column = 0;
    each([&](int k) { file += text("%8.0f", k) + line_end; },
         [&](float value, bool is_last) {
           file += text(column % 2 ? "%12.5E" : " %11.4f", value);
           column = is_last || column + 1 == fields_per_line ? 0 : column + 1;
           if (column == 0) file += line_end;
         });
    return file + "   -9999\n  0.0000E+00  1.0000E+00\n";
  }
  // The lengths of the records are not looked at: here they are blanks.
  std::string unformatted() const {
    std::string file = "    \1" + std::string(3, '\0') + std::string(80, 't') + "        ";
    const auto put = [&](auto value) { file.append(reinterpret_cast<const char*>(&value), sizeof value); };
    for (const int number : numbers) put(number);
    for (const float number : cell) put(double{number});
    file += mode + "    ";
    each([&](int k) { file += "    ", put(k), file += "        "; },
         [&](float value, bool is_last) { put(double{value}), file += is_last ? "    " : ""; });
    return file;
  }
};

bool read(const std::string& bytes, VXZemoGrid& grid) {
  VXHost::vxisstream in(bytes);
  return VXReadXPLORMap(in, grid);
}

}  // namespace

// The CCP4 reader places the same box the same way.
TEST(XPLOR, EveryOrderOfAxesAndPeriodInBothForms) {
  for (const auto& axes :
       {std::array<int, 3>{1, 2, 3}, {1, 3, 2}, {2, 1, 3}, {2, 3, 1}, {3, 1, 2}, {3, 2, 1}})
    for (int wrapped = 0; wrapped < 8; ++wrapped) {
      const XplorFile file(axes, wrapped);
      XplorFile other = file;
      other.titles = "REMARKS\n 0\n", other.cell_line = "   30.000   45.000    60.500  80 95.0 112 degrees";
      SCOPED_TRACE(file.mode + " wrapped " + std::to_string(wrapped));
      VXHost::vxisstream in(file.bytes());
      VXZemoGrid expected;
      float m[9], m_expected[9];
      ASSERT_TRUE(VXReadCCP4Map(in, expected) && expected.GetOrientation(m_expected));
      for (const std::string& bytes :
           {file.as_text("\n", 6), other.as_text("\r\n", 1), file.as_text("\n", 5), file.unformatted()}) {
        VXZemoGrid grid(numbered_grid(2, 2, 2));
        grid.SetData<int>("before", 1);
        ASSERT_TRUE(read(bytes, grid) && VXGridSameGeometry(grid, expected) && grid.GetOrientation(m));
        EXPECT_TRUE(values_of(grid) == values_of(expected) && std::equal(m, m + 9, m_expected));
        EXPECT_TRUE(grid.GetReentrant() == 7 && grid.GetTitle() == "xplor" && !grid.HasData("before"));
      }
    }
}

TEST(XPLOR, RefusesAndSaysWhyAndLeavesTheGrid) {
  const XplorFile file({1, 2, 3}, 0);
  const std::string good = file.as_text("\n", 6), bare = file.unformatted();
  const auto with = [](std::string in, const std::string& from, const std::string& to) {
    return in.replace(in.find(from), from.size(), to);
  };
  const std::tuple<std::string, std::string> rows[] = {
      {"\n\n", "Warning: Failed to retrieve number of title lines\n"},
      {with(good, "       1 !", "2000000000 !"), "nine whole numbers expected, here is \"\""},
      {with(good, "      -8", ""), "nine whole numbers expected"},
      {with(good, "      -3", "-3000000000"), "nine whole numbers expected"},
      {with(good, "      -3", "     nan"), "nine whole numbers expected"},
      {with(good, " 3.00000E+01", " 3.0000 E+01"), "six numbers of a cell expected"},
      {with(good, "ZYX", "zyx"), "Warning: Could not find the ordering specification\n"},
      {with(bare, "ZYX", "ZZX"), "Error: XPLOR: Axes mode ZZX is not recognized.\n"},
      {with(good, "      -2", "      -9"), "Warning: Invalid X dimensions for XPLOR file reading: -8 < -3\n"},
      {with(good, "      -3      -2", "-2147483647      2147483647"), "Invalid X dimensions"},
      {with(good, "      -3      -2", "-2147483648      2147483646"), "Grid dimensions too large"},
      {with(good, "      -2", "      -4"), ""},
      {with(good, "      -2", " 9999999"),
       "to number while reading XPLOR file: "},  // there is no such length
      {with(good, "2.00000", "2.0x000"),
       "Warning: Unable to convert string to number while reading XPLOR file:  2.0x000E+00\n"},
      {good.substr(0, good.size() - 60), "while reading XPLOR file: "},
      {bare.substr(0, bare.size() - 5), "XPLOR map: the file ends before its last sample"},
      {bare.substr(0, 100), "Axes mode  is not recognized"},
  };
  for (const auto& [bytes, says] : rows) {
    VXZemoGrid grid(numbered_grid(2, 3, 4));
    CapturedLog log;
    EXPECT_FALSE(read(bytes, grid)) << says;
    EXPECT_THAT(log.text(), testing::HasSubstr(says)) << bytes;
    EXPECT_TRUE(grid.GetTitle() == "numbered" && values_of(grid) == values_of(numbered_grid(2, 3, 4)));
  }
}

// Random numbers in the two usual notations, and those that stand half-way between two floats.
TEST(XPLOR, EveryFieldBecomesTheFloatNearestToIt) {
  std::string file = "1\n\n 900000 0 99999 9 0 0 9 0 0\n9 9 9 90 90 90\nZYX\n0\n";
  std::vector<float> expected;
  std::mt19937 random(1);
  for (int i = 0; i < 100000; ++i) {
    const int digits = 100000 + static_cast<int>(random() % 900000);
    std::string field;
    if (i < 50000)
      field = text("%12.5E", (i & 1 ? -1 : 1) * digits * std::pow(10.0, int(random() % 74) - 43));
    else if (i < 90000)
      field = (i & 1 ? "-0." : " 0.") + std::to_string(digits / 10) + text("E%+03.0f", i % 60 - 30);
    else
      field = text("%12.5E", (134219 + 2 * (i % 67000)) * 1000.0);
    file += field + (i % 6 == 5 ? "\n" : "");
    expected.push_back(std::strtof(field.c_str(), nullptr));
  }
  VXZemoGrid grid;
  ASSERT_TRUE(read(file, grid) && grid.GetSize() == expected.size());
  EXPECT_EQ(std::memcmp(expected.data(), grid.GetValues(), 4 * expected.size()), 0);
}

// Extremes as the program has them that made the maps.
TEST(XPLOR, MapsOfOtherPrograms) {
  SKIP_WITHOUT_DATA("maps/1dur_2fofc_cell.xplor");
  VXSkewGrid cell, box, bare;
  ASSERT_TRUE(VXReadGrid(real_data("maps/1dur_2fofc_cell.xplor"), cell) && cell.GetType() == 4);
  EXPECT_TRUE(cell.GetXDim() == 33 && cell.GetYDim() == 41 && cell.GetZDim() == 41);
  const auto [low, high] = std::minmax_element(cell.GetValues(), cell.GetValues() + cell.GetSize());
  EXPECT_TRUE(*low == -1.86718f && *high == 5.44652f);
  ASSERT_TRUE(VXReadGrid(real_data("maps/5wkd_2fofc_box.xplor"), box));
  ASSERT_TRUE(VXReadGrid(real_data("maps/5wkd_2fofc_box_bin.xplmap"), bare) && VXGridSameGeometry(box, bare));
  ASSERT_EQ(box.GetSize(), 51u * 10 * 26);
  const float* const v = bare.GetValues();
  for (int e = 0; e < 51 * 10 * 26; ++e)
    ASSERT_NEAR(box.GetValues()[e], v[e], 5.1e-6 * std::fabs(v[e])) << "six digits";
  // C centring: half a cell along a and b (45 and 4 steps) leads to the same density.
  for (int e = 0; e < 51 * 10 * 26; ++e)
    if (e % 51 < 6 && e / 51 % 10 < 6) {
      ASSERT_NEAR(v[e], v[e + 45 + 4 * 51], 1e-5);
    }
}
