#pragma once

#include <vxgrid/host/molecule.h>

namespace VXCore {

/// A molecule with several sets of coordinates, numbered from 0; one is always there. What VXMolBase says of
/// coordinates is about the first, and PDB data are kept with the first as well.
class VXGRID_API VXMCMolBase : public VXMolBase {
 public:
  const void* GetDataType() const override;
  bool IsDataType(const void* type) const override;
  VXMCMolBase* CreateCopy() const override = 0;
  using VXMolBase::operator=;

  virtual unsigned int NumConfs() const;
  /// Three floats per atom index; false for a number that is not there, or coordinates that are not set.
  virtual bool GetConfCoords(unsigned int conf, float* xyz) const;
  virtual bool SetConfCoords(unsigned int conf, const float* xyz);
  /// Adds a conformer and gives its number.
  virtual unsigned int NewConf(const float* xyz);

 protected:
  VXMCMolBase() : VXMolBase(true) {}
  explicit VXMCMolBase(const VXMolBase& other) : VXMolBase(other, true) {}
};

class VXGRID_API VXMCMol : public VXMCMolBase {
 public:
  VXMCMol() = default;
  VXMCMol(const VXMCMol& other) : VXMCMolBase(static_cast<const VXMolBase&>(other)) {}
  VXMCMol(const VXMolBase& other) : VXMCMolBase(other) {}
  VXMCMol& operator=(const VXMCMol& other) {
    VXMolBase::operator=(other);
    return *this;
  }
  using VXMCMolBase::operator=;

  const void* GetDataType() const override;
  bool IsDataType(const void* type) const override;
  VXMCMol* CreateCopy() const override { return new VXMCMol(*this); }
};

}  // namespace VXCore
