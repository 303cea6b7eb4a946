#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <string_view>
#include <vector>

#include <vxgrid/host/stream.h>
#include <vxgrid/reflection/reflection.h>

namespace VXCore {

// What the readers of text share.

/// White space of the C locale.
inline bool is_blank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
inline bool is_digit(char c) { return c >= '0' && c <= '9'; }

inline bool starts_with(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

/// The lines of a stream, of at most `limit` characters: the rest of a longer line is the next one.
class TextLines {
 public:
  TextLines(VXHost::vxistream& in, std::size_t limit);
  /// Leaves the stream behind the last line.
  ~TextLines();
  TextLines(const TextLines&) = delete;
  TextLines& operator=(const TextLines&) = delete;

  /// The next line up to its first zero byte, valid until the next call. False at the end.
  bool Next(std::string_view& line) {
    if (static_cast<std::size_t>(end_ - next_) <= limit_) Refill();
    if (next_ == end_) return false;
    const auto left = static_cast<std::size_t>(end_ - next_);
    const auto* const stop =
        static_cast<const char*>(std::memchr(next_, '\n', left > limit_ ? limit_ + 1 : left));
    is_whole_ = stop || left <= limit_;
    const std::size_t length = stop ? static_cast<std::size_t>(stop - next_) : is_whole_ ? left : limit_;
    const auto* const zero = static_cast<const char*>(std::memchr(next_, '\0', length));
    line = std::string_view(next_, zero ? static_cast<std::size_t>(zero - next_) : length);
    next_ += stop ? length + 1 : length;
    return true;
  }
  /// Whether the last line went to its own end, not just to the limit.
  bool IsWhole() const { return is_whole_; }

 private:
  void Refill();

  static constexpr std::size_t kBlock = 65536 + 512;  // reads of 65536 bytes go past the stream's own buffer
  VXHost::vxistream& in_;
  std::size_t limit_;
  std::unique_ptr<char[]> block_;
  const char* next_;
  const char* end_;
  bool is_whole_ = true;
  bool has_ended_ = false;
};

/// Takes numbers and words from a text one after another, with the results of sscanf in the C locale, so far
/// as glibc has settled what the standard leaves open. Once a conversion was false, the scan is at its end.
class TextScanner {
 public:
  explicit TextScanner(std::string_view text) : next_(text.data()), end_(next_ + text.size()) {}

  /// "%d": of a number beyond 64 bits the nearest of these, and of that the low 32 bits.
  bool Int(int& value) {
    const char* p = SkipBlanks();
    const bool is_negative = p != end_ && *p == '-';
    if (p != end_ && (*p == '-' || *p == '+')) ++p;
    const char* const digits = p;
    constexpr std::uint64_t kManyDigits = 1000000000000000000;  // ten times that has room in 64 bits
    const std::uint64_t limit = std::numeric_limits<std::int64_t>::max() + std::uint64_t{is_negative};
    std::uint64_t magnitude = 0;
    for (; p != end_ && is_digit(*p); ++p)
      magnitude =
          magnitude < kManyDigits ? 10 * magnitude + static_cast<unsigned>(*p - '0') : ~std::uint64_t{0};
    if (p == digits) return false;
    next_ = p;
    if (magnitude > limit) magnitude = limit;
    value = static_cast<int>(static_cast<std::uint32_t>(is_negative ? 0 - magnitude : magnitude));
    return true;
  }

  /// "%f". Up to seven digits with up to ten behind the point are the quotient of two exact floats, which
  /// division rounds as it should be; they are nearly all there is.
  bool Float(float& value) {
    const char* const start = SkipBlanks();
    const char* p = start;
    const bool is_negative = p != end_ && *p == '-';
    if (p != end_ && (*p == '-' || *p == '+')) ++p;
    std::uint64_t mantissa = 0;
    const char* const digits = p;
    for (; p != end_ && is_digit(*p); ++p) mantissa = 10 * mantissa + static_cast<unsigned>(*p - '0');
    std::ptrdiff_t count = p - digits;
    std::ptrdiff_t decimals = 0;
    if (p != end_ && *p == '.') {
      const char* const point = p++;
      for (; p != end_ && is_digit(*p); ++p) mantissa = 10 * mantissa + static_cast<unsigned>(*p - '0');
      decimals = p - point - 1;
      count += decimals;
    }
    constexpr float kPowers[] = {1e0f, 1e1f, 1e2f, 1e3f, 1e4f, 1e5f, 1e6f, 1e7f, 1e8f, 1e9f, 1e10f};
    constexpr std::ptrdiff_t kMaxDigits = 19;  // that 64 bits hold
    const bool goes_on = p != end_ && (*p == 'e' || *p == 'E' || *p == 'x' || *p == 'X');
    if (count == 0 || count > kMaxDigits || goes_on || mantissa > (1u << 24) || decimals > 10)
      return AnyFloat(start, value);
    next_ = p;
    value = static_cast<float>(mantissa) / kPowers[decimals];
    if (is_negative) value = -value;
    return true;
  }

  /// "%<width>s".
  bool Word(std::string_view& word, std::size_t width = std::string_view::npos) {
    const char* const start = SkipBlanks();
    if (start == end_) return false;
    const char* p = start;
    while (p != end_ && !is_blank(*p) && static_cast<std::size_t>(p - start) < width) ++p;
    word = std::string_view(start, static_cast<std::size_t>(p - start));
    next_ = p;
    return true;
  }

 private:
  const char* SkipBlanks() {
    while (next_ != end_ && is_blank(*next_)) ++next_;
    return next_;
  }
  /// Long numbers, exponents, hexadecimal numbers, infinities, not-a-number, and what is no number.
  bool AnyFloat(const char* start, float& value);

  const char* next_;
  const char* end_;
};

constexpr float kNotGiven = std::numeric_limits<float>::quiet_NaN();

/// The columns of a set while they grow. One that is empty is not there.
struct GrowingColumns {
  std::vector<int> h, k, l, rfree;
  std::vector<float> phase, phase_calc, fobs, fcalc, sigma, fom, hla, hlb, hlc, hld;

  void AddIndex(int new_h, int new_k, int new_l);
  /// Makes them the contents of the set. When one cannot be set, the set is empty and the result false.
  bool Fill(VXReflection& set) const;
};

}  // namespace VXCore
