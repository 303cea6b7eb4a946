#include <vxgrid/host/json.h>

#include <rapidjson/document.h>
#include <rapidjson/error/en.h>
#include <rapidjson/reader.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <string_view>

#include <vxgrid/host/error_handler.h>
#include <vxgrid/host/text.h>

namespace VXCore {
namespace {

// RapidJSON reads nested values by recursion; this many levels fit on any stack.
constexpr int kMaxDepth = 256;

constexpr uint64_t kExactInDouble = uint64_t{1} << 53;
constexpr double kPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8, 1e9,
                                   1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18};

// Passes what the reader finds on to a document. Numbers come as text: the reader's own conversion is either
// not always the nearest double or takes twice as long as std::from_chars, which is.
class DocumentBuilder {
 public:
  explicit DocumentBuilder(VXJSONDocument& document) : document_(document) {}

  bool Null() { return document_.Null(); }
  bool Bool(bool value) { return document_.Bool(value); }
  bool RawNumber(const char* text, rapidjson::SizeType length, bool) { return Number({text, length}); }
  // Strings are copied: the text parsed in place is gone when the document is used.
  bool String(const char* text, rapidjson::SizeType length, bool) {
    return document_.String(text, length, true);
  }
  bool Key(const char* text, rapidjson::SizeType length, bool) { return document_.Key(text, length, true); }
  bool StartObject() { return Deeper() && document_.StartObject(); }
  bool EndObject(rapidjson::SizeType members) {
    --depth_;
    return document_.EndObject(members);
  }
  bool StartArray() { return Deeper() && document_.StartArray(); }
  bool EndArray(rapidjson::SizeType elements) {
    --depth_;
    return document_.EndArray(elements);
  }
  // The reader knows these; numbers as text leave them uncalled.
  bool Int(int) { return false; }
  bool Uint(unsigned) { return false; }
  bool Int64(int64_t) { return false; }
  bool Uint64(uint64_t) { return false; }
  bool Double(double) { return false; }

  /// Why a call gave false.
  const char* Fault() const { return fault_; }

 private:
  bool Deeper() {
    if (++depth_ <= kMaxDepth) return true;
    fault_ = "nested too deep";
    return false;
  }

  // Up to 19 digits with or without a point, which make up nearly every text, are taken in one pass: digits
  // below 2^53 over a power of ten up to 10^22, both exact, are one rounding from the number, so the quotient
  // is the nearest double. The rest goes to std::from_chars. Whole numbers take the smallest type that holds
  // them, as the reader itself would have it.
  bool Number(std::string_view text) {
    const bool minus = text[0] == '-';
    uint64_t digits = 0;
    std::size_t point = text.size();
    for (std::size_t i = minus; i < text.size(); ++i) {
      const unsigned digit = static_cast<unsigned char>(text[i]) - unsigned{'0'};
      if (digit < 10)
        digits = digits * 10 + digit;
      else if (text[i] == '.')
        point = i;
      else
        return OtherNumber(text);
    }
    if (text.size() > 19) return OtherNumber(text);
    if (point == text.size()) return WholeNumber(digits, minus);
    if (digits > kExactInDouble) return OtherNumber(text);
    const double value = static_cast<double>(digits) / kPowersOfTen[text.size() - point - 1];
    return document_.Double(minus ? -value : value);
  }

  bool WholeNumber(uint64_t digits, bool minus) {
    if (!minus)
      return digits <= UINT32_MAX ? document_.Uint(static_cast<unsigned>(digits)) : document_.Uint64(digits);
    const int64_t value = -static_cast<int64_t>(digits);
    return value >= INT32_MIN ? document_.Int(static_cast<int>(value)) : document_.Int64(value);
  }

  bool OtherNumber(std::string_view text) {
    const char* const end = text.data() + text.size();
    if (text.find_first_not_of("-0123456789") == text.npos) {
      int64_t negative;
      uint64_t positive;
      if (std::from_chars(text.data(), end, positive).ec == std::errc{}) return document_.Uint64(positive);
      if (std::from_chars(text.data(), end, negative).ec == std::errc{}) return document_.Int64(negative);
    }
    double value;
    if (std::from_chars(text.data(), end, value).ec == std::errc{}) return document_.Double(value);
    if (VXStringToNumber(std::string(text), value)) return document_.Double(value);  // too small: 0
    fault_ = "number too large";
    return false;
  }

