#pragma once

#include <array>
#include <string>
#include <vector>

#include <vxgrid/grid/multi_grid.h>
#include <vxgrid/grid/scalargrid.h>

namespace VXCore {

/// The working grid beneath the public ones: float and integer fields on one lattice, with an orientation, a
/// crystal cell, a space group and wrap flags. All readers and writers work on it.
///
/// The lattice of the getters is that of the floats. Setters reach both parts; only the assignment from a
/// plain grid leaves the integers without the lattice (GetIntegersSet is false then). A sample's place is
/// M (p - mid) + mid, with p as VXGridAbstractBase says and M the orientation, or the identity when not set.
class VXGRID_API VXZemoGrid : public VXGridAbstractBase {
 public:
  /// One float and one integer field of one sample; no cell, orientation not set.
  VXZemoGrid();
  VXZemoGrid(const VXZemoGrid& other);
  /// Leaves a default grid behind.
  VXZemoGrid(VXZemoGrid&& other);
  /// A regular grid: title, attributes and type of the source, the other part zeroed on the same lattice, the
  /// identity as orientation (set), and the cell of SetUnitCellFromSpacing.
  explicit VXZemoGrid(const VXScalarGrid& source);
  explicit VXZemoGrid(const VXFixedGrid<float>& source);
  explicit VXZemoGrid(const VXFixedMultiGrid<float>& floats);
  explicit VXZemoGrid(const VXFixedMultiGrid<int>& integers);
  /// Title and attributes come from the floats.
  VXZemoGrid(const VXFixedMultiGrid<float>& floats, const VXFixedMultiGrid<int>& integers);
  /// The same with the values taken over; `source` is left without a sample.
  explicit VXZemoGrid(VXScalarGrid&& source);
  /// The same for reading only, on the values of the source, which must stay; nothing is copied. A copy of
  /// such a grid has values of its own.
  static VXZemoGrid Borrow(const VXScalarGrid& source);
  static VXZemoGrid Borrow(const VXScalarGrid&& source) = delete;

  VXZemoGrid& operator=(const VXZemoGrid& rhs);
  VXZemoGrid& operator=(VXZemoGrid&& rhs);
  /// As the constructors, except that the integers are cleared: GetIntegersSet is false afterwards.
  VXZemoGrid& operator=(const VXScalarGrid& rhs);
  VXZemoGrid& operator=(const VXFixedGrid<float>& rhs);
  VXZemoGrid& operator=(const VXFixedMultiGrid<float>& rhs);

  /// `out = float field 0`, where the values change hands instead of being copied when this is the only
  /// field. What this grid holds afterwards is unspecified but valid.
  void MoveFloats(VXScalarGrid& out);

  void Clear() override;
  const void* GetDataType() const override;
  bool IsDataType(const void* type) const override;
  VXZemoGrid* CreateCopy() const override;

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

  bool IsTitleSet() const { return floats_.IsTitleSet(); }
  bool SetSpacing(float spacing);
  bool SetMid(float x, float y, float z);
  bool SetDim(unsigned int x, unsigned int y, unsigned int z);

  VXMultiGrid<float>& GetFloats() { return floats_; }
  const VXMultiGrid<float>& GetFloats() const { return floats_; }
  VXMultiGrid<int>& GetIntegers() { return integers_; }
  const VXMultiGrid<int>& GetIntegers() const { return integers_; }

  /// The values of float field 0, or null when GetFloatsSet() is false.
  float* GetValues();
  const float* GetValues() const;
  /// Copies n values into float field 0; false, with one Warning, for a wrong n or null.
  bool SetValues(const float* values, unsigned int n);

  /// True when the part has a dimension above 1, whatever its values.
  bool GetFloatsSet() const;
  bool GetIntegersSet() const;
  explicit operator bool() const { return GetFloatsSet() || GetIntegersSet(); }

  /// The number, from 1, of the current field. The setters select a field that is there and add fields up to
  /// n when it is not; false for 0 or when the fields cannot be added.
  unsigned int GetFloatsMultiple() const { return scalars_.floats_multiple; }
  unsigned int GetIntegersMultiple() const { return scalars_.integers_multiple; }
  bool SetFloatsMultiple(unsigned int n);
  bool SetIntegersMultiple(unsigned int n);
  /// The view of the current field.
  VXFixedGrid<float>& CurrentFloats();
  const VXFixedGrid<float>& CurrentFloats() const;
  VXFixedGrid<int>& CurrentIntegers();
  const VXFixedGrid<int>& CurrentIntegers() const;

