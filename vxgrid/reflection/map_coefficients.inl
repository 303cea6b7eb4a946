#pragma once

#include <cstddef>

#include <vxgrid/reflection/reflection.h>
#include <vxgrid/reflection/reflection_impl.h>

namespace VXCore {

/// use(amplitude, phases, present) with what a map type reads of a set: amplitude(i) of reflection i, the
/// column of phases, and whether the columns of amplitudes are there.
template <class Use>
void with_map_type(const VXReflectionImpl& r, int maptype, Use&& use) {
  const float *const fo = r.fobs, *const fc = r.fcalc, *const fom = r.fom;
  const auto column = [&use](const float* amplitudes, const float* phases) {
    use([amplitudes](std::size_t i) { return amplitudes[i]; }, phases, amplitudes != nullptr);
  };
  const auto mixed = [&](auto amplitude) { use(amplitude, r.phase_calc, fo && fc); };
  switch (maptype) {
    case VXMTZMapType::Fc:
      return column(fc, r.phase_calc);
    case VXMTZMapType::TwoFoFc:
      return mixed([=](std::size_t i) { return fo[i] + fo[i] - fc[i]; });
    case VXMTZMapType::FoFc:
      return mixed([=](std::size_t i) { return fo[i] - fc[i]; });
    case VXMTZMapType::ThreeFoTwoFc:
      return mixed([=](std::size_t i) { return static_cast<float>(3.0 * fo[i] - 2.0 * fc[i]); });
    case VXMTZMapType::FiveFoThreeFc:
      return mixed([=](std::size_t i) { return static_cast<float>(5.0 * fo[i] - 3.0 * fc[i]); });
    case VXMTZMapType::TwoFoFcSigmaA:
      return column(r.hla, r.phase);
    case VXMTZMapType::FoFcSigmaA:
      return column(r.hlb, r.phase);
    case VXMTZMapType::FoFo:
      return use([=](std::size_t i) { return fo[i] * fo[i]; }, r.phase, fo != nullptr);
    case VXMTZMapType::FoFOM:
      return use([=](std::size_t i) { return fom[i] * fo[i]; }, r.phase, fo && fom);
    case VXMTZMapType::Fwt:
      return column(r.fwt, r.phiwt);
    case VXMTZMapType::Fdelwt:
      return column(r.fdelwt, r.phidelwt);
    default:
      return column(fo, r.phase);
  }
}

/// (a, b) = amplitude * (cos, sin) of n phases in degrees, in float: cosine and sine themselves are right to
/// 2^-40 before they are rounded.
void polar_to_complex(const float* amplitude, const float* phase_deg, std::size_t n, float* a, float* b);

}  // namespace VXCore
