#pragma once

#include <memory>
#include <vector>

#include <vxgrid/gaussian/gaussian.h>
#include <vxgrid/host/molecule.h>

namespace VXCore {

/// A set of Gaussians in the order in which they came, which it owns. The order of the virtual operations is
/// part of the interface.
class VXGRID_API VXGaussianContainerBase : public VXBase {
 public:
  const void* GetDataType() const override;
  bool IsDataType(const void* type) const override;
  VXGaussianContainerBase* CreateCopy() const override = 0;

  virtual unsigned int NumGaussians() const = 0;
  /// Appends what CreateCopy of the Gaussian makes, so its class stays. True.
  virtual bool AddGaussian(const VXGaussianBase& gaussian) = 0;
  /// Destroys the Gaussian at that address. False when it is not in the set.
  virtual bool DeleteGaussian(VXGaussianBase* gaussian) = 0;
  /// A walk that the caller deletes, or hands to a VXIter. Gaussians may be changed in place.
  virtual VXIterBase<VXGaussianBase>* GetGaussians() = 0;
  virtual VXIterBase<const VXGaussianBase>* GetGaussians() const = 0;
  virtual void DeleteGaussians() = 0;

  /// One value a Gaussian, three for GetCoords, in arrays that the caller sizes by NumGaussians. True.
  virtual bool GetCoords(float* coords) const = 0;
  virtual bool GetCoords(double* coords) const = 0;
  virtual bool GetPrefactors(float* prefactors) const = 0;
  virtual bool GetPrefactors(double* prefactors) const = 0;
  virtual bool GetWidths(float* widths) const = 0;
  virtual bool GetWidths(double* widths) const = 0;
  virtual bool GetColors(unsigned int* colors) const = 0;

 protected:
  VXGaussianContainerBase() = default;
  VXGaussianContainerBase(const VXGaussianContainerBase&) = default;
  VXGaussianContainerBase& operator=(const VXGaussianContainerBase&) = default;
};

/// Holds the Gaussians. Copies are deep, take the attributes along, and turn each Gaussian into a plain
/// VXGaussian.
class VXGRID_API VXGaussianContainerImpl : public VXGaussianContainerBase {
 public:
  VXGaussianContainerImpl() = default;
  VXGaussianContainerImpl(const VXGaussianContainerImpl& other);
  explicit VXGaussianContainerImpl(const VXGaussianContainerBase& other);
  VXGaussianContainerImpl& operator=(const VXGaussianContainerImpl& rhs);
  VXGaussianContainerImpl& operator=(const VXGaussianContainerBase& rhs);

  /// Removes attributes and Gaussians.
  void Clear() override;
  const void* GetDataType() const override;
  bool IsDataType(const void* type) const override;
  VXGaussianContainerImpl* CreateCopy() const override;

  unsigned int NumGaussians() const override;
  bool AddGaussian(const VXGaussianBase& gaussian) override;
  bool DeleteGaussian(VXGaussianBase* gaussian) override;
  VXIterBase<VXGaussianBase>* GetGaussians() override;
  VXIterBase<const VXGaussianBase>* GetGaussians() const override;
  void DeleteGaussians() override;
  bool GetCoords(float* coords) const override;
  bool GetCoords(double* coords) const override;
  bool GetPrefactors(float* prefactors) const override;
  bool GetPrefactors(double* prefactors) const override;
  bool GetWidths(float* widths) const override;
  bool GetWidths(double* widths) const override;
  bool GetColors(unsigned int* colors) const override;

 private:
  std::vector<std::unique_ptr<VXGaussianBase>> gaussians_;
};

/// The container for callers. It keeps one VXGaussianContainerImpl for its whole life, to which every
/// operation goes; attributes are its own. Copies as those of the VXGaussianContainerImpl.
class VXGRID_API VXGaussianContainer : public VXGaussianContainerBase {
 public:
  VXGaussianContainer();
  VXGaussianContainer(const VXGaussianContainer& other);
  explicit VXGaussianContainer(const VXGaussianContainerBase& other);
  VXGaussianContainer& operator=(const VXGaussianContainer& rhs);
  VXGaussianContainer& operator=(const VXGaussianContainerBase& rhs);

  /// Removes attributes and Gaussians.
  void Clear() override;
  const void* GetDataType() const override;
  bool IsDataType(const void* type) const override;
  VXGaussianContainer* CreateCopy() const override;

  unsigned int NumGaussians() const override;
  bool AddGaussian(const VXGaussianBase& gaussian) override;
  bool DeleteGaussian(VXGaussianBase* gaussian) override;
  VXIterBase<VXGaussianBase>* GetGaussians() override;
  VXIterBase<const VXGaussianBase>* GetGaussians() const override;
  void DeleteGaussians() override;
  bool GetCoords(float* coords) const override;
  bool GetCoords(double* coords) const override;
  bool GetPrefactors(float* prefactors) const override;
  bool GetPrefactors(double* prefactors) const override;
  bool GetWidths(float* widths) const override;
  bool GetWidths(double* widths) const override;
  bool GetColors(unsigned int* colors) const override;

 private:
  std::unique_ptr<VXGaussianContainerImpl> impl_;
};

/// Appends one Gaussian an atom, hydrogens too, in the order of the atoms: that prefactor, the width that
/// goes with the atom's radius (infinite for a radius of 0: radii are the caller's business), color 0. What
/// the container holds already stays. True when it then holds any Gaussian.
VXGRID_API bool VXMakeGaussians(VXGaussianContainerBase& gaussians, const VXMolBase& mol,
                                double prefactor = 2.7);

/// c' = M c for all centres, M a row-major 3x3 matrix, in single precision.
VXGRID_API void VXRotate(VXGaussianContainerBase& gaussians, const float* matrix);
/// c' = c + v for all centres.
VXGRID_API void VXTranslate(VXGaussianContainerBase& gaussians, const float* vector);

}  // namespace VXCore
