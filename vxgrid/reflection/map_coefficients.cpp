// Map types: which columns they need, and the coefficients that they make.

#include <vxgrid/reflection/map_coefficients.inl>

#include <cmath>
#include <cstdint>
#include <limits>

#include <vxgrid/host/error_handler.h>
#include <vxgrid/host/platform.h>
#include <vxgrid/host/wide.inl>

namespace VXCore {

// Four lanes of double, with the turn that a quarter makes applied to the bits: about five times as fast as
// the library's sine and cosine one by one. Phases beyond a million radians, infinite and not-a-number ones
// go to the library.
VXGRID_WIDE void polar_to_complex(const float* __restrict amplitude, const float* __restrict phase_deg,
                                  std::size_t n, float* __restrict a, float* __restrict b) {
  constexpr double kTwoOverPi = 0.63661977236758134308;
  constexpr double kHalfPiHigh = 0x1.921fb544p0;  // 33 bits: products with quarters below 2^20 are exact
  constexpr double kHalfPiLow = 0x1.0b4611a626331p-34;
  constexpr double kRound = 6755399441055744.0;  // 2^52 + 2^51: rounds what is added to it, low bits first
  constexpr float kLargest = 1e6f;
  int large = 0;
  for (std::size_t i = 0; i < n; ++i) {
    const float phase_rad = phase_deg[i] * 0.017453292f;
    const double x = phase_rad;
    const double rounded = x * kTwoOverPi + kRound;
    const double quarters = rounded - kRound;
    const double r = (x - quarters * kHalfPiHigh) - quarters * kHalfPiLow;
    // Taylor series on |r| <= pi / 4: the first terms left out are r^15 / 15! and r^14 / 14!.
    const double z = r * r;
    const double sine =
        r + r * z *
                (-1 / 6.0 +
                 z * (1 / 120.0 +
                      z * (-1 / 5040.0 + z * (1 / 362880.0 + z * (-1 / 39916800.0 + z / 6227020800.0)))));
    const double cosine =
        1 +
        z * (-1 / 2.0 +
             z * (1 / 24.0 + z * (-1 / 720.0 + z * (1 / 40320.0 + z * (-1 / 3628800.0 + z / 479001600.0)))));
    const auto quarter = __builtin_bit_cast(std::uint64_t, rounded);
    const std::uint64_t s = __builtin_bit_cast(std::uint64_t, sine),
                        c = __builtin_bit_cast(std::uint64_t, cosine);
    const std::uint64_t swap = (s ^ c) & (0 - (quarter & 1));
    const std::uint64_t sin_bits = s ^ swap ^ ((quarter & 2) << 62),
                        cos_bits = c ^ swap ^ (((quarter + 1) & 2) << 62);
    a[i] = amplitude[i] * static_cast<float>(__builtin_bit_cast(double, cos_bits));
    b[i] = amplitude[i] * static_cast<float>(__builtin_bit_cast(double, sin_bits));
    large |= !(std::fabs(phase_rad) < kLargest);
  }
  if (!large) return;
  for (std::size_t i = 0; i < n; ++i) {
    const float phase_rad = phase_deg[i] * 0.017453292f;
    if (std::fabs(phase_rad) < kLargest) continue;
    a[i] = amplitude[i] * std::cos(phase_rad);
    b[i] = amplitude[i] * std::sin(phase_rad);
  }
}

bool VXReflectionImpl::ValidateMaptype(int maptype) const {
  switch (maptype) {
    case VXMTZMapType::Fo:
    case VXMTZMapType::FoFo:
      return fobs && phase;
    case VXMTZMapType::Fc:
      if (!fcalc) VXThrow.Error("fcalc missing.");
      if (!phase_calc) VXThrow.Error("phase calc missing.");
      return fcalc && phase_calc;
    case VXMTZMapType::TwoFoFc:
    case VXMTZMapType::FoFc:
    case VXMTZMapType::ThreeFoTwoFc:
    case VXMTZMapType::FiveFoThreeFc:
      return fobs && fcalc && phase_calc;
    case VXMTZMapType::TwoFoFcSigmaA:
    case VXMTZMapType::FoFcSigmaA:
      return hla && hlb && hlc && hld;
    case VXMTZMapType::FoFOM:
      return fobs && fom && phase;
    case VXMTZMapType::Fwt:
      return fwt && phiwt;
    case VXMTZMapType::Fdelwt:
      return fdelwt && phidelwt;
    default:
      return false;
  }
}

// A column that is not there, and an index beyond the set, read as not-a-number.
bool VXReflectionImpl::GetAmpPhase(float& amp, float& phase_deg, unsigned int index, int maptype) const {
  with_map_type(*this, maptype, [&](auto amplitude, const float* phases, bool present) {
    amp = present && index <= nref ? amplitude(index) : std::numeric_limits<float>::quiet_NaN();
    phase_deg = phases && index <= nref ? phases[index] : std::numeric_limits<float>::quiet_NaN();
  });
  return true;
}

bool VXReflectionImpl::GetAB(float& a, float& b, unsigned int index, int maptype) const {
  float amp, phase_deg;
  GetAmpPhase(amp, phase_deg, index, maptype);
  if (VXHost::VXIsNaN(amp) || VXHost::VXIsNaN(phase_deg)) return false;
  polar_to_complex(&amp, &phase_deg, 1, &a, &b);
  return true;
}

}  // namespace VXCore
