#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cmath>
#include <cstdlib>

#include <vxgrid/exchange/grid_json.h>
#include <vxgrid/host/text.h>

#include "grid/grid_support.h"
#include "support/support.h"

namespace {

using namespace VXCore;
using testing::HasSubstr;

// A document of a 2 x 1 x 3 grid with one text replaced by another; with `cell`, a skew grid's.
std::string document(const std::string& from = "", const std::string& to = "", const std::string& cell = "") {
  std::string text = R"({"type":"grid","version":"0.91",)" + cell +
                     R"("title":"t","gridtype":"QK","center":[1,-2.5,3e1],"dimensions":[2,1,3],)"
                     R"("resolution":0.5,"values":[1,2.5,-3,4e0,5,-0.0]})";
  const auto at = text.find(from);
  if (at == text.npos) ADD_FAILURE() << from << " is not in the document";
  return text.replace(at, from.size(), to);
}
const std::string kCell = R"("unitcell":[10,20,30,90,100,120],)";

VXSkewGrid skew_grid() {
  VXSkewGrid grid(numbered_grid(2, 3, 4));
  grid.SetUnitCell(20, 30, 40, 90, 90, 120, 2, 3, 4);
  grid.SetMid(1.2345678f, -1.2345678f, 0);
  grid.SetType(VXGridTypeDifferenceMap);
  return grid;
}

TEST(GridJSON, WritesTheKeysInTheirOrder) {
  const VXScalarGrid plain(1, 2, 1, 0, -0.0f, 1.2345678f, 0.1f, "", nullptr);
  EXPECT_EQ(VXGridToJSON(plain, 0),
            R"({"type":"grid","version":"0.91","center":[0.0,-0.0,1.23456],"dimensions":[1,2,1],)"
            R"("resolution":0.1,"values":[0.0,0.0]})");

  VXSkewGrid skew = skew_grid();
  skew.SetDim(1, 2, 2);
  const float values[] = {NAN, INFINITY, -INFINITY, 1e-30f};
  skew.SetValues(values, 4);
  skew.SetTitle("a \"b\"\n");
  const std::string keys = R"({"type":"grid","version":"0.91","unitcell":[20.0,30.0,40.0,90.0,90.0,120.0],)";
  const std::string rest =
      R"("gridtype":"DifferenceMap","center":[1.23456,-1.23456,0.0],"dimensions":[1,2,2],"resolution":10.0,)"
      R"("values":[NaN,Infinity,-Infinity,0.0]})";
  EXPECT_EQ(VXGridToJSON(skew, 0), keys + R"("title":"a \"b\"\n",)" + rest);
  // Escaped twice: once by the flag and once by the writer.
  EXPECT_EQ(VXGridToJSON(skew, VXJSONFlagEscapeTitle), keys + R"("title":"a \\\"b\\\"\\n",)" + rest);

  CapturedLog log;
  skew.SetType(6);
  EXPECT_THAT(VXGridToJSON(skew, 0), HasSubstr("\"gridtype\":\"Generic\""));
  EXPECT_EQ(log.text(), "Warning: JSON: encodeGridType: 6 is not a valid value, ignored\n");
}

// Each value is the text of the bare writer on the truncated double.
TEST(GridJSON, ValuesAreThoseOfTheBareWriter) {
  std::vector<float> values = {0.123456789f, 1e8f,  -99999999.0f, 4.5e7f,     1e15f,       1e16f,
                               3e38f,        1e-8f, -9.9e-9f,     1.1e-8f,    123456.789f, -1e-45f,
                               -0.0f,        0.1f,  2e7f,         45035996.0f};
  std::srand(1);
  for (int i = 0; i < 20000; ++i)
    values.push_back(std::ldexp(static_cast<float>(std::rand() - RAND_MAX / 2), std::rand() % 70 - 60));
  VXScalarGrid grid(static_cast<int>(values.size()), 1, 1, 0, 0, 0, 1, "", values.data());
  rapidjson::StringBuffer buffer;
  VXJSONWriter writer(buffer);
  writer.StartArray();
  for (const float v : values) writer.Double(VXTruncate(static_cast<double>(v), 100000000));
  writer.EndArray();
  const std::string text = VXGridToJSON(grid, 0);
  EXPECT_TRUE(text.substr(text.find("\"values\":") + 9) == buffer.GetString() + std::string("}"));

  VXScalarGrid back;
  ASSERT_TRUE(VXJSONToGrid(back, text));
  for (std::size_t i = 0; i < values.size(); ++i)
    ASSERT_EQ(back[static_cast<unsigned>(i)],
              static_cast<float>(VXTruncate(static_cast<double>(values[i]), 100000000)));
}

TEST(GridJSON, ReadsDocumentsOfOthers) {
  VXScalarGrid grid;
  ASSERT_TRUE(VXJSONToGrid(grid, document()));
  EXPECT_EQ(values_of(grid), (std::vector<float>{1, 2.5f, -3, 4, 5, 0}));
  EXPECT_TRUE(std::signbit(grid[5]));
  EXPECT_TRUE(VXGridSameGeometry(grid, VXScalarGrid(2, 1, 3, 1, -2.5f, 30, 0.5f, "", nullptr)));
  EXPECT_EQ(grid.GetType(), VXGridTypeQK);
  EXPECT_EQ(grid.GetTitle(), "t");

  VXSkewGrid skew;
  ASSERT_TRUE(VXJSONToGrid(skew, document("", "", kCell)));
  EXPECT_EQ(values_of(skew), values_of(grid));
  float cell[6];
  skew.GetUnitCell(cell[0], cell[1], cell[2], cell[3], cell[4], cell[5]);
  EXPECT_THAT(cell, testing::ElementsAre(10, 20, 30, 90, 100, 100)) << "gamma takes the value of beta";

  VXScalarGrid empty;
  empty.SetDim(0, 5, 5);
  const std::string text = VXGridToJSON(empty, 0);
  EXPECT_THAT(text, HasSubstr("\"values\":[]"));
  EXPECT_TRUE(VXJSONToGrid(empty, text));
  EXPECT_EQ(empty.GetSize(), 0u);

  CapturedLog log;
  ASSERT_TRUE(VXJSONToGrid(grid, document("QK", "Cubic")));
  EXPECT_EQ(grid.GetType(), VXGridTypeGeneric);
  EXPECT_EQ(log.text(), "Warning: JSON: decodeGridType: Cubic is not a valid value, ignored\n");
  ASSERT_TRUE(VXJSONToGrid(grid, document("1,2.5,-3", "NaN , -Infinity,18446744073709551615")));
  EXPECT_TRUE(std::isnan(grid[0]));
  EXPECT_EQ(grid[1], -INFINITY);
  EXPECT_EQ(grid[2], 18446744073709551615.0f);
}

TEST(GridJSON, RefusesAndSaysWhy) {
  const std::tuple<const char*, const char*, const char*, bool> rows[] = {
      {"}", "", "JSON: line 1, column 151: Missing a comma or '}'", false},
      {"\"grid\"", "\"cube\"", "Warning: JSON: Top level document must be \"type\":\"grid\"\n", false},
      {"\"type\":\"grid\",", "", "Error: JSON: required key \"type\" is missing\n", false},
      {"\"version\"", "\"unitcell\":[],\"version\"",
       "Warning: JSON: Object not a scalargrid, has a unitcell key\n", false},
      {"0.91", "0.92", "Warning: JSON: version 0.92 cannot be read, known are those up to 0.91\n", true},
      {"\"t\"", "7", "Error: JSON: \"title\" must be a string\n", true},
      {"0.5", "\"0.5\"", "Error: JSON: \"resolution\" must be a number\n", true},
      {"-2.5,", "", "Error: grid.center must be an array of size 3, got 2 instead\n", true},
      {"-2.5", "null", "Error: grid.center[1] must be a number\n", true},
      {"[2,1,3]", "[2,1]", "Error: grid.dimensions must be an array of size 3\n", true},
      {"[2,1,3]", "[-2,1,3]", "Error: grid.dimensions[0] must be an unsigned integer\n", true},
      {"[2,1,3]", "[2,1,3.0]", "Error: grid.dimensions[2] must be an unsigned integer\n", true},
      {"[2,1,3]", "[2,2,2]", "Error: grid.values must be an array of size 8, got 6 instead\n", true},
      {"[2,1,3]", "[3000000000,1,1]",
       "Error: grid.values must be an array of size 3000000000, got 6 instead\n", true},
      {"4e0", "[4]", "Error: grid.values[3] must be a number\n", true},
  };
  for (const auto& [from, to, says, cleared] : rows) {
    SCOPED_TRACE(std::string(from) + " -> " + to);
    CapturedLog log;
    VXScalarGrid grid = numbered_grid(2, 2, 2);
    EXPECT_FALSE(VXJSONToGrid(grid, document(from, to)));
    EXPECT_THAT(log.text(), HasSubstr(says));
    EXPECT_EQ(grid.GetSize(), cleared ? 1u : 8u);
  }
  // The product of the dimensions wraps to 6, and as many values are there.
  CapturedLog log;
  VXScalarGrid grid;
  EXPECT_FALSE(VXJSONToGrid(grid, document("[2,1,3]", "[2147483649,2,3]")));
  EXPECT_EQ(grid.GetTitle(), "t") << "title and type stay";
  EXPECT_EQ(grid.GetType(), VXGridTypeQK);
  EXPECT_FALSE(VXJSONToGrid(grid, document("0.5", "-0.5")));
  EXPECT_THAT(log.text(), HasSubstr("Warning: JSON: \"resolution\" -0.5 is no spacing\n"));

  VXSkewGrid skew;
  EXPECT_FALSE(VXJSONToGrid(skew, document()));
  EXPECT_THAT(log.text(), HasSubstr("Error: JSON: required key \"unitcell\" is missing\n"));
  EXPECT_FALSE(VXJSONToGrid(skew, document("", "", R"("unitcell":[1,2,3,4,5],)")));
  EXPECT_THAT(log.text(), HasSubstr("Error: grid.unitcell must be an array of size 6, got 5 instead\n"));
  EXPECT_FALSE(VXJSONToGrid(skew, document("120", "\"120\"", kCell))) << "the sixth is checked";
}

TEST(GridJSON, GridsAsAttributes) {
  VXScalarGrid grid = numbered_grid(2, 1, 1);
  grid.SetData("values", 1.0);  // a key of the grid
  VXSkewGrid inner = skew_grid();
  inner.SetData("depth", 2u);
  grid.SetData("map", inner);
  grid.SetData("maps", std::vector<VXScalarGrid>{numbered_grid(1, 2, 1), numbered_grid(3, 1, 1)});
  grid.AddData("part", numbered_grid(1, 1, 2));
  grid.AddData("part", numbered_grid(1, 1, 3));
  EXPECT_EQ(VXGridToJSON(grid, 0).find("part"), std::string::npos);

  VXScalarGrid back;
  ASSERT_TRUE(VXJSONToGrid(back, VXGridToJSON(grid, VXJSONFlagBaseData)));
  EXPECT_FALSE(back.HasData("values"));
  EXPECT_EQ(back.GetData<VXSkewGrid>("map").GetData<unsigned int>("depth"), 2u);
  ASSERT_EQ(back.GetData<std::vector<VXScalarGrid>>("maps").size(), 2u);
  EXPECT_EQ(back.GetData<std::vector<VXScalarGrid>>("maps")[1].GetXDim(), 3u);
  std::vector<unsigned int> parts;
  for (const auto& data : back.GetBaseImpl()->GetAll())
    if (data->GetTag() == VXGetTag("part"))
      parts.push_back(static_cast<const VXBaseDataT<VXScalarGrid>&>(*data).value.GetZDim());
  EXPECT_EQ(parts, (std::vector<unsigned int>{2, 3}));
}

TEST(GridJSON, HandlersAndEmbedding) {
  const std::unique_ptr<VXJSONHandlerBase> skew(VXInitSkewGridJSONHandler());
  const std::unique_ptr<VXJSONHandlerBase> scalar(VXInitScalarGridJSONHandler());
  EXPECT_STREQ(call_slot<const char*>(skew.get(), 7), "grid");
  EXPECT_EQ(call_slot<const void*>(scalar.get(), 9), VXGetDataType<std::vector<VXScalarGrid>>());
  EXPECT_EQ(call_slot<unsigned int>(scalar.get(), 10), 17303u);

  // A grid among other keys, then in an array.
  rapidjson::StringBuffer buffer;
  VXJSONWriter writer(buffer);
  writer.StartObject();
  writer.Key("name");
  writer.StartObject();
  VXGenGridJSON(writer, skew_grid(), 0);
  writer.EndObject();
  writer.EndObject();
  VXJSONDocument whole;
  ASSERT_TRUE(JSONParseHelper(whole, buffer.GetString()));
  VXSkewGrid grid;
  EXPECT_TRUE(VXParseGridJSON(grid, whole["name"], true));
  EXPECT_EQ(values_of(grid), values_of(skew_grid()));
  EXPECT_FALSE(grid.HasUnitCell()) << "the cell is the caller's to read";

  CapturedLog log;
  VXBase object;
  const unsigned int tag = VXGetTag("grids");
  EXPECT_FALSE(scalar->Read(object, tag, whole));
  EXPECT_FALSE(scalar->VRead(object, tag, whole, false));
  EXPECT_EQ(log.text(),
            "Warning: JSON: Internal error, scalargrid Read handler called\n"
            "Warning: JSON: Internal error, scalargrid VRead handler called\n");
  // The first element decides the kind of all.
  ASSERT_TRUE(JSONParseHelper(whole, "[" + document("", "", kCell) + "," + document() + "]"));
  EXPECT_FALSE(skew->VRead(object, tag, whole, false));
}

}  // namespace
