#include <vxgrid/reflection/reflection_text.inl>

#include <clocale>
#include <cstdlib>
#include <string>

namespace VXCore {
namespace {

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

// Whether a text starts with a word in small letters, letter case aside.
bool starts_with_word(std::string_view text, std::string_view word) {
  if (text.size() < word.size()) return false;
  for (std::size_t i = 0; i < word.size(); ++i)
    if (lower(text[i]) != word[i]) return false;
  return true;
}

// How many characters "%f" takes from the start of a text, 0 when they make no number. It goes on as long as
// the next one could belong to a number, so that "1e+" is taken whole, and counts as 1.
std::size_t float_length(std::string_view text) {
  const std::size_t sign = !text.empty() && (text[0] == '-' || text[0] == '+');
  const std::string_view body = text.substr(sign);
  if (starts_with_word(body, "nan")) return sign + 3;
  if (starts_with_word(body, "infi")) return starts_with_word(body, "infinity") ? sign + 8 : 0;
  if (starts_with_word(body, "inf")) return sign + 3;

  const bool is_hex = starts_with_word(body, "0x");
  const char exponent_mark = is_hex ? 'p' : 'e';
  bool has_digit = false, has_point = false, has_exponent = false;
  std::size_t n = is_hex ? 2 : 0;
  for (; n < body.size(); ++n) {
    const char c = lower(body[n]);
    if (is_digit(c) || (is_hex && !has_exponent && c >= 'a' && c <= 'f'))
      has_digit = true;
    else if (has_exponent && lower(body[n - 1]) == exponent_mark && (c == '-' || c == '+'))
      continue;
    else if (has_digit && !has_exponent && c == exponent_mark)
      has_exponent = has_point = true;
    else if (!has_point && c == '.')
      has_point = true;
    else
      break;
  }
  return is_hex && n == 2 ? 0 : sign + n;
}

}  // namespace

TextLines::TextLines(VXHost::vxistream& in, std::size_t limit)
    : in_(in), limit_(limit), block_(new char[kBlock]), next_(block_.get()), end_(next_) {}

TextLines::~TextLines() {
  if (next_ != end_) in_.seek(in_.tell() - static_cast<unsigned long long>(end_ - next_));
}

void TextLines::Refill() {
  if (has_ended_) return;
  const auto left = static_cast<std::size_t>(end_ - next_);
  std::memmove(block_.get(), next_, left);
  const std::size_t got = in_.read(block_.get() + left, kBlock - left);
  next_ = block_.get();
  end_ = next_ + left + got;
  has_ended_ = got < kBlock - left;
}

bool TextScanner::AnyFloat(const char* start, float& value) {
  static const locale_t c_locale = newlocale(LC_ALL_MASK, "C", nullptr);
  const std::string text(start, float_length({start, static_cast<std::size_t>(end_ - start)}));
  char* tail;
  const float number = strtof_l(text.c_str(), &tail, c_locale);
  if (tail == text.c_str()) return false;
  value = number;
  next_ = start + text.size();
  return true;
}

void GrowingColumns::AddIndex(int new_h, int new_k, int new_l) {
  constexpr std::size_t kFirstRoom = 5000;
  if (h.empty())
    for (std::vector<int>* index : {&h, &k, &l}) index->reserve(kFirstRoom);
  h.push_back(new_h);
  k.push_back(new_k);
  l.push_back(new_l);
}

bool GrowingColumns::Fill(VXReflection& set) const {
  const auto count = static_cast<unsigned int>(h.size());
  bool done = true;
  const auto put = [&](unsigned int code, const auto& column) {
    if (!column.empty()) done = done && set.SetColumn(code, column.data(), count);
  };
  set.Clear();
  set.SetCount(count);
  if (count != 0) done = set.SetHKL(h.data(), k.data(), l.data(), count);
  put(VXReflectionColumn::Phase, phase);
  put(VXReflectionColumn::PhaseCalc, phase_calc);
  put(VXReflectionColumn::Fobs, fobs);
  put(VXReflectionColumn::Fcalc, fcalc);
  put(VXReflectionColumn::Sigma, sigma);
  put(VXReflectionColumn::FOM, fom);
  put(VXReflectionColumn::RFree, rfree);
  if (!hla.empty() && !hlb.empty() && !hlc.empty() && !hld.empty())
    done = done && set.SetABCD(hla.data(), hlb.data(), hlc.data(), hld.data(), count);
  if (!done) set.Clear();
  return done;
}

}  // namespace VXCore
