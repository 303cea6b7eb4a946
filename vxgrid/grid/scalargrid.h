#pragma once

#include <vxgrid/grid/value_grid.h>

namespace VXCore {

/// What the values of a grid mean. After a grid file was read the same field holds the file-format code
/// (VXGetGridFileType), whose numbers 3 and 4 count as a map and a difference map.
enum VXGridType : unsigned int {
  VXGridTypeGeneric = 0,
  VXGridTypeElectrostatic = 1,
  VXGridTypeBrek = 2,
  VXGridTypeRegularMap = 3,
  VXGridTypeDifferenceMap = 4,
  VXGridTypeQK = 5,
};

class VXZemoGrid;

/// The plain grid of floats: axes along x, y, z, one spacing, and a type code.
class VXGRID_API VXScalarGrid : public VXGrid<float> {
 public:
  /// One sample of 0, type 0.
  VXScalarGrid();
  /// The box x_min, y_min, z_min, x_max, y_max, z_max, with trunc((max - min) / spacing) + 1 samples and the
  /// midpoint (min + max) / 2 on each axis: a range that is no whole number of steps falls short equally on
  /// both sides. Values and type are 0. A box that no grid can hold gives one sample per axis and a Warning.
  VXScalarGrid(const float* extents, float spacing, const char* title);
  VXScalarGrid(const double* extents, double spacing, const char* title);
  /// With a copy of the values; null leaves them 0. Dimensions that no grid can hold give one sample per
  /// axis, no values and a Warning.
  VXScalarGrid(int x_dim, int y_dim, int z_dim, float x_mid, float y_mid, float z_mid, float spacing,
               std::string title, const float* values);
  VXScalarGrid(const VXScalarGrid& other);
  /// The same of any grid of floats, with type 0.
  explicit VXScalarGrid(const VXFixedGrid<float>& other);
  /// Takes the values over; `other` is left without a sample.
  VXScalarGrid(VXScalarGrid&& other);

  /// As VXGrid<float>; then the type becomes that of rhs, 0 from a VXFixedGrid<float>, also when the values
  /// could not be assigned.
  VXScalarGrid& operator=(const VXScalarGrid& rhs);
  VXScalarGrid& operator=(const VXFixedGrid<float>& rhs);
  VXScalarGrid& operator=(VXScalarGrid&& rhs);

  void Clear() override;
  const void* GetDataType() const override;
  bool IsDataType(const void* type) const override;
  VXScalarGrid* CreateCopy() const override;

  unsigned int GetType() const { return type_; }
  /// Takes any number.
  bool SetType(unsigned int type) {
    type_ = type;
    return true;
  }

 private:
  friend class VXZemoGrid;

  unsigned int type_ = VXGridTypeGeneric;
};

}  // namespace VXCore
