#pragma once

#include <vxgrid/host/base.h>

namespace VXCore {

/// An isotropic Gaussian  p * exp(-a * |r - c|^2)  with prefactor p, width a in Å^-2 (an inverse squared
/// length, no standard deviation), centre c in Å, and a color, a tag that is kept and never read here. The
/// order of the virtual operations is part of the interface.
class VXGRID_API VXGaussianBase : public VXBase {
 public:
  const void* GetDataType() const override;
  bool IsDataType(const void* type) const override;
  VXGaussianBase* CreateCopy() const override = 0;

  virtual void SetPrefactor(float prefactor) = 0;
  virtual float GetPrefactor() const = 0;
  virtual void SetWidth(float width) = 0;
  virtual float GetWidth() const = 0;
  /// A null pointer changes nothing.
  virtual void SetCenter(float* center) = 0;
  virtual void SetX(float x) = 0;
  virtual void SetY(float y) = 0;
  virtual void SetZ(float z) = 0;
  /// Writes three floats.
  virtual void GetCenter(float* center) const = 0;
  virtual float GetX() const = 0;
  virtual float GetY() const = 0;
  virtual float GetZ() const = 0;
  virtual void SetColor(unsigned int color) = 0;
  virtual unsigned int GetColor() const = 0;

 protected:
  VXGaussianBase() = default;
  VXGaussianBase(const VXGaussianBase&) = default;
  VXGaussianBase& operator=(const VXGaussianBase&) = default;
};

/// Six numbers, all 0 by default. Clear drops the attributes alone; the numbers stay.
class VXGRID_API VXGaussian : public VXGaussianBase {
 public:
  VXGaussian() = default;
  /// A null centre is the origin.
  VXGaussian(float prefactor, float width, float* center, unsigned int color);
  VXGaussian(float prefactor, float width, float x, float y, float z, unsigned int color);
  /// A copy takes the attributes and what the getters of the other one answer.
  VXGaussian(const VXGaussian& other);
  explicit VXGaussian(const VXGaussianBase& other);
  VXGaussian& operator=(const VXGaussian& rhs);
  VXGaussian& operator=(const VXGaussianBase& rhs);

  const void* GetDataType() const override;
  bool IsDataType(const void* type) const override;
  VXGaussian* CreateCopy() const override;

  void SetPrefactor(float prefactor) override;
  float GetPrefactor() const override;
  void SetWidth(float width) override;
  float GetWidth() const override;
  void SetCenter(float* center) override;
  void SetX(float x) override;
  void SetY(float y) override;
  void SetZ(float z) override;
  void GetCenter(float* center) const override;
  float GetX() const override;
  float GetY() const override;
  float GetZ() const override;
  void SetColor(unsigned int color) override;
  unsigned int GetColor() const override;

 private:
  float center_[3] = {0, 0, 0};
  float prefactor_ = 0;
  float width_ = 0;
  unsigned int color_ = 0;
};

/// A Gaussian of prefactor p and width kappa(p) / R^2 has the integral 4 pi / 3 * R^3, the volume of a hard
/// sphere of radius R, whatever p is: p sets how soft the Gaussian is, R its volume.
///
///   p = 4 pi / 3 * (kappa / pi)^(3/2)      kappa = pi * (3 p / (4 pi))^(2/3)
///   a = kappa / r^2                        r = sqrt(kappa / a)
///
/// Nothing is guarded: a radius of 0 has an infinite width, and prefactor and width of 0 have a radius that
/// is not a number.
VXGRID_API double VXGetPrefactor(double kappa);
VXGRID_API double VXGetKappa(double prefactor);
VXGRID_API double VXGetWidth(double kappa, double radius);
VXGRID_API double VXGetRadius(double prefactor, double width);
VXGRID_API double VXGetKappa(const VXGaussianBase& gaussian);
VXGRID_API double VXGetRadius(const VXGaussianBase& gaussian);

}  // namespace VXCore