  VXJSONDocument& document_;
  int depth_ = 0;
  const char* fault_ = nullptr;
};

const VXJSONValue* find_member(const VXJSONValue& object, const char* key) {
  if (!object.IsObject()) return nullptr;
  const auto member = object.FindMember(key);
  return member == object.MemberEnd() ? nullptr : &member->value;
}

// The member when it is there and of the right type; what it must be otherwise stands in the Error.
template <class T>
const VXJSONValue* checked_member(VXJSONAttr<T>& attr, const VXJSONValue& object, const char* key,
                                  bool required, bool (VXJSONValue::*is)() const, const char* must_be) {
  const VXJSONValue* const value = find_member(object, key);
  if (!value) {
    attr.error = required || !object.IsObject();
    if (!object.IsObject())
      VXThrow.Error("JSON: not an object, so there is no key \"%s\"", key);
    else if (required)
      VXThrow.Error("JSON: required key \"%s\" is missing", key);
    return nullptr;
  }
  attr.found = true;
  attr.error = !(value->*is)();
  if (attr.error) VXThrow.Error("JSON: \"%s\" must be %s", key, must_be);
  return attr.error ? nullptr : value;
}

}  // namespace

bool JSONParseHelper(VXJSONDocument& document, const std::string& text) {
  constexpr unsigned kFlags =
      rapidjson::kParseInsituFlag | rapidjson::kParseNumbersAsStringsFlag | rapidjson::kParseNanAndInfFlag;
  std::string scratch = text;
  rapidjson::InsituStringStream in(scratch.data());
  rapidjson::ParseResult result;
  const char* fault = nullptr;
  auto generate = [&](VXJSONDocument& target) {
    DocumentBuilder builder(target);
    result = rapidjson::Reader().Parse<kFlags>(in, builder);
    fault = builder.Fault();
    return !result.IsError();
  };
  document.SetNull();
  document.Populate(generate);
  if (!result.IsError() && in.Tell() == text.size()) return true;

  // A character 0 ends the text for the reader.
  const std::size_t at = result.IsError() ? result.Offset() : in.Tell();
  if (!result.IsError()) fault = "character 0";
  if (!fault) fault = rapidjson::GetParseError_En(result.Code());
  const auto line_start = text.rfind('\n', at ? at - 1 : 0);
  const long line = 1 + std::count(text.begin(), text.begin() + static_cast<long>(at), '\n');
  const long column = static_cast<long>(line > 1 ? at - line_start : at + 1);
  VXThrow.Warning("JSON: line %ld, column %ld: %s", line, column, fault);
  document.SetNull();
  return false;
}

VXJSONAttr<std::string> GetJSONStringAttr(const VXJSONValue& object, const char* key, bool required) {
  VXJSONAttr<std::string> attr;
  if (const auto* value = checked_member(attr, object, key, required, &VXJSONValue::IsString, "a string"))
    attr.value.assign(value->GetString(), value->GetStringLength());
  return attr;
}

VXJSONAttr<const VXJSONValue*> GetJSONArrayAttr(const VXJSONValue& object, const char* key, bool required) {
  VXJSONAttr<const VXJSONValue*> attr;
  attr.value = checked_member(attr, object, key, required, &VXJSONValue::IsArray, "an array");
  return attr;
}

VXJSONAttr<double> GetJSONDoubleAttr(const VXJSONValue& object, const char* key, bool required) {
  VXJSONAttr<double> attr;
  if (const auto* value = checked_member(attr, object, key, required, &VXJSONValue::IsNumber, "a number"))
    attr.value = value->GetDouble();
  return attr;
}

bool compatibleJSONVersion(const std::string& version) {
  const bool is_ours = version.size() > 2 && version.compare(0, 2, "0.") == 0 &&
                       version.find_first_not_of("0123456789", 2) == version.npos &&
                       std::string_view(version).substr(2) <= "91";
  if (!is_ours)
    VXThrow.Warning("JSON: version %s cannot be read, known are those up to 0.91", version.c_str());
  return is_ours;
}

std::string VXEscapeJSON(const std::string& text) {
  constexpr char kHex[] = "0123456789ABCDEF";
  constexpr std::string_view kPlain = "\"\\\b\f\n\r\t", kLetter = "\"\\bfnrt";
  std::string out;
  out.reserve(text.size());
  for (const char c : text) {
    if (const auto at = kPlain.find(c); at != kPlain.npos) {
      out += '\\';
      out += kLetter[at];
    } else if (static_cast<unsigned char>(c) < 0x20) {
      out += "\\u00";
      out += kHex[c >> 4];
      out += kHex[c & 15];
    } else {
      out += c;
    }
  }
  return out;
}

}  // namespace VXCore
