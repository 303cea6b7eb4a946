#pragma once

#include <memory>
#include <utility>
#include <vector>

#include <vxgrid/grid/value_grid.h>

namespace VXCore {

/// Several fields on one lattice, in one block: field k starts at element k * GetSize(), and inside a field x
/// runs fastest. Each field has a view, a VXFixedRefGrid<T> with the title, attributes and geometry that this
/// grid had at the last ResetGrids. T is float or int.
template <class T>
class VXGRID_API VXFixedMultiGrid : public VXGridBase {
 public:
  /// One field of one sample, 0.
  VXFixedMultiGrid();
  VXFixedMultiGrid(const VXFixedMultiGrid& other);
  VXFixedMultiGrid& operator=(const VXFixedMultiGrid&) = delete;

  /// Attributes and title go; geometry and values stay.
  void Clear() override;
  const void* GetDataType() const override;
  bool IsDataType(const void* type) const override;
  VXFixedMultiGrid* CreateCopy() const override;

  /// A new block of zeros for all fields, and new views. Throws std::bad_alloc for more values than 32 bits
  /// count.
  void Realloc() override;
  /// Makes the views anew. Pointers to earlier ones die.
  void ResetGrids();

  unsigned int GetNumGrids() const { return num_grids_; }
  /// Keeps the values of the fields that survive; new fields are 0. False for 0, for an empty lattice, and
  /// when all fields together would pass what 32 bits count.
  bool SetNumGrids(unsigned int n);

  /// The view of a field, which lives until the next geometry setter; null for a field that does not exist.
  VXFixedGrid<T>* GetGrid(unsigned int field);
  const VXFixedGrid<T>* GetGrid(unsigned int field) const;
  /// The block of all fields.
  T* GetValues() { return values_; }
  const T* GetValues() const { return values_; }

 protected:
  /// One field with the geometry and title of another grid, but no attributes; its values are in `block` or,
  /// when that is empty, in memory that is borrowed.
  VXFixedMultiGrid(const VXGridBase& geometry, VXHost::VXLargeArray<T>&& block, T* borrowed);
  /// Exchanges everything.
  void Swap(VXFixedMultiGrid& other) noexcept;

  /// Takes over a block of num_grids fields in place of the values.
  void SetBlock(VXHost::VXLargeArray<T>&& block, unsigned int num_grids);

  unsigned int num_grids_ = 1;
  VXHost::VXLargeArray<T> block_;  // empty while the values are borrowed
  T* values_ = nullptr;

 private:
  using Views = std::vector<std::unique_ptr<VXFixedGrid<T>>>;
  Views MakeViews(T* values, unsigned int num_grids) const;

  Views grids_;
};

/// A multi-field grid whose geometry can be changed.
template <class T>
class VXGRID_API VXMultiGrid : public VXFixedMultiGrid<T> {
 public:
  VXMultiGrid();
  VXMultiGrid(const VXMultiGrid& other);
  explicit VXMultiGrid(const VXFixedMultiGrid<T>& other);
  /// One field with the title and geometry of another grid, values 0 or copied from `values`. No attributes.
  VXMultiGrid(const VXGridBase& geometry, const T* values);
  /// Leaves a default grid behind.
  VXMultiGrid(VXMultiGrid&& other);

  /// Assigns title, geometry, number of fields, then field by field the view's title and the values, but no
  /// attributes. An Error, and a grid changed so far, when the geometry or a field cannot be copied.
  VXMultiGrid& operator=(const VXMultiGrid& rhs);
  VXMultiGrid& operator=(const VXFixedMultiGrid<T>& rhs);
  VXMultiGrid& operator=(VXMultiGrid&& rhs);

  /// Back to one field of one sample, without attributes and title.
  void Clear() override;
  const void* GetDataType() const override;
  bool IsDataType(const void* type) const override;
  VXMultiGrid* CreateCopy() const override;

  bool SetSpacing(float spacing) override;
  bool SetMid(float x, float y, float z) override;
  bool SetXMid(float x) override;
  bool SetYMid(float y) override;
  bool SetZMid(float z) override;
  bool SetDim(unsigned int x, unsigned int y, unsigned int z) override;
  bool SetXDim(unsigned int x) override;
  bool SetYDim(unsigned int y) override;
  bool SetZDim(unsigned int z) override;

  /// Copies n values into a field. False, with one Warning, when n is not GetSize(), v is null, or there is
  /// no such field.
  virtual bool SetValues(unsigned int field, const T* values, unsigned int n);

  /// Takes a ready-made block (VXMakeValueBlock) in place of the values, without a copy. False, and the block
  /// stays with the caller, when it does not hold all fields and the guard.
  bool AdoptValues(VXHost::VXLargeArray<T>&& block);

 private:
  friend class VXZemoGrid;

  VXMultiGrid(const VXGridBase& geometry, VXHost::VXLargeArray<T>&& block, T* borrowed)
      : VXFixedMultiGrid<T>(geometry, std::move(block), borrowed) {}
  void AssignFields(const VXFixedMultiGrid<T>& rhs, const char* source);
};

extern template class VXFixedMultiGrid<float>;
extern template class VXFixedMultiGrid<int>;
extern template class VXMultiGrid<float>;
extern template class VXMultiGrid<int>;

}  // namespace VXCore
