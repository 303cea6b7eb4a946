#pragma once

#include <memory>
#include <string>

#include <vxgrid/grid/zemogrid.h>

namespace VXCore {

/// The implementation object of a VXSkewGrid: owns the working grid and forwards to it under the same names.
class VXGRID_API VXSkewGridImpl {
 public:
  VXSkewGridImpl();
  explicit VXSkewGridImpl(const VXZemoGrid& grid);
  explicit VXSkewGridImpl(VXZemoGrid&& grid);
  VXSkewGridImpl(const VXSkewGridImpl& other);
  VXSkewGridImpl(VXSkewGridImpl&& other);
  VXSkewGridImpl& operator=(const VXSkewGridImpl& rhs);
  VXSkewGridImpl& operator=(VXSkewGridImpl&& rhs);
  VXSkewGridImpl& operator=(const VXScalarGrid& rhs);
  VXSkewGridImpl& operator=(const VXFixedGrid<float>& rhs);

  VXZemoGrid& GetImpl() { return *grid_; }
  const VXZemoGrid& GetImpl() const { return *grid_; }

  void Clear() { grid_->Clear(); }
  std::string GetTitle() const { return grid_->GetTitle(); }
  bool SetTitle(const std::string& title) { return grid_->SetTitle(title); }
  bool IsTitleSet() const { return grid_->IsTitleSet(); }
  float GetSpacing() const { return grid_->GetSpacing(); }
  bool IsSpacingSet() const { return grid_->IsSpacingSet(); }
  bool SetSpacing(float spacing) { return grid_->SetSpacing(spacing); }
  unsigned int GetSize() const { return grid_->GetSize(); }
  bool GetDim(unsigned int& x, unsigned int& y, unsigned int& z) const { return grid_->GetDim(x, y, z); }
  unsigned int GetXDim() const { return grid_->GetXDim(); }
  unsigned int GetYDim() const { return grid_->GetYDim(); }
  unsigned int GetZDim() const { return grid_->GetZDim(); }
  bool SetDim(unsigned int x, unsigned int y, unsigned int z) { return grid_->SetDim(x, y, z); }
  bool GetMid(float& x, float& y, float& z) const { return grid_->GetMid(x, y, z); }
  float GetXMid() const { return grid_->GetXMid(); }
  float GetYMid() const { return grid_->GetYMid(); }
  float GetZMid() const { return grid_->GetZMid(); }
  bool SetMid(float x, float y, float z) { return grid_->SetMid(x, y, z); }
  float* GetValues() { return grid_->GetValues(); }
  const float* GetValues() const { return static_cast<const VXZemoGrid&>(*grid_).GetValues(); }
  bool SetValues(const float* values, unsigned int n) { return grid_->SetValues(values, n); }
  bool GetFloatsSet() const { return grid_->GetFloatsSet(); }
  unsigned int GetReentrant() const { return grid_->GetReentrant(); }
  void SetReentrant(bool wraps) { grid_->SetReentrant(wraps); }
  bool SetOrientation(const float* matrix) { return grid_->SetOrientation(matrix); }
  bool GetOrientation(float* matrix) const { return grid_->GetOrientation(matrix); }
  bool GetOrientationSet() const { return grid_->GetOrientationSet(); }
  bool SetOrientationSet(bool set) { return grid_->SetOrientationSet(set); }
  bool SetUnitCell(float a, float b, float c, float alpha, float beta, float gamma, unsigned int x,
                   unsigned int y, unsigned int z) {
    return grid_->SetUnitCell(a, b, c, alpha, beta, gamma, x, y, z);
  }
  bool GetUnitCell(float& a, float& b, float& c, float& alpha, float& beta, float& gamma) const {
    return grid_->GetUnitCell(a, b, c, alpha, beta, gamma);
  }
  bool GetUnitSpacing(unsigned int& x, unsigned int& y, unsigned int& z) const {
    return grid_->GetUnitSpacing(x, y, z);
  }
  bool HasUnitCell() const { return grid_->HasUnitCell(); }
  bool SetSpaceGroup(unsigned int number) { return grid_->SetSpaceGroup(number); }
  unsigned int GetSpaceGroup() const { return grid_->GetSpaceGroup(); }
  bool HasSpaceGroup() const { return grid_->HasSpaceGroup(); }
  unsigned int GetType() const { return grid_->GetType(); }
  bool SetType(unsigned int type) { return grid_->SetType(type); }
  bool ElementToGridIdx(unsigned int element, unsigned int& x, unsigned int& y, unsigned int& z) const {
    return grid_->ElementToGridIdx(element, x, y, z);
  }
  bool ElementToSpatialCoord(unsigned int element, float& x, float& y, float& z) const {
    return grid_->ElementToSpatialCoord(element, x, y, z);
  }
  bool PackingTransform(int i, int j, int k, float& dx, float& dy, float& dz) const {
    return grid_->PackingTransform(i, j, k, dx, dy, dz);
  }
  bool SpatialCoordToPacking(float x, float y, float z, int& i, int& j, int& k) const {
    return grid_->SpatialCoordToPacking(x, y, z, i, j, k);
  }
  explicit operator bool() const { return static_cast<bool>(*grid_); }

