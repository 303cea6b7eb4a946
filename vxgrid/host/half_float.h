#pragma once

#include <cstdint>
#include <cstring>

namespace VXHost {

/// A 16-bit IEEE 754 number: 1 sign bit, 5 bits of exponent, 10 of fraction. Made from a float by rounding to
/// nearest, ties to even: beyond 65520 it becomes infinite, below 2^-14 it loses digits (subnormal numbers,
/// down to 2^-24). Infinities and not-a-number keep their kind and sign.
class VXHalfFloat {
 public:
  VXHalfFloat() = default;
  VXHalfFloat(float value) : bits_(FromFloat(value)) {}
  operator float() const { return ToFloat(bits_); }

  static VXHalfFloat FromBits(std::uint16_t bits) {
    VXHalfFloat half;
    half.bits_ = bits;
    return half;
  }
  std::uint16_t GetBits() const { return bits_; }

 private:
  static std::uint16_t FromFloat(float value) {
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    const auto sign = static_cast<std::uint16_t>(bits >> 16 & 0x8000u);
    bits &= 0x7fffffffu;
    if (bits > 0x7f800000u)  // not-a-number: quiet, with the upper bits of its payload
      return static_cast<std::uint16_t>(sign | 0x7e00u | (bits >> 13 & 0x1ffu));
    if (bits >= 0x47800000u) return sign | 0x7c00u;  // 65536 and more
    if (bits < 0x38800000u) {                        // below 2^-14
      // Adding 0.5 leaves the multiple of 2^-24, rounded to even, in the lowest bits of the sum.
      float sum;
      std::memcpy(&sum, &bits, sizeof sum);
      sum += 0.5f;
      std::memcpy(&bits, &sum, sizeof bits);
      return static_cast<std::uint16_t>(sign | (bits - 0x3f000000u));
    }
    bits += 0xfffu + (bits >> 13 & 1u);  // half a unit, a little less when the digit kept is even
    return static_cast<std::uint16_t>(sign | ((bits >> 13) - (112u << 10)));
  }

  static float ToFloat(std::uint16_t half) {
    const std::uint32_t sign = static_cast<std::uint32_t>(half & 0x8000u) << 16;
    const std::uint32_t exponent = half >> 10 & 0x1fu, fraction = half & 0x3ffu;
    std::uint32_t bits;
    if (exponent == 0) {
      const float magnitude = static_cast<float>(fraction) * 0x1p-24f;
      std::memcpy(&bits, &magnitude, sizeof bits);
    } else {
      bits = (exponent == 31 ? 0xffu : exponent + 112u) << 23 | fraction << 13;
    }
    bits |= sign;
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
  }

  std::uint16_t bits_ = 0;
};

}  // namespace VXHost
