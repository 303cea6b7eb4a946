#include <vxgrid/host/json.h>

#include <emmintrin.h>
#include <rapidjson/document.h>
#include <rapidjson/error/en.h>
#include <rapidjson/reader.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <string_view>

#include <vxgrid/host/error_handler.h>

namespace VXCore {
namespace {

// RapidJSON reads nested values by recursion; this many levels fit on any stack, and grids that are
// attributes of grids are not copied from level to level too often.
constexpr int kMaxDepth = 100;

// Whether the number at `text`, minus sign aside, has at most 15 characters and no exponent; 17 bytes must be
// there. Looks for the first that is not one of ". / 0 to 9"; no number has the slash.
bool is_short_decimal(const char* text) {
  text += *text == '-';
  const __m128i characters = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
  const __m128i others = _mm_or_si128(_mm_cmplt_epi8(characters, _mm_set1_epi8('.')),
                                      _mm_cmpgt_epi8(characters, _mm_set1_epi8('9')));
  const int where = _mm_movemask_epi8(others);
  return where != 0 && (text[__builtin_ctz(where)] | 0x20) != 'e';
}

// Passes what the reader finds on to a document, with real numbers seen to. The reader divides the digits by
// a power of ten, which gives the nearest double while both are exact, as they are for up to 15 digits
// without an exponent. Longer numbers are read again here: the reader's own way to exact ones doubles its
// time.
class DocumentBuilder {
 public:
  DocumentBuilder(VXJSONDocument& document, const rapidjson::StringStream& in, const std::string& text)
      : document_(document), in_(in), end_(text.data() + text.size()) {}

  bool Null() { return document_.Null(); }
  bool Bool(bool value) { return document_.Bool(value); }
  bool Int(int value) { return document_.Int(value); }
  bool Uint(unsigned value) { return document_.Uint(value); }
  bool Int64(std::int64_t value) { return document_.Int64(value); }
  bool Uint64(std::uint64_t value) { return document_.Uint64(value); }
  // The stream still stands at the first character of the number.
  bool Double(double value) {
    const char* const at = in_.src_;
    if (end_ - at > 16 && is_short_decimal(at)) return document_.Double(value);
    return LongNumber(at, value);
  }
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
  // Numbers do not come as text.
  bool RawNumber(const char*, rapidjson::SizeType, bool) { return false; }

  /// Why a call gave false.
  const char* Fault() const { return fault_; }

 private:
  bool Deeper() {
    if (++depth_ <= kMaxDepth) return true;
    fault_ = "nested too deep";
    return false;
  }

  // Apart, so that the frequent case keeps few registers.
  [[gnu::noinline]] bool LongNumber(const char* at, double approximate) {
    double value;
    const std::errc fault = std::from_chars(at, end_, value).ec;
    if (fault == std::errc{}) return document_.Double(value);
    if (std::fabs(approximate) < 1) return document_.Double(std::copysign(0.0, approximate));
    fault_ = "number too large";
    return false;
  }

  VXJSONDocument& document_;
  const rapidjson::StringStream& in_;
  const char* end_;
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
  rapidjson::StringStream in(text.c_str());
  rapidjson::ParseResult result;
  const char* fault = nullptr;
  auto generate = [&](VXJSONDocument& target) {
    DocumentBuilder builder(target, in, text);
    result = rapidjson::Reader().Parse<rapidjson::kParseNanAndInfFlag>(in, builder);
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
  double number = 1;
  std::from_chars(version.data(), version.data() + version.size(), number);
  const bool is_ours = version.size() > 2 && version.compare(0, 2, "0.") == 0 &&
                       version.find_first_not_of("0123456789", 2) == version.npos && number <= 0.91;
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