 private:
  std::unique_ptr<VXZemoGrid> grid_;
};

/// The public grid of crystallographic maps: oblique axes, a unit cell, a space group. All its state lies in
/// a VXZemoGrid behind GetImpl().GetImpl(); attributes stand on this object and, on their own, on that grid.
class VXGRID_API VXSkewGrid : public VXGridAbstractBase {
 public:
  VXSkewGrid();
  /// The source's attributes, and an inner grid made from it with its type; 0 from a VXFixedGrid<float>.
  explicit VXSkewGrid(const VXScalarGrid& source);
  explicit VXSkewGrid(const VXFixedGrid<float>& source);
  /// No attributes on this object; a copy of the inner grid.
  explicit VXSkewGrid(const VXSkewGridImpl& impl);
  explicit VXSkewGrid(VXSkewGridImpl&& impl);
  VXSkewGrid(const VXSkewGrid& other);
  /// Leaves a default grid behind.
  VXSkewGrid(VXSkewGrid&& other);

  VXSkewGrid& operator=(const VXSkewGrid& rhs);
  VXSkewGrid& operator=(VXSkewGrid&& rhs);
  /// These assign the inner grid; the attributes of this object stay.
  VXSkewGrid& operator=(const VXScalarGrid& rhs);
  VXSkewGrid& operator=(const VXFixedGrid<float>& rhs);
  VXSkewGrid& operator=(const VXSkewGridImpl& rhs);

  VXSkewGridImpl& GetImpl() { return *impl_; }
  const VXSkewGridImpl& GetImpl() const { return *impl_; }

  void Clear() override;
  const void* GetDataType() const override;
  bool IsDataType(const void* type) const override;
  VXSkewGrid* CreateCopy() const override;

  std::string GetTitle() const override;
  bool SetTitle(const std::string& title) override;
  float GetSpacing() const override;
  bool IsSpacingSet() const override;
  unsigned int GetSize() const override;
  bool GetDim(unsigned int& x, unsigned int& y, unsigned int& z) const override;
  unsigned int GetXDim() const override;
  unsigned int GetYDim() const override;
  unsigned int GetZDim() const override;
  bool GetMid(float& x, float& y, float& z) const override;
  float GetXMid() const override;
  float GetYMid() const override;
  float GetZMid() const override;

  bool IsTitleSet() const { return impl_->IsTitleSet(); }
  bool SetSpacing(float spacing) { return impl_->SetSpacing(spacing); }
  bool SetDim(unsigned int x, unsigned int y, unsigned int z) { return impl_->SetDim(x, y, z); }
  bool SetMid(float x, float y, float z) { return impl_->SetMid(x, y, z); }
  float* GetValues() { return impl_->GetValues(); }
  const float* GetValues() const { return static_cast<const VXSkewGridImpl&>(*impl_).GetValues(); }
  bool SetValues(const float* values, unsigned int n) { return impl_->SetValues(values, n); }
  unsigned int GetReentrant() const { return impl_->GetReentrant(); }
  void SetReentrant(bool wraps) { impl_->SetReentrant(wraps); }
  bool SetUnitCell(float a, float b, float c, float alpha, float beta, float gamma, unsigned int x,
                   unsigned int y, unsigned int z) {
    return impl_->SetUnitCell(a, b, c, alpha, beta, gamma, x, y, z);
  }
  bool GetUnitCell(float& a, float& b, float& c, float& alpha, float& beta, float& gamma) const {
    return impl_->GetUnitCell(a, b, c, alpha, beta, gamma);
  }
  bool HasUnitCell() const { return impl_->HasUnitCell(); }
  bool SetSpaceGroup(unsigned int number) { return impl_->SetSpaceGroup(number); }
  unsigned int GetSpaceGroup() const { return impl_->GetSpaceGroup(); }
  bool HasSpaceGroup() const { return impl_->HasSpaceGroup(); }
  unsigned int GetType() const { return impl_->GetType(); }
  bool SetType(unsigned int type) { return impl_->SetType(type); }
  bool ElementToGridIdx(unsigned int element, unsigned int& x, unsigned int& y, unsigned int& z) const {
    return impl_->ElementToGridIdx(element, x, y, z);
  }
  bool ElementToSpatialCoord(unsigned int element, float& x, float& y, float& z) const {
    return impl_->ElementToSpatialCoord(element, x, y, z);
  }
  explicit operator bool() const { return static_cast<bool>(*impl_); }

  /// True when no orientation is set, or its three diagonal entries are 1. The off-diagonal entries are not
  /// looked at: grids made from plain grids carry the identity, and this is the short way to know them.
  bool IsRegular() const;

  /// Float field 0 of the inner grid, with the title that it had when its geometry was last set.
  VXFixedGrid<float>& AsRegularGrid();
  const VXFixedGrid<float>& AsRegularGrid() const;

 private:
  std::unique_ptr<VXSkewGridImpl> impl_;
};

}  // namespace VXCore
