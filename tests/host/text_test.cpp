#include <vxgrid/host/text.h>

#include <cmath>
#include <limits>

#include <vxgrid/host/version.h>

#include "support/support.h"

using namespace VXCore;
using testing::ElementsAre;

TEST(Text, Tokenize) {
  std::vector<std::string> out{"old"};
  VXStringTokenize(out, " \tMid:  1 2\t", " \t\n", true);
  EXPECT_THAT(out, ElementsAre("Mid:", "1", "2"));
  VXStringTokenize(out, ",a,,b", ",", false);
  EXPECT_THAT(out, ElementsAre("", "a", "", "b"));
  VXStringTokenize(out, "", ",", false);
  EXPECT_THAT(out, ElementsAre(""));
  VXStringTokenize(out, "  ", " ", true);
  EXPECT_THAT(out, ElementsAre());
}

TEST(Text, StringToNumberTakesTheWholeText) {
  constexpr double inf = HUGE_VAL;
  const std::pair<const char*, double> good[] = {
      {"1", 1},           {"-1.5", -1.5},          {"+2.5e-3", 2.5e-3}, {".5", 0.5},         {"5.", 5},
      {" 7\t", 7},        {"1e5  ", 1e5},          {"inf", inf},        {"-Infinity", -inf}, {"1e-5000", 0},
      {"-1e-50", -1e-50}, {"1.000000e-45", 1e-45}, {"0.1", 0.1},        {"00012", 12}};
  float f = -99;
  double d = -99;
  for (const auto& [text, value] : good) {
    EXPECT_TRUE(VXStringToNumber(text, d) && VXStringToNumber(text, f)) << text;
    EXPECT_EQ(d, value);
    EXPECT_EQ(f, static_cast<float>(value));
  }
  for (const char* text : {"", " ", "+", "-", ".", "e5", "1 2", "1x", "0x10", "1,5", "+-1", "++1", "1e",
                           "word", "1\n", "1e9999999999", "--1"}) {
    EXPECT_FALSE(VXStringToNumber(text, d)) << text;
    EXPECT_EQ(d, 12) << "changed";
  }
  EXPECT_FALSE(VXStringToNumber("1e39", f));
  EXPECT_TRUE(VXStringToNumber("NaN", f));
  EXPECT_TRUE(std::isnan(f));
  // Text between two floats goes to the nearer one, not by way of a double.
  EXPECT_TRUE(VXStringToNumber("1.00000005960464477540", f));
  EXPECT_EQ(f, std::nextafter(1.0f, 2.0f));

  unsigned int u = 99;
  EXPECT_TRUE(VXStringToNumber(" 4294967295", u, 10));
  EXPECT_EQ(u, 4294967295u);
  EXPECT_TRUE(VXStringToNumber("+fF", u, 16));
  EXPECT_EQ(u, 255u);
  for (const char* text : {"", "-1", "4294967296", "1.0", "1 2", "ff"}) {
    EXPECT_FALSE(VXStringToNumber(text, u, 10)) << text;
    EXPECT_EQ(u, 255u);
  }
  EXPECT_FALSE(VXStringToNumber("1", u, 1));
}

TEST(Text, NumberToStringIsPrintf) {
  std::string text;
  for (const double value : {0.0, -0.0, 1.0, -12345.678, 1e300, 2.5, 1e-5, HUGE_VAL, -HUGE_VAL})
    for (const char format : {'e', 'f', 'g', 'E', 'F', 'G'})
      for (const int digits : {-1, 0, 1, 6, 40}) {
        char expected[400], pattern[] = {'%', '.', '*', format, '\0'};
        std::snprintf(expected, sizeof expected, pattern, digits, value);
        EXPECT_TRUE(VXNumberToString(value, text, format, digits));
        EXPECT_EQ(text, expected) << format << digits;
      }
  EXPECT_FALSE(VXNumberToString(1.0, text, 'd', 3));
  EXPECT_TRUE(VXNumberToString(255u, text, 2));
  EXPECT_EQ(text, "11111111");
  EXPECT_TRUE(VXNumberToString(std::numeric_limits<long>::min(), text, 2));
  EXPECT_EQ(text, "-1" + std::string(63, '0'));
  EXPECT_TRUE(VXNumberToString(18446744073709551615ul, text, 36));
  EXPECT_EQ(text, "3w5e11264sgsf");
}

TEST(Text, FileExtensions) {
  const std::pair<const char*, const char*> rows[] = {
      {"a.map", "map"},     {"/b.c/a.map.gz", "map"}, {"a", ""},  {"/b.c/a", ""}, {"a.gz", ""},
      {"a.b.ccp4", "ccp4"}, {".map", "map"},          {"a.", ""}, {"", ""},       {"a.gz.map", "map"}};
  for (const auto& [name, extension] : rows) EXPECT_EQ(VXGetFileExtension(name), extension) << name;
  EXPECT_EQ(VXGetFileExtension(nullptr), "");
  EXPECT_TRUE(VXFileExtension("x/A.MAP.gz", "map"));
  EXPECT_TRUE(VXFileExtension("a.map", ".map"));
  EXPECT_FALSE(VXFileExtension("a.mapx", "map"));
  EXPECT_FALSE(VXFileExtension("map", "map"));
}

TEST(Text, TruncateCutsTowardsZero) {
  const std::tuple<double, int, double> rows[] = {
      {1.234567891, 100000, 1.23456},         {-1.234567891, 100000, -1.23456},
      {1.23456789123, 100000000, 1.23456789}, {1.7e308, 100000000, 1.7e308},
      {HUGE_VAL, 100000, HUGE_VAL},           {2.5, 0, 2.5}};
  for (const auto& [value, scale, expected] : rows) EXPECT_EQ(VXTruncate(value, scale), expected) << value;
  EXPECT_TRUE(std::isnan(VXTruncate(std::nan(""), 100000)));
}

TEST(Version, TheLibraryRegistersItself) {
  EXPECT_EQ(VXHost::VXGetRegisteredVersions().at(0),
            std::make_pair(std::string("vxgrid"), std::string(VXGridGetVersion())));
  VXHost::VXRegisterVersion("other", [] { return "7"; });
  VXHost::VXRegisterVersion("other", [] { return "8"; });
  ASSERT_EQ(VXHost::VXGetRegisteredVersions().size(), 2u);
  EXPECT_EQ(VXHost::VXGetRegisteredVersions()[1].second, "8");
  EXPECT_EQ(std::string(VXGridGetVersion()).rfind(VXGridGetRelease(), 0), 0u);
}
