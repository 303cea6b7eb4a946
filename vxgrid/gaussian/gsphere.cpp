#include <vxgrid/gaussian/gsphere.h>

#include <cmath>

namespace VXCore {
namespace {

constexpr double kPi32 = 5.5683279f;         // pi^(3/2)
constexpr double kLargestExponent = 23.026;  // of 1e-10

/// What the volume of two overlapping Gaussians is made of, in double from the float fields.
struct Overlap {
  Overlap(const Gsphere* a, const Gsphere* b)
      : d{double{a->x} - b->x, double{a->y} - b->y, double{a->z} - b->z},
        wa(a->width),
        wb(b->width),
        inv(1 / (wa + wb)),
        exponent(wa * wb * inv * (d[0] * d[0] + d[1] * d[1] + d[2] * d[2])) {}

  double volume(double amplitude) const {
    return amplitude * kPi32 * inv * std::exp(-exponent) * std::sqrt(inv);
  }

  double d[3];  // from the centre of b to that of a
  double wa, wb, inv, exponent;
};

}  // namespace

int vi_make_overlap_gaussian(const Gsphere* a, const Gsphere* b, Gsphere* out) {
  const float wa = a->width, wb = b->width, s = wa + wb;
  const float dx = a->x - b->x, dy = a->y - b->y, dz = a->z - b->z;
  const float exponent = -(wa * wb / s) * (dx * dx + dy * dy + dz * dz);
  const float prefactor = static_cast<float>(a->prefactor * b->prefactor * std::exp(double{exponent}));
  const std::int32_t order = a->order + b->order + 1;
  // `out` may be one of the two.
  const float x = (a->x * wa + b->x * wb) / s;
  const float y = (a->y * wa + b->y * wb) / s;
  const float z = (a->z * wa + b->z * wb) / s;
  *out = {s, x, y, z, prefactor, order, out->volume, out->radius};
  return 1;
}

int vi_vol_sg_intersect(double* vol, const Gsphere* a, const Gsphere* b) {
  const Overlap overlap(a, b);
  *vol = overlap.exponent > kLargestExponent ? 0 : overlap.volume(a->prefactor * b->prefactor);
  return 1;
}

int vi_vol_deriv_sg_intersect(double* vol, double* grad, const Gsphere* a, const Gsphere* b) {
  const Overlap overlap(a, b);
  if (!(overlap.exponent <= kLargestExponent)) {
    *vol = grad[0] = grad[1] = grad[2] = 0;
    return 0;
  }
  *vol = overlap.volume(a->prefactor * b->prefactor);
  const double t = overlap.wa * overlap.wb * overlap.inv;
  for (int i = 0; i < 3; ++i) grad[i] = -2 * t * *vol * overlap.d[i];
  return 1;
}

int vi_vol_deriv_sec_deriv_sg_intersect(double* vol, double* grad, double* hess, const Gsphere* a,
                                        const Gsphere* b) {
  const Overlap overlap(a, b);
  *vol = overlap.volume(a->volume * b->volume);
  const double wa = overlap.wa, f = overlap.wb * overlap.inv;
  const double big = 4 * wa * wa * *vol, slope = -2 * wa * *vol, diagonal = -big * f / (2 * wa);
  double u[3];
  for (int i = 0; i < 3; ++i) u[i] = f * overlap.d[i];
  for (int i = 0; i < 3; ++i) {
    grad[i] = slope * u[i];
    for (int j = i; j < 3; ++j) *hess++ = big * u[i] * u[j] + (i == j ? diagonal : 0);
  }
  return 1;
}

void vi_set_gaussian_volume(Gsphere* g) {
  if (g->radius != 0)
    g->volume = 4.18879033f * g->radius * g->radius * g->radius;
  else if (g->width != 0)
    g->volume = 5.5683279f * g->prefactor * std::sqrt(1 / (g->width * g->width * g->width));
}

void vi_set_gaussian_prefactor(Gsphere* g) {
  if (g->volume != 0) g->prefactor = 0.17958713f * g->volume * std::sqrt(g->width * g->width * g->width);
}

void vi_set_gaussian_radius(Gsphere* g) {
  if (g->width == 0) return;
  const double p = g->prefactor, w = g->width;
  // No float equals the double 2.7, so that the atoms' prefactor takes the general way. Meant.
  if (p == 2.7)
    g->radius = static_cast<float>(std::sqrt(2.344250976862621 / w));
  else if (p > 0)
    g->radius = static_cast<float>(std::sqrt(double{1.2090055f} * std::pow(p, double{0.666666f}) / w));
}

}  // namespace VXCore
