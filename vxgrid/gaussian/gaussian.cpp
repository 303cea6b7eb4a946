#include <vxgrid/gaussian/gaussian.h>

#include <cmath>

namespace VXCore {
namespace {

constexpr double kPi = 3.14159265358979323846;

}  // namespace

const void* VXGaussianBase::GetDataType() const { return VXGetDataType<VXGaussianBase>(); }

bool VXGaussianBase::IsDataType(const void* type) const {
  return type == VXGetDataType<VXGaussianBase>() || VXBase::IsDataType(type);
}

VXGaussian::VXGaussian(float prefactor, float width, float* center, unsigned int color)
    : prefactor_(prefactor), width_(width), color_(color) {
  VXGaussian::SetCenter(center);
}

VXGaussian::VXGaussian(float prefactor, float width, float x, float y, float z, unsigned int color)
    : center_{x, y, z}, prefactor_(prefactor), width_(width), color_(color) {}

VXGaussian::VXGaussian(const VXGaussian& other) : VXGaussian(static_cast<const VXGaussianBase&>(other)) {}

VXGaussian::VXGaussian(const VXGaussianBase& other)
    : VXGaussianBase(other),
      center_{other.GetX(), other.GetY(), other.GetZ()},
      prefactor_(other.GetPrefactor()),
      width_(other.GetWidth()),
      color_(other.GetColor()) {}

VXGaussian& VXGaussian::operator=(const VXGaussian& rhs) {
  return *this = static_cast<const VXGaussianBase&>(rhs);
}

VXGaussian& VXGaussian::operator=(const VXGaussianBase& rhs) {
  if (this == &rhs) return *this;
  VXGaussianBase::operator=(rhs);
  center_[0] = rhs.GetX();
  center_[1] = rhs.GetY();
  center_[2] = rhs.GetZ();
  prefactor_ = rhs.GetPrefactor();
  width_ = rhs.GetWidth();
  color_ = rhs.GetColor();
  return *this;
}

const void* VXGaussian::GetDataType() const { return VXGetDataType<VXGaussian>(); }

bool VXGaussian::IsDataType(const void* type) const {
  return type == VXGetDataType<VXGaussian>() || VXGaussianBase::IsDataType(type);
}

VXGaussian* VXGaussian::CreateCopy() const { return new VXGaussian(*this); }

void VXGaussian::SetPrefactor(float prefactor) { prefactor_ = prefactor; }
float VXGaussian::GetPrefactor() const { return prefactor_; }
void VXGaussian::SetWidth(float width) { width_ = width; }
float VXGaussian::GetWidth() const { return width_; }

void VXGaussian::SetCenter(float* center) {
  if (!center) return;
  for (int i = 0; i < 3; ++i) center_[i] = center[i];
}

void VXGaussian::SetX(float x) { center_[0] = x; }
void VXGaussian::SetY(float y) { center_[1] = y; }
void VXGaussian::SetZ(float z) { center_[2] = z; }

void VXGaussian::GetCenter(float* center) const {
  for (int i = 0; i < 3; ++i) center[i] = center_[i];
}

float VXGaussian::GetX() const { return center_[0]; }
float VXGaussian::GetY() const { return center_[1]; }
float VXGaussian::GetZ() const { return center_[2]; }
void VXGaussian::SetColor(unsigned int color) { color_ = color; }
unsigned int VXGaussian::GetColor() const { return color_; }

double VXGetPrefactor(double kappa) {
  const double t = kappa * (1 / kPi);
  return t * (4 * kPi / 3) * std::sqrt(t);
}

double VXGetKappa(double prefactor) {
  const double root = std::cbrt(prefactor * 3 / (4 * kPi));
  return kPi * (root * root);
}

double VXGetWidth(double kappa, double radius) { return kappa / (radius * radius); }

double VXGetRadius(double prefactor, double width) { return std::sqrt(VXGetKappa(prefactor) / width); }

double VXGetKappa(const VXGaussianBase& gaussian) {
  return VXGetKappa(static_cast<double>(gaussian.GetPrefactor()));
}

double VXGetRadius(const VXGaussianBase& gaussian) {
  return VXGetRadius(static_cast<double>(gaussian.GetPrefactor()), static_cast<double>(gaussian.GetWidth()));
}

}  // namespace VXCore
