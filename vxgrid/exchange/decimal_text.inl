#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>

namespace VXCore {
namespace {

/// Room that print_eight_decimals needs.
constexpr std::size_t kDecimalTextSize = 24;

/// Prints a value cut off after eight decimals, VXTruncate(value, 100000000), as the JSON writer prints
/// doubles (Grisu2). The result is the end of the text, or null, with nothing said about `out`, for the few
/// values whose text has to come from the writer.
///
/// The number printed is the double next to k / 10^8 with a whole k, so nearly always its text is the digits
/// of k, which takes a quarter of the time of finding digits for a double. That holds while
///   - k has at most 15 digits: no second multiple of 10^-8 then lies as close to the double;
///   - the double is at least 10^-6: below, the text has an exponent;
///   - k / 10^8 is no nearer than 1/128 of the way to the halfway points between doubles. There Grisu2, which
///     works with 64 bits and keeps clear of its own error, up to 2 parts in 512, may take more digits; so it
///     may on the short side below a power of two.
inline char* print_eight_decimals(float value, char* out) {
  constexpr double kScale = 1e8;
  const double size = std::fabs(static_cast<double>(value));
  const double scaled = size * kScale;
  if (!(scaled >= 100.0 && scaled < 1e15)) return nullptr;
  const auto k = static_cast<std::uint64_t>(scaled);
  const double whole = static_cast<double>(static_cast<std::int64_t>(k));
  const double number = whole / kScale;

  std::uint64_t bits;
  std::memcpy(&bits, &number, sizeof bits);
  const std::uint64_t power_bits = bits & (std::uint64_t{0x7ff} << 52);
  double power_of_two;
  std::memcpy(&power_of_two, &power_bits, sizeof power_of_two);
  const double off = std::fabs(std::fma(number, kScale, -whole));  // without an error
  constexpr double kHalfway = 0x1p-53 * kScale;
  if (off > power_of_two * (kHalfway * (127.0 / 128)) || (bits == power_bits && off != 0.0)) return nullptr;

  if (value < 0) *out++ = '-';
  auto left = static_cast<std::uint32_t>(k / 100000000);
  auto right = static_cast<std::uint32_t>(k % 100000000);
  char digits[8];
  int n = 0;
  do digits[n++] = static_cast<char>('0' + left % 10);
  while (left /= 10);
  while (n) *out++ = digits[--n];
  *out++ = '.';
  for (int i = 7; i >= 0; --i, right /= 10) out[i] = static_cast<char>('0' + right % 10);
  char* end = out + 8;
  while (end > out + 1 && end[-1] == '0') --end;
  return end;
}

}  // namespace
}  // namespace VXCore
