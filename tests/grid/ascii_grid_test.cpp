#include <cmath>
#include <cstdio>

#include <vxgrid/grid/ascii_grid.h>

#include "grid/grid_support.h"
#include "support/support.h"

using namespace VXCore;
using testing::HasSubstr;

namespace {

const std::string kHead = "Title: a   b\nMid: 1 2.5 -3\nDim: 2 2 2\nSpacing: 0.5\nValues:\n";

bool read(const std::string& text, VXGrid<float>& grid) {
  VXHost::vxisstream in(text);
  return VXReadAsciiGrid(in, grid);
}

template <class Grid>
std::string written(const Grid& grid) {
  VXHost::vxosstream out;
  EXPECT_TRUE(VXWriteAsciiGrid(out, grid));
  return out.str();
}

// The text is what printf makes of the stated formats, for every kind of number.
TEST(AsciiGrid, WritesAsPrintfInTheCLocale) {
  VXScalarGrid grid(5, 1, 2, -1234567.0f, 0.0000004f, 3.25f, 0.1f, "two words", nullptr);
  const float values[] = {0, -0.0f, 1.5f, -2.25f, 1e-45f, 3.4028235e38f, 0.1f, 1.0f / 3, -1e10f, INFINITY};
  grid.SetValues(values, 10);
  char line[256];
  std::snprintf(line, sizeof line,
                "Title: two words\nMid: %12.6f %12.6f %12.6f\nDim: %6d %6d %6d\nSpacing: %12.6f\nValues:\n",
                grid.GetXMid(), grid.GetYMid(), grid.GetZMid(), 5, 1, 2, grid.GetSpacing());
  std::string expected = line;
  for (const float value : values) {
    std::snprintf(line, sizeof line, "%-12.6e\n", value);
    expected += line;
  }
  EXPECT_EQ(written(grid), expected);
  EXPECT_EQ(written(VXZemoGrid(grid)), expected);

  // Larger than the writer's block, with a title that does not fit into it either; 7 digits come back as they
  // went, and what was read writes the same bytes.
  VXScalarGrid large = numbered_grid(60, 50, 40, 0.25f), back;
  large.SetTitle(std::string(70000, 't'));
  const std::string text = written(large);
  EXPECT_TRUE(read(text, back));
  EXPECT_EQ(values_of(back), values_of(large));
  EXPECT_EQ(written(back), text);
}

TEST(AsciiGrid, ReadsIntoEitherKind) {
  const std::string text = kHead + "1\n2\n 3 \n4e0\r\n5.0\n+6\n7\n8";
  VXScalarGrid grid;
  grid.SetType(2);
  EXPECT_TRUE(read(text, grid) && grid.GetZMid() == -3.0f && grid.GetSpacing() == 0.5f);
  EXPECT_EQ(values_of(grid), (std::vector<float>{1, 2, 3, 4, 5, 6, 7, 8}));
  EXPECT_EQ(grid.GetTitle(), "a b") << "runs of blanks become one";
  for (const unsigned int fields : {1u, 2u}) {
    VXZemoGrid zemo;
    VXHost::vxisstream in(text);
    EXPECT_TRUE(zemo.SetTitle("kept") && zemo.SetDim(2, 1, 1) && zemo.SetFloatsMultiple(fields));
    EXPECT_TRUE(VXReadAsciiGrid(in, zemo));
    EXPECT_EQ(values_of(zemo), values_of(grid));
    EXPECT_TRUE(VXGridSameGeometry(zemo, grid) && VXGridSameGeometry(zemo.GetIntegers(), grid));
    EXPECT_TRUE(zemo.GetTitle() == "kept" && zemo.GetFloats().GetNumGrids() == fields);
  }
}

TEST(AsciiGrid, RefusesAndSaysWhy) {
  const auto with = [](const std::string& from, const std::string& to) {
    std::string text = kHead + "1\n2\n3\n4\n5\n6\n7\n8\n";
    return text.replace(text.find(from), from.size(), to);
  };
  const std::tuple<const char*, std::string, bool, const char*> rows[] = {
      {"empty", "", false, "Problem reading Title: line in Ascii grid\n"},
      {"no title", with("Title:", "Tile:"), false, "Problem reading Title: line in Ascii grid\n"},
      {"title line without text", with("Title: a   b", "Title:"), true, ""},
      {"four numbers", with("-3", "-3 4"), false, "Problem reading Mid: line in Ascii grid\n"},
      {"two dimensions", with("2 2 2", "2 2"), false, "Problem reading Dim: line in Ascii grid\n"},
      {"no spacing", with("0.5", ""), false, "Problem reading Spacing: line in Ascii grid\n"},
      {"more behind", with("Values:", "Values: 8"), false, "Problem reading Values: line in Ascii grid\n"},
      {"7 of 8", with("8\n", ""), false,
       "Warning: Reached early end-of-file.\nWarning: Expected grid size: 8, found: 7\n"},
      {"a word", with("3\n4", "three\n4"), true,
       "Could not read floating point value from the text 'three'\n"},
      {"two numbers", with("3\n4", "3 4\n4"), true, "from the text '3 4'\n"},
      {"an empty line", with("3\n4", "\n4"), true, "from the text ''\n"},
      {"more than a file of this length can hold", with("2 2 2", "1000 1000 1000"), false,
       "Expected grid size: 1000000000, found: 8\n"},
      {"more than any grid can hold", with("2 2 2", "4294967295 4294967295 4294967295"), false, "found: 8\n"},
  };
  for (const auto& [what, text, result, says] : rows) {
    SCOPED_TRACE(what);
    CapturedLog log;
    VXScalarGrid grid;
    EXPECT_EQ(read(text, grid), result);
    EXPECT_THAT(log.text(), HasSubstr(says));
    EXPECT_EQ(log.text().empty(), *says == '\0');
    EXPECT_LE(grid.GetSize(), 8u);
  }
  CapturedLog log;
  VXScalarGrid grid;
  EXPECT_FALSE(read(with("8\n", ""), grid));
  EXPECT_EQ(values_of(grid), (std::vector<float>{1, 2, 3, 4, 5, 6, 7, 0})) << "what was read is kept";
  EXPECT_TRUE(read(with("3\n4", "three\n4"), grid) && grid[2] == 0.0f);
}

}  // namespace
