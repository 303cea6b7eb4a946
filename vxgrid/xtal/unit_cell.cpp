#include <vxgrid/xtal/unit_cell.h>

#include <algorithm>

namespace VXCore {
namespace VXXtal {
namespace {

double radians(float degrees) { return degrees * kDegreesToRadians; }

}  // namespace

void matmul(float* out, const float* a, const float* b) {
  float product[16];
  for (int row = 0; row < 16; row += 4)
    for (int col = 0; col < 4; ++col)
      product[row + col] =
          b[row] * a[col] + b[row + 1] * a[4 + col] + b[row + 2] * a[8 + col] + b[row + 3] * a[12 + col];
  std::copy(product, product + 16, out);
}

VXUnitCell::VXUnitCell(float a_, float b_, float c_, float alpha_, float beta_, float gamma_)
    : a(a_), b(b_), c(c_), alpha(alpha_), beta(beta_), gamma(gamma_) {
  build_matrices();
}

VXUnitCell::VXUnitCell(const float* six) : VXUnitCell(six[0], six[1], six[2], six[3], six[4], six[5]) {}

bool VXUnitCell::isValid() const {
  if (a <= 0 || b <= 0 || c <= 0) return false;
  if (alpha <= 0 || beta <= 0 || gamma <= 0) return false;
  return !(alpha >= 180 || beta >= 180 || gamma >= 180);
}

bool VXUnitCell::equalsCell(VXUnitCell other, float tolerance) const {
  if (!isValid()) return !other.isValid();
  return std::fabs(a - other.a) <= tolerance && std::fabs(b - other.b) <= tolerance &&
         std::fabs(c - other.c) <= tolerance && std::fabs(alpha - other.alpha) <= tolerance &&
         std::fabs(beta - other.beta) <= tolerance && std::fabs(gamma - other.gamma) <= tolerance;
}

float VXUnitCell::GetVolume() const {
  const double ca = std::cos(radians(alpha)), cb = std::cos(radians(beta)), cg = std::cos(radians(gamma));
  const float p = (b * a) * c;
  const double q = (1 - cg * cg) - (ca * ca + cb * cb) + (2 * ca * cb) * cg;
  return static_cast<float>(p / std::sqrt(1 / q));
}

// International Tables B, section 3.3.1, with the products of edges in float and all else in double.
void VXUnitCell::build_matrices() {
  std::fill(frac2cart, frac2cart + 16, 0.0f);
  std::fill(cart2frac, cart2frac + 16, 0.0f);
  if (!isValid()) return;

  const double ca = std::cos(radians(alpha)), cb = std::cos(radians(beta)), cg = std::cos(radians(gamma));
  const double sg = std::sin(radians(gamma));
  const double a_ = a, b_ = b, c_ = c, ab = a * b, bc = b * c, minus_ac = -a * c;
  const float volume = GetVolume();
  const double V = volume;
  const double u = ca - cb * cg;

  frac2cart[0] = a;
  frac2cart[4] = static_cast<float>(b_ * cg);
  frac2cart[5] = static_cast<float>(b_ * sg);
  frac2cart[8] = static_cast<float>(c_ * cb);
  frac2cart[9] = static_cast<float>(c_ * u / sg);
  frac2cart[10] = static_cast<float>(V / (ab * sg));
  frac2cart[15] = 1;

  cart2frac[0] = 1 / a;
  cart2frac[4] = static_cast<float>(-cg / (a_ * sg));
  cart2frac[5] = static_cast<float>(1 / (b_ * sg));
  cart2frac[8] = static_cast<float>(c_ * (b_ * cg) * u / sg - bc * cb * sg) / volume;
  cart2frac[9] = static_cast<float>(minus_ac * u / (sg * V));
  cart2frac[10] = static_cast<float>(ab * sg / V);
  cart2frac[15] = 1;
}

}  // namespace VXXtal
}  // namespace VXCore