  /// Nine floats, row-major. False for null; the getter is false and writes nothing when not set.
  bool SetOrientation(const float* matrix);
  bool GetOrientation(float* matrix) const;
  bool GetOrientationSet() const { return scalars_.orientation_set; }
  bool SetOrientationSet(bool set);

  /// Whether the lattice wraps: bit 0 is x, bit 1 y, bit 2 z.
  unsigned int GetReentrant() const { return scalars_.reentrant; }
  bool GetXReentrant() const { return scalars_.reentrant & 1; }
  bool GetYReentrant() const { return scalars_.reentrant & 2; }
  bool GetZReentrant() const { return scalars_.reentrant & 4; }
  void SetReentrant(bool wraps) { SetReentrantBit(7, wraps); }
  void SetXReentrant(bool wraps) { SetReentrantBit(1, wraps); }
  void SetYReentrant(bool wraps) { SetReentrantBit(2, wraps); }
  void SetZReentrant(bool wraps) { SetReentrantBit(4, wraps); }

  /// Stores a cell (Å, degrees) with x, y, z grid steps along its edges, and makes orientation and spacing
  /// from it: the spacing is the smallest step, and the columns of the orientation are the cell axes (a along
  /// x, b in the xy plane) scaled by step over spacing. Always true; a cell whose step is no spacing (a
  /// number of steps of 0, say) leaves the spacing as it was.
  bool SetUnitCell(float a, float b, float c, float alpha, float beta, float gamma, unsigned int x,
                   unsigned int y, unsigned int z);
  /// The identity as orientation, the spacing, and a right-angled cell of dim * spacing: one step longer than
  /// the span of the samples. False for an empty lattice.
  bool SetUnitCellFromSpacing(float spacing);
  /// Always true.
  bool GetUnitCell(float& a, float& b, float& c, float& alpha, float& beta, float& gamma) const;
  /// The grid steps along the cell edges; true when any is not 0.
  bool GetUnitSpacing(unsigned int& x, unsigned int& y, unsigned int& z) const;
  /// True when any of the six cell numbers is not 0.
  bool HasUnitCell() const;

  unsigned int GetSpaceGroup() const { return scalars_.space_group; }
  bool SetSpaceGroup(unsigned int number) {
    scalars_.space_group = number;
    return true;
  }
  bool HasSpaceGroup() const { return scalars_.space_group != 0; }

  unsigned int GetType() const { return scalars_.type; }
  bool SetType(unsigned int type) {
    scalars_.type = type;
    return true;
  }

  /// False when the element is not below GetSize().
  bool ElementToGridIdx(unsigned int element, unsigned int& x, unsigned int& y, unsigned int& z) const;
  bool ElementToSpatialCoord(unsigned int element, float& x, float& y, float& z) const;
  /// The place of every element, x, y, z each, in element order. False, with `out` untouched, for an empty
  /// lattice.
  bool SpatialCoords(std::vector<float>& out) const;
  /// The translation (Å) that moves the lattice by i, j, k whole grid lengths. False for an empty lattice or
  /// when the spacing is not set.
  bool PackingTransform(int i, int j, int k, float& dx, float& dy, float& dz) const;
  /// Which whole grid length a place falls into, per axis: with delta the vector from the first sample and r
  /// the axis's row of the orientation, t = (r . delta) / (|r| * dim), truncated, less 1 when t is 0 or
  /// below. So the first sample itself gives -1; and t holds no spacing, so with a spacing other than 1 it
  /// does not count grid lengths. Callers rely on both. Beyond the int range the result is its nearest end;
  /// not-a-number gives -1.
  bool SpatialCoordToPacking(float x, float y, float z, int& i, int& j, int& k) const;

 private:
  struct Scalars {
    std::array<float, 9> orientation{};
    bool orientation_set = false;
    unsigned int floats_multiple = 1;
    unsigned int integers_multiple = 1;
    unsigned int reentrant = 0;
    float a = 0.0f, b = 0.0f, c = 0.0f;
    float alpha = 0.0f, beta = 0.0f, gamma = 0.0f;
    unsigned int unit_x = 0, unit_y = 0, unit_z = 0;
    unsigned int space_group = 0;
    unsigned int type = VXGridTypeGeneric;
  };

  struct BorrowTag {};
  VXZemoGrid(const VXScalarGrid& source, BorrowTag);
  VXZemoGrid& TakeFloatsOf(VXZemoGrid&& fresh);
  void SetReentrantBit(unsigned int bit, bool wraps);

  Scalars scalars_;
  VXMultiGrid<float> floats_;
  VXMultiGrid<int> integers_;
};

}  // namespace VXCore
