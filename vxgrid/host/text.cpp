#include <vxgrid/host/text.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace VXCore {
namespace {

// Without blanks around, and without a "+" that a digit, a point or a letter follows.
std::string_view number_part(std::string_view text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == text.npos) return {};
  text = text.substr(first, text.find_last_not_of(" \t") - first + 1);
  if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
  return text;
}

// Whether the leading digit of a number that is not 0 stands behind the point, exponent included.
bool is_below_one(std::string_view text) {
  const std::string_view digits = text.substr(0, text.find_first_of("eE"));
  std::string_view exponent_text = text.substr(digits.size());
  exponent_text.remove_prefix(std::min<std::size_t>(exponent_text.size(), 1));
  exponent_text = number_part(exponent_text);
  const auto first = static_cast<long>(digits.find_first_of("123456789"));
  const auto point = static_cast<long>(std::min(digits.find('.'), digits.size()));
  int exponent = 0;
  const char* const end = exponent_text.data() + exponent_text.size();
  if (std::from_chars(exponent_text.data(), end, exponent).ec == std::errc::result_out_of_range)
    return exponent_text[0] == '-';
  return point - first + exponent < 0;
}

template <class T>
bool real_number(std::string_view text, T& number) {
  text = number_part(text);
  const char* const end = text.data() + text.size();
  T value;
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (stop != end) return false;
  if (error == std::errc::result_out_of_range) {  // rounds to 0 or to infinity
    if (!is_below_one(text)) return false;
    value = text[0] == '-' ? -T{0} : T{0};
  } else if (error != std::errc{}) {
    return false;
  }
  number = value;
  return true;
}

template <class T>
bool whole_to_text(T number, std::string& text, int base) {
  if (base < 2 || base > 36) return false;
  char digits[std::numeric_limits<T>::digits + 2];
  text.assign(digits, std::to_chars(digits, digits + sizeof digits, number, base).ptr);
  return true;
}

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

}  // namespace

void VXStringTokenize(std::vector<std::string>& out, const std::string& text, const std::string& separators,
                      bool runs_count_once) {
  out.clear();
  std::size_t from = 0;
  for (;;) {
    if (runs_count_once) {
      from = text.find_first_not_of(separators, from);
      if (from == text.npos) return;
    }
    const std::size_t to = text.find_first_of(separators, from);
    out.push_back(text.substr(from, to == text.npos ? to : to - from));
    if (to == text.npos) return;
    from = to + 1;
  }
}

bool VXStringToNumber(const std::string& text, float& number) { return real_number(text, number); }
bool VXStringToNumber(const std::string& text, double& number) { return real_number(text, number); }

bool VXStringToNumber(const std::string& text, unsigned int& number, int base) {
  if (base < 2 || base > 36) return false;
  const std::string_view part = number_part(text);
  unsigned int value;
  const auto [stop, error] = std::from_chars(part.data(), part.data() + part.size(), value, base);
  if (error != std::errc{} || stop != part.data() + part.size()) return false;
  number = value;
  return true;
}

bool VXNumberToString(unsigned int number, std::string& text, int base) {
  return whole_to_text(number, text, base);
}
bool VXNumberToString(long number, std::string& text, int base) { return whole_to_text(number, text, base); }
bool VXNumberToString(unsigned long number, std::string& text, int base) {
  return whole_to_text(number, text, base);
}

bool VXNumberToString(double number, std::string& text, char format, int digits) {
  std::chars_format style;
  switch (lower(format)) {
    case 'e':
      style = std::chars_format::scientific;
      break;
    case 'f':
      style = std::chars_format::fixed;
      break;
    case 'g':
      style = std::chars_format::general;
      break;
    default:
      return false;
  }
  if (digits < 0) digits = 6;
  // Fixed text of the largest number has 309 digits before the point.
  text.resize(static_cast<std::size_t>(digits) + 330);
  const auto [stop, error] = std::to_chars(text.data(), text.data() + text.size(), number, style, digits);
  text.resize(stop - text.data());
  if (format != lower(format)) std::transform(text.begin(), text.end(), text.begin(), upper);
  return error == std::errc{};
}

std::string VXGetFileExtension(const char* name) {
  std::string_view rest = name ? name : "";
  if (VXHasGzSuffix(rest)) rest.remove_suffix(3);
  rest.remove_prefix(std::min(rest.size(), rest.rfind('/') + 1));
  const std::size_t dot = rest.rfind('.');
  return dot == rest.npos ? std::string() : std::string(rest.substr(dot + 1));
}

bool VXFileExtension(const std::string& name, const std::string& extension) {
  const std::string found = VXGetFileExtension(name.c_str());
  const std::size_t skip = !extension.empty() && extension[0] == '.';
  return std::equal(found.begin(), found.end(), extension.begin() + skip, extension.end(),
                    [](char a, char b) { return lower(a) == lower(b); });
}

bool VXHasGzSuffix(std::string_view name) {
  return name.size() >= 3 && name.substr(name.size() - 3) == ".gz";
}

double VXTruncate(double number, int scale) {
  const double scaled = number * scale;
  // From 2^52 on a double has no digits after the point.
  if (scale < 1 || !(std::fabs(scaled) < 4503599627370496.0)) return number;
  return std::trunc(scaled) / scale;
}

}  // namespace VXCore
