#include <vxgrid/host/json.h>

#include <rapidjson/document.h>
#include <rapidjson/error/en.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <cmath>
#include <random>

#include <vxgrid/host/text.h>

#include "support/support.h"

namespace {

using namespace VXCore;
using testing::HasSubstr;

TEST(JSON, ParsesNumbersToTheNearestDouble) {
  std::vector<std::string> texts;
  VXStringTokenize(
      texts,
      "0.1 -0.0 123456789.87654321 9007199254740993.0 9007199254740992.5 1e23 8.5e-323 -1E+2 5e-1 1e-400 "
      "1.7976931348623157e308 4.9406564584124654e-324 0.00000000000000000012345678901234567890 "
      "12345678901234567890.5 98765432109876543210 0.30000000000000004 12345678.9012345e1 0.123456789012345 "
      "0.1000000000000000055511151231257827021181583404541015625",
      " ");
  std::mt19937_64 bits(1);
  for (int i = 0; i < 20000; ++i) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*g", 1 + i % 20,
                  std::ldexp(static_cast<double>(bits()), static_cast<int>(bits() % 200) - 130));
    if (std::string(text).find_first_of(".e") != std::string::npos) texts.push_back(text);
  }
  for (const std::string& text : texts) {
    // With and without other characters behind it.
    VXJSONDocument document;
    ASSERT_TRUE(JSONParseHelper(document, "[" + text + "," + std::string(40, ' ') + text + "]")) << text;
    for (const auto& number : document.GetArray()) {
      ASSERT_TRUE(number.IsDouble()) << text;
      EXPECT_EQ(number.GetDouble(), std::strtod(text.c_str(), nullptr)) << text;
    }
  }
  VXJSONDocument list;
  ASSERT_TRUE(JSONParseHelper(list,
                              "[-2147483648,4294967295,-2147483649,18446744073709551615,-9223372036854775808,"
                              "4294967296,9223372036854775808,-0,NaN,-Inf]"));
  EXPECT_TRUE(list[0].IsInt() && list[1].IsUint() && list[2].IsInt64() && list[3].IsUint64());
  EXPECT_EQ(list[4].GetInt64(), INT64_MIN);
  EXPECT_TRUE(std::isnan(list[8].GetDouble()));
  EXPECT_EQ(list[9].GetDouble(), -INFINITY);
}

// Rows of numbers are read by other means than all else. RapidJSON alone says what is right.
TEST(JSON, ArraysAreThoseOfRapidJSON) {
  const char* const parts[] = {
      ",",    ",",     ", ",  ",\n\t",        ",",    "[",  "]",          "],",       "[ ",         "-",
      "0",    "-0",    "1",   "01",           "1.",   ".5", "-.5",        "1e5",      "1.5e",       "1.5E+3,",
      "2e-",  ":",     "0.1", "-1.25",        "00.5", " ",  "0.12345678", "12345678", "-123456789", "NaN,",
      "true", "\"a\"", "{}",  "9.87654321e-7"};
  std::mt19937 random(1);
  int accepted = 0;
  for (int i = 0; i < 50000; ++i) {
    std::string text = "[";
    for (int n = static_cast<int>(random() % 12); n >= 0; --n) {
      text += parts[random() % std::size(parts)];
      // Most parts as elements: texts at random are seldom a document.
      if (random() % 4) text += std::string(",0.") + std::to_string(random() >> random() % 32) + ",";
    }
    text += random() % 2 ? "7.5]" : "]";
    text += std::string(random() % 2 * 60, ' ');
    rapidjson::Document expected;
    expected.Parse<rapidjson::kParseFullPrecisionFlag | rapidjson::kParseNanAndInfFlag>(text.c_str());
    CapturedLog log;
    VXJSONDocument document;
    ASSERT_EQ(JSONParseHelper(document, text), !expected.HasParseError()) << text;
    if (expected.HasParseError()) {
      const auto line =
          1 + std::count(text.begin(), text.begin() + static_cast<long>(expected.GetErrorOffset()), '\n');
      EXPECT_THAT(log.text(), HasSubstr("line " + std::to_string(line) + ","));
      EXPECT_THAT(log.text(), HasSubstr(rapidjson::GetParseError_En(expected.GetParseError()))) << text;
      continue;
    }
    ++accepted;
    rapidjson::StringBuffer ours, theirs;
    rapidjson::Writer<rapidjson::StringBuffer, rapidjson::UTF8<>, rapidjson::UTF8<>, rapidjson::CrtAllocator,
                      rapidjson::kWriteNanAndInfFlag>
        writer(ours), their_writer(theirs);
    document.Accept(writer);
    expected.Accept(their_writer);
    ASSERT_STREQ(ours.GetString(), theirs.GetString()) << text;
  }
  EXPECT_GT(accepted, 1000) << "of texts at random";
}

