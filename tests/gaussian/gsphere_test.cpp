#include <vxgrid/gaussian/gsphere.h>

#include <cmath>
#include <cstring>
#include <limits>

#include <vxgrid/gaussian/gaussian_width.h>

#include "support/support.h"

using namespace VXCore;

namespace {

constexpr double kPi = 3.14159265358979323846;
const Gsphere kA = {0.8f, 0.125f, -0.375f, 0.25f, 2.7f, 0, 20.5f, 1.7f};
const Gsphere kB = {1.3f, 1.2f, 0.5f, -0.6f, 1.1f, 2, 7.25f, 1.2f};

Gsphere moved(Gsphere g, int axis, float by) {
  (axis == 0 ? g.x : axis == 1 ? g.y : g.z) += by;
  return g;
}

TEST(Gsphere, OverlapIsTheProduct) {
  Gsphere product = kA;
  vi_make_overlap_gaussian(&product, &kB, &product);
  double vol = 0;
  vi_vol_sg_intersect(&vol, &kA, &kB);
  // The integral of p q exp(-a r^2 - b |r - d|^2).
  const double a = kA.width, b = kB.width, s = a + b;
  const double d2 = std::pow(kA.x - kB.x, 2) + std::pow(kA.y - kB.y, 2) + std::pow(kA.z - kB.z, 2);
  EXPECT_NEAR(vol / (2.7 * 1.1 * std::pow(kPi / s, 1.5) * std::exp(-a * b / s * d2)), 1, 1e-6);
  product.radius = 0;
  vi_set_gaussian_volume(&product);
  EXPECT_NEAR(product.volume / vol, 1, 1e-6);
  EXPECT_EQ(product.order, 3);
  EXPECT_NEAR(product.y, (a * kA.y + b * kB.y) / s, 1e-7);
}

TEST(Gsphere, DerivativesAreThoseOfTheVolume) {
  // Amplitudes are prefactors at first order and volumes at second, so each is held against its own function.
  const float step = 1.0f / 1024;
  double vol, grad[3], vol2, grad2[3], hess[6], low, high, before_grad[3], after_grad[3], unused[6];
  EXPECT_EQ(vi_vol_deriv_sg_intersect(&vol, grad, &kA, &kB), 1);
  EXPECT_EQ(vi_vol_deriv_sec_deriv_sg_intersect(&vol2, grad2, hess, &kA, &kB), 1);
  EXPECT_NEAR(vol2 / (kA.volume * kB.volume), vol / (kA.prefactor * kB.prefactor), 1e-6);
  const int place[3][3] = {{0, 1, 2}, {1, 3, 4}, {2, 4, 5}};
  for (int i = 0; i < 3; ++i) {
    const Gsphere before = moved(kA, i, -step), after = moved(kA, i, step);
    vi_vol_sg_intersect(&low, &before, &kB);
    vi_vol_sg_intersect(&high, &after, &kB);
    EXPECT_NEAR(grad[i], (high - low) / (2 * step), 1e-5 * vol);
    EXPECT_NEAR(grad2[i] / vol2, grad[i] / vol, 1e-12);
    vi_vol_deriv_sec_deriv_sg_intersect(&low, before_grad, unused, &before, &kB);
    vi_vol_deriv_sec_deriv_sg_intersect(&high, after_grad, unused, &after, &kB);
    for (int j = 0; j < 3; ++j)
      EXPECT_NEAR(hess[place[i][j]], (after_grad[j] - before_grad[j]) / (2 * step), 1e-5 * vol2) << i << j;
  }
}

TEST(Gsphere, FarOverlapsAreCutOff) {
  // Two of width 2: the exponent is d^2, and the cut-off lies at d = 4.79854.
  const Gsphere a = {2, 0, 0, 0, 1, 0, 1, 0};
  for (const float d : {4.798f, 4.799f, std::numeric_limits<float>::quiet_NaN()}) {
    const Gsphere b = moved(a, 0, d);
    const bool near = d < 4.7985f;
    double vol, grad[3], hess[6];
    vi_vol_sg_intersect(&vol, &a, &b);
    EXPECT_TRUE(near ? vol > 0 : std::isnan(d) ? std::isnan(vol) : vol == 0) << d;
    EXPECT_EQ(vi_vol_deriv_sg_intersect(&vol, grad, &a, &b), near);
    EXPECT_TRUE(near || (vol == 0 && grad[0] == 0)) << d;
    vi_vol_deriv_sec_deriv_sg_intersect(&vol, grad, hess, &a, &b);
    EXPECT_TRUE(vol > 0 || std::isnan(d)) << d;
  }
}

TEST(Gsphere, FieldsFromTheOthers) {
  for (const float p : {0.5f, 2.7f}) {  // no float is the double 2.7, for which an exact constant stands
    Gsphere g = {1, 0, 0, 0, p, 0, 0, 0};
    vi_set_gaussian_volume(&g);
    EXPECT_NEAR(g.volume / (p * std::pow(kPi, 1.5)), 1, 1e-6);
    g.prefactor = 0;
    vi_set_gaussian_prefactor(&g);
    EXPECT_NEAR(g.prefactor / p, 1, 1e-6);
    vi_set_gaussian_radius(&g);
    EXPECT_NEAR(4 * kPi / 3 * std::pow(g.radius, 3) / g.volume, 1, 3e-5);  // the exponent is 0.666666
    EXPECT_NE(g.radius, static_cast<float>(std::sqrt(2.344250976862621)));
  }
  Gsphere g = {0, 0, 0, 0, 2, 0, 7, 0}, same = g;  // nothing comes of a width of 0
  vi_set_gaussian_volume(&g);
  vi_set_gaussian_radius(&g);
  EXPECT_EQ(std::memcmp(&g, &same, sizeof g), 0);
  g = same = {1, 0, 0, 0, -1, 0, 0, 0};  // nor of a volume of 0, nor of a prefactor below
  vi_set_gaussian_prefactor(&g);
  vi_set_gaussian_radius(&g);
  EXPECT_EQ(std::memcmp(&g, &same, sizeof g), 0);
  g.radius = 2;
  vi_set_gaussian_volume(&g);
  EXPECT_NEAR(g.volume, 32 * kPi / 3, 1e-5) << "the radius comes first";
}

TEST(GaussianWidth, VolumesOfSpheresAndReachOfGaussians) {
  const float p[] = {2.7f, 1, 0, 2.7f}, r[] = {1.7f, 3, 1, 0};
  float w[4];
  vi_assign_gwid_from_rad_pre(p, r, w, 4);
  for (int i = 0; i < 2; ++i)
    EXPECT_NEAR(p[i] * std::pow(kPi / w[i], 1.5) / (4 * kPi / 3 * std::pow(r[i], 3)), 1, 1e-6);
  EXPECT_TRUE(w[2] == 0 && w[3] == 0);

  EXPECT_NEAR(2.7 * std::exp(-0.8 * std::pow(vi_gauss_rad(-2.7f, 0.8f, 0.001f), 2)), 0.001, 1e-8);
  const float never[][3] = {{2.7f, 0, 0.1f}, {2.7f, -1, 0.1f}, {0, 1, 0.1f}, {2.7f, 1, 0}, {2.7f, 1, -2.8f}};
  for (const auto& [prefactor, width, cutoff] : never) EXPECT_EQ(vi_gauss_rad(prefactor, width, cutoff), 0);
}

}  // namespace
