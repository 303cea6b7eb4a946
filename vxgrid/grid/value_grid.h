#pragma once

#include <vxgrid/grid/grid_base.h>
#include <vxgrid/host/large_array.h>

namespace VXCore {

/// A block of `values` values and one guard element, 0, behind them: the last index that the element
/// accessors take is one past the end.
template <class T>
VXHost::VXLargeArray<T> VXMakeValueBlock(std::size_t values, typename VXHost::VXLargeArray<T>::Fill fill) {
  VXHost::VXLargeArray<T> block(values + 1, fill);
  if (fill != VXHost::VXLargeArray<T>::Zeroed) block[values] = T();
  return block;
}

/// Values on a lattice of fixed geometry, in memory that belongs to somebody else. T is float, int or bool.
template <class T>
class VXGRID_API VXFixedGrid : public VXGridBase {
 public:
  /// Attributes, title and geometry of a grid, over memory that holds as many values.
  VXFixedGrid(const VXGridBase& geometry, T* values);
  /// Shares the values.
  VXFixedGrid(const VXFixedGrid&) = default;
  VXFixedGrid& operator=(const VXFixedGrid&) = delete;

  /// Removes attributes and title; geometry and values stay.
  void Clear() override;
  const void* GetDataType() const override;
  bool IsDataType(const void* type) const override;
  /// Shares the values with this grid and must not outlive them.
  VXFixedGrid* CreateCopy() const override;

  /// Copies n values in. False, with one Warning, when n is not GetSize() or v is null.
  virtual bool SetValues(const T* v, unsigned int n);

  T* GetValues() { return values_; }
  const T* GetValues() const { return values_; }
  T& operator[](unsigned int element) { return values_[element]; }
  const T& operator[](unsigned int element) const { return values_[element]; }

 protected:
  VXFixedGrid() = default;

  T* values_ = nullptr;
};

/// A view of one field of a VXFixedMultiGrid, or of other memory laid out as a grid.
template <class T>
class VXGRID_API VXFixedRefGrid : public VXFixedGrid<T> {
 public:
  using VXFixedGrid<T>::VXFixedGrid;
};

/// Values on a lattice that can be given another geometry. Owns its values.
template <class T>
class VXGRID_API VXGrid : public VXFixedGrid<T> {
 public:
  VXGrid();
  VXGrid(const VXGrid& other);
  /// Attributes, title, geometry and values of any grid.
  explicit VXGrid(const VXFixedGrid<T>& other);
  /// Takes the values over; `other` is left without a sample.
  VXGrid(VXGrid&& other);

  /// Assigns attributes, title, geometry and values, in this order. When the geometry cannot be set, the
  /// values stay as they are, without a message. Assignment to itself does nothing.
  VXGrid& operator=(const VXGrid& rhs);
  VXGrid& operator=(const VXFixedGrid<T>& rhs);
  /// The same, but values change hands instead of being copied.
  VXGrid& operator=(VXGrid&& rhs);

  /// Back to one sample of 0, without attributes and title.
  void Clear() override;
  const void* GetDataType() const override;
  bool IsDataType(const void* type) const override;
  /// With its own copy of the values.
  VXGrid* CreateCopy() const override;

  bool SetSpacing(float spacing) override;
  bool SetMid(float x, float y, float z) override;
  bool SetXMid(float x) override;
  bool SetYMid(float y) override;
  bool SetZMid(float z) override;
  bool SetDim(unsigned int x, unsigned int y, unsigned int z) override;
  bool SetXDim(unsigned int x) override;
  bool SetYDim(unsigned int y) override;
  bool SetZDim(unsigned int z) override;
  void Realloc() override;

  /// Takes a ready-made block (VXMakeValueBlock) in place of the values, without a copy. False, and the block
  /// stays with the caller, when it does not hold GetSize() values and the guard.
  bool AdoptValues(VXHost::VXLargeArray<T>&& block);
  /// Gives the values away; the lattice has no sample afterwards.
  VXHost::VXLargeArray<T> ReleaseValues();

 protected:
  /// As operator=(rhs); but where values would be copied, `block`, which holds those of rhs, changes places
  /// with this grid's own.
  void AssignTaking(const VXFixedGrid<T>& rhs, VXHost::VXLargeArray<T>& block);

  VXHost::VXLargeArray<T> block_;
};

/// Sets the samples on the six faces of the lattice to 0. Always true.
template <class T>
VXGRID_API bool VXZeroGridBoundary(VXFixedGrid<T>& grid);

extern template class VXFixedGrid<float>;
extern template class VXFixedGrid<int>;
extern template class VXFixedGrid<bool>;
extern template class VXFixedRefGrid<float>;
extern template class VXFixedRefGrid<int>;
extern template class VXGrid<float>;
extern template class VXGrid<bool>;

}  // namespace VXCore