TEST(JSON, RefusesWhatIsNoDocument) {
  std::string objects;
  for (int i = 0; i < 1000000; ++i) objects += "{\"\":";
  const std::tuple<std::string, std::string> rows[] = {
      {objects, "nested too deep"},
      {"", "line 1, column 1: The document is empty."},
      {"{\n \"a\": 1,\n}", "line 3, column 1: "},
      {"\n[1 2]", "line 2, column 4: "},
      {"[1] x", "line 1, column 5: "},
      {std::string("[1]\0 ", 5), "line 1, column 4: character 0"},
      {"1e400", "column 1: Number too big"},
      {"1.7976931348623159e308", "number too large"},
      {"[NaN.5]", "not a number"},
      {"[1,NInf]", "not a number"},
      {"{\"a\":\"b", "Missing a closing quotation mark"},
      {std::string(1000000, '['), "line 1, column 102: nested too deep"},
  };
  for (const auto& [text, says] : rows) {
    SCOPED_TRACE(text.substr(0, 20));
    CapturedLog log;
    VXJSONDocument document;
    document.SetInt(1);
    EXPECT_FALSE(JSONParseHelper(document, text));
    EXPECT_TRUE(document.IsNull());
    EXPECT_THAT(log.text(), HasSubstr(says));
  }
  VXJSONDocument document;
  EXPECT_TRUE(JSONParseHelper(document, std::string(100, '[') + std::string(100, ']')));
  const std::string strings = "[\"\\u00e4\\n\\\"\\u0000x\",\"" + std::string("\xe4\xff") + "\"]";
  ASSERT_TRUE(JSONParseHelper(document, strings));
  EXPECT_EQ(std::string(document[0].GetString(), document[0].GetStringLength()),
            std::string("\xc3\xa4\n\"\0x", 6));
  EXPECT_STREQ(document[1].GetString(), "\xe4\xff") << "bytes of strings are not judged";
}

TEST(JSON, MembersAndVersions) {
  VXJSONDocument document;
  ASSERT_TRUE(JSONParseHelper(document, R"({"s":"x","a":[1],"n":3,"s":2})"));
  CapturedLog log;
  EXPECT_EQ(GetJSONStringAttr(document, "s", true).value, "x") << "the first of one key counts";
  const auto absent = GetJSONArrayAttr(document, "b", false);
  EXPECT_FALSE(absent.found || absent.error);
  const auto wrong = GetJSONStringAttr(document, "n", false);
  EXPECT_TRUE(wrong.found && wrong.error);
  EXPECT_TRUE(GetJSONDoubleAttr(document["a"], "n", false).error) << "not an object";

  for (const char* version : {"0.91", "0.9", "0.910", "0.0999"})
    EXPECT_TRUE(compatibleJSONVersion(version)) << version;
  for (const char* version : {"", "0.", "0.92", "0.911", "1.0", "0.9x", "0.91 ", "-0.9"})
    EXPECT_FALSE(compatibleJSONVersion(version)) << version;
  EXPECT_EQ(VXEscapeJSON("a\"\\/\b\f\n\r\t\x01\x1f\xc3\xa4"),
            "a\\\"\\\\/\\b\\f\\n\\r\\t\\u0001\\u001F\xc3\xa4");
}

