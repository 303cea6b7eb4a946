#include <vxgrid/gaussian/gaussian_width.h>

#include <cmath>

namespace VXCore {
namespace {

/// kappa = (p * 3 sqrt(pi) / 4)^(2/3), each step rounded to float.
float kappa_of(float prefactor) {
  const float scaled = prefactor * 1.3293403f;
  const float log = static_cast<float>(std::log(double{scaled}));
  const float power = static_cast<float>(double{0.66666669f} * log);
  return static_cast<float>(std::exp(double{power}));
}

}  // namespace

void vi_assign_gwid_from_rad_pre(const float* prefactors, const float* radii, float* widths, int n) {
  float prefactor = 0, kappa = 0;  // mostly one prefactor for all
  for (int i = 0; i < n; ++i) {
    if (prefactors[i] == 0 || radii[i] == 0) {
      widths[i] = 0;
      continue;
    }
    if (prefactors[i] != prefactor) {
      prefactor = prefactors[i];
      kappa = kappa_of(prefactor);
    }
    widths[i] = kappa / (radii[i] * radii[i]);
  }
}

float vi_gauss_rad(float prefactor, float width, float cutoff) {
  const float height = std::fabs(prefactor), low = std::fabs(cutoff);
  if (width <= 0 || height == 0 || low == 0 || low > height) return 0;
  return static_cast<float>(std::sqrt(std::log(double{height} / low) / width));
}

}  // namespace VXCore
