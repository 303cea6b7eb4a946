#include <vxgrid/host/json.h>

#include <rapidjson/document.h>
#include <rapidjson/error/en.h>
#include <rapidjson/reader.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string_view>

#include <vxgrid/host/error_handler.h>

namespace VXCore {
namespace {

// RapidJSON reads nested values by recursion; this many levels fit on any stack, and grids that are
// attributes of grids are not copied from level to level too often.
constexpr int kMaxDepth = 100;

constexpr double kPowersOfTen[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                   1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
constexpr int kExactDigits = 15;

bool is_digit(char c) { return c >= '0' && c <= '9'; }

const char* skip_spaces(const char* text) {
  while (*text == ' ' || *text == '\n' || *text == '\r' || *text == '\t') ++text;
  return text;
}

/// Digits at `text`, of which 8 bytes can be read: up to eight, appended to `number`. How many there are.
int append_digits(std::uint64_t& number, const char* text) {
  constexpr std::uint64_t kEach = 0x0101010101010101;
  std::uint64_t digits;  // the first is the lowest byte
  std::memcpy(&digits, text, sizeof digits);
  digits ^= kEach * '0';
  const std::uint64_t others = (digits | (digits + kEach * 0x76)) & (kEach * 0x80);  // from the first one on
  const int n = others ? __builtin_ctzll(others) / 8 : 8;
  if (n == 0) return 0;
  digits <<= 8 * (8 - n);
  // Pairs of neighbours are joined: tens, then hundreds, then ten thousands.
  digits = (digits * 10 + (digits >> 8)) & 0x00ff00ff00ff00ff;
  digits = (digits * 100 + (digits >> 16)) & 0x0000ffff0000ffff;
  digits = (digits * 10000 + (digits >> 32)) & 0xffffffff;
  constexpr std::uint32_t kShift[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000};
  number = number * kShift[n] + digits;
  return n;
}

// Passes what the reader finds on to a document, with two things of its own. Numbers in arrays are read here
// for as long as they follow each other, which takes half as long. And real numbers become the nearest
// double: the reader's own way to those doubles its time.
class DocumentBuilder {
 public:
  DocumentBuilder(VXJSONDocument& document, rapidjson::StringStream& in, const std::string& text)
      : document_(document), in_(in), end_(text.data() + text.size()) {}

  bool Null() { return document_.Null(); }
  bool Bool(bool value) { return document_.Bool(value); }
  bool Int(int value) { return document_.Int(value); }
  bool Uint(unsigned value) { return document_.Uint(value); }
  bool Int64(std::int64_t value) { return document_.Int64(value); }
  bool Uint64(std::uint64_t value) { return document_.Uint64(value); }
  // The stream still stands at the first character of the number. The reader goes on with decimals and
  // exponents behind a NaN or Inf, too.
  bool Double(double approximate) {
    double value;
    const auto [end, fault] = std::from_chars(in_.src_, end_, value);
    const bool goes_on = *end == '.' || (*end | 0x20) == 'e';
    if (fault == std::errc{} && !(goes_on && !std::isfinite(value))) return document_.Double(value);
    const bool is_out_of_range = fault == std::errc::result_out_of_range;
    if (is_out_of_range && std::fabs(approximate) < 1)
      return document_.Double(std::copysign(0.0, approximate));
    fault_ = is_out_of_range ? "number too large" : "not a number";
    return false;
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
  // The stream stands behind the bracket, and the reader goes on where it is left.
  bool StartArray() {
    if (!Deeper() || !document_.StartArray()) return false;
    rapidjson::SizeType& taken = taken_[depth_] = 0;
    for (const char* next = skip_spaces(in_.src_); (next = TakeNumber(next)) != nullptr; ++taken)
      in_.src_ = next;
    return true;
  }
  bool EndArray(rapidjson::SizeType elements) { return document_.EndArray(elements + taken_[depth_--]); }
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

  // Gives the number at `at` to the document when another element follows it; where that begins. With null
  // the number is the reader's, as is all that is wrong.
  const char* TakeNumber(const char* at) {
    constexpr int kRoom = 40;  // append_digits stays within
    if (end_ - at < kRoom) return nullptr;
    const char* const number = at;
    const bool minus = *at == '-';
    at += minus;
    std::uint64_t digits = 0;
    const int before = append_digits(digits, at);
    if (before == 0 || (before > 1 && *at == '0')) return nullptr;
    at += before;
    int decimals = 0;
    if (*at == '.') {
      ++at;
      for (int more = 8; more == 8 && decimals <= kExactDigits; decimals += more)
        more = append_digits(digits, at + decimals);
      if (decimals == 0) return nullptr;
      at += decimals;
    }
    const bool is_exact = before + decimals <= kExactDigits && (*at | 0x20) != 'e';
    if (!is_exact && !(at = EndOfNumber(at))) return nullptr;
    if (*at != ',') return nullptr;
    const char* const next = skip_spaces(at + 1);
    if (*next == ']') return nullptr;

    double value;
    if (!is_exact) {
      if (std::from_chars(number, at, value).ec != std::errc{}) return nullptr;
    } else if (decimals) {
      value = static_cast<double>(digits) / kPowersOfTen[decimals];  // of two exact numbers: the nearest
      if (minus) value = -value;
    } else {
      const int whole = static_cast<int>(digits);
      return (minus ? document_.Int(-whole) : document_.Uint(whole)) ? next : nullptr;
    }
    return document_.Double(value) ? next : nullptr;
  }

  // What may follow the first decimals: more of them, an exponent. Null for an exponent without digits.
  static const char* EndOfNumber(const char* at) {
    while (is_digit(*at)) ++at;
    if ((*at | 0x20) != 'e') return at;
    ++at;
    at += *at == '+' || *at == '-';
    if (!is_digit(*at)) return nullptr;
    while (is_digit(*at)) ++at;
    return at;
  }

  VXJSONDocument& document_;
  rapidjson::StringStream& in_;
  const char* end_;
  int depth_ = 0;
  rapidjson::SizeType taken_[kMaxDepth + 1];  // the elements taken here of the array of each depth
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