std::string attributes_text(const VXBase& object, const std::vector<const char*>& list = {}) {
  rapidjson::StringBuffer buffer;
  VXJSONWriter writer(buffer);
  writer.StartObject();
  VXGenBaseDataJSON(writer, object, list.data(), static_cast<unsigned>(list.size()), ~0u);
  writer.EndObject();
  return buffer.GetString();
}

bool read_attributes(VXBase& object, const std::string& text, const std::vector<const char*>& list = {}) {
  VXJSONDocument document;
  return JSONParseHelper(document, text) &&
         VXParseBaseDataJSON(object, document, list.data(), static_cast<unsigned>(list.size()));
}

struct Unknown {};

TEST(JSON, AttributesKeepTypeValueAndOrder) {
  VXBase object;
  object.AddData("int", INT32_MIN);
  object.AddData("unsigned", UINT32_MAX);
  object.AddData("long", INT64_MIN);
  object.AddData("size", UINT64_MAX);
  object.AddData("float", 0.1f);
  object.AddData("double", 0.1 + 0.2);
  object.AddData("text", std::string("\"\xc3\xa4\"\0", 5));
  object.AddData("hidden", 1);
  object.AddData("flags", std::vector<bool>{true, false});
  object.AddData("none", std::vector<double>{});
  object.AddData("unsigneds", std::vector<unsigned int>{1, 2});
  object.AddData("twice", 1.5f);
  object.AddData("twice", -0.0f);
  object.AddData("lists", std::vector<int>{1});
  object.AddData("lists", std::vector<int>{});
  const std::string text = attributes_text(object, {"hidden"});
  EXPECT_EQ(text.find("hidden"), std::string::npos);
  VXBase back;
  ASSERT_TRUE(read_attributes(back, text));
  EXPECT_EQ(attributes_text(back), text);
  EXPECT_EQ(back.GetData<std::string>("text"), std::string("\"\xc3\xa4\"\0", 5));

  CapturedLog log;
  VXBase others;
  others.AddData("a", Unknown());
  others.AddData("b", 1);
  others.AddData("b", 1.0);
  EXPECT_EQ(attributes_text(others), R"({"b":1,"vxhint":{"b":"int"}})");
  EXPECT_EQ(log.text(),
            "Warning: JSON: attribute a has a type that is not written, left out\n"
            "Warning: JSON: attributes b of another type than the first, left out\n");
}

TEST(JSON, AttributesWithoutOrAgainstHints) {
  VXBase object;
  CapturedLog log;
  EXPECT_TRUE(read_attributes(object, R"({"i":1,"u":3000000000,"d":1.5,"v":[1,2.5],"i":2,"s":["x"],"l":7,
      "null":null,"empty":[],"mixed":[1,"a"],"object":{"type":"unheard of"}})",
                              {"l"}));
  EXPECT_EQ(object.GetData<int>("i"), 1) << "the first of one key counts";
  EXPECT_EQ(object.GetData<unsigned int>("u"), 3000000000u);
  EXPECT_EQ(object.GetData<std::vector<double>>("v"), (std::vector<double>{1, 2.5}));
  for (const char* name : {"l", "null", "empty", "mixed", "object"}) EXPECT_FALSE(object.HasData(name));
  EXPECT_THAT(log.text(), HasSubstr("Warning: JSON: attribute null has no type known here, left out\n"));
  const char* const bad[] = {R"({"a":"x","vxhint":{"a":"float"}})",
                             R"({"a":[1,"x"],"vxhint":{"a":"int[]"}})",
                             R"({"a":1,"vxhint":{"a":"complex"}})",
                             R"({"a":1,"vxhint":{"a":"int+"}})",
                             R"({"a":[{}],"vxhint":{"a":"object+"}})",
                             R"({"a":1,"vxhint":{"a":""}})",
                             R"({"a":1,"vxhint":[]})",
                             R"({"a":1,"vxhint":{"a":1}})",
                             R"({"a":[1,2],"vxhint":{"a":"float[3]"}})",
                             R"({"i":"int it was"})"};
  for (const char* text : bad) EXPECT_FALSE(read_attributes(object, text)) << text;
  EXPECT_FALSE(object.HasData("a"));
}

}  // namespace
