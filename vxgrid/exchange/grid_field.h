#pragma once

#include <experimental/optional>
#include <memory>
#include <string>
#include <vector>

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/host/record.h>

namespace VXRecordKit {

/// Values that may be missing, as the library fundamentals have them; to ask a missing one for its value is a
/// fault of the caller.
template <class T>
using VXOptional = std::experimental::optional<T>;

/// A grid as the value of a field, T is VXScalarGrid or VXSkewGrid. Its bytes are a GRD file (grd.h says what
/// that keeps); no bytes mean no value. Its JSON is the grid's document (grid_json.h) with attributes, of
/// which the bytes have none.
template <class T>
class VXGRID_API VXFieldType : public VXFieldTypeHandler {
 public:
  VXFieldType();
  std::string BytesToJSON(const VXBytes& bytes) const override;
  VXBytes JSONToBytes(const std::string& json) const override;
  VXBytes PtrToBytes(const void* grid) const override;
  /// "Chem.Grid" or "Chem.SkewGrid".
  const char* GetName() const override;
  bool IsCacheable() const override;

  /// Empty when the grid cannot be written.
  static VXBytes ToBytes(const T& grid);
  static VXOptional<VXBytes> ToBytes(const VXOptional<T>& grid);
  /// False for no bytes, for those that are no GRD file and without enough memory; a scalar grid then stays
  /// as it was, a skew grid may be partly filled. The type becomes what VXReadGrid (gridio.h) makes it.
  static bool FromBytes(T& grid, const VXBytes& bytes);
  /// "<VXScalarGrid>" or "<VXSkewGrid>".
  static std::string Format(const T& grid);
};

/// A vector of grids, some of which may be missing, as the value of a field. Its bytes are the number of
/// grids and a blob of each, a none blob where there is none. The live objects are std::vector<T>.
///
/// BytesToJSON writes a bare array, of documents and of nulls for missing grids; JSONToBytes reads an object
/// whose key "value" holds the array. Each serves its own partners, so one does not read what the other
/// writes. What is no grid in the array that is read becomes what VXJSONToGrid leaves of it.
template <class T>
class VXGRID_API VXVectorFieldType : public VXFieldTypeHandler {
 public:
  using Grids = std::vector<T>;
  using OptionalGrids = std::vector<VXOptional<T>>;

  VXVectorFieldType();
  std::string BytesToJSON(const VXBytes& bytes) const override;
  VXBytes JSONToBytes(const std::string& json) const override;
  VXBytes PtrToBytes(const void* grids) const override;
  /// "Chem.GridVec" or "Chem.SkewGridVec".
  const char* GetName() const override;
  bool IsCacheable() const override;

  static VXBytes ToBytes(const Grids& grids);
  static VXBytes ToBytes(const OptionalGrids& grids);
  static VXOptional<VXBytes> ToBytes(const VXOptional<Grids>& grids);
  static VXOptional<VXBytes> ToBytes(const VXOptional<OptionalGrids>& grids);
  /// Replaces the vector. A missing grid is a default one in a vector that has no missing ones, and so is one
  /// that cannot be read; with such a one the result is false. A count that the bytes cannot pay for gives an
  /// empty vector and false; bytes that are cut off, and memory that runs out, the grids so far and false.
  static bool FromBytes(Grids& grids, const VXBytes& bytes);
  static bool FromBytes(OptionalGrids& grids, const VXBytes& bytes);
  /// "[0 grids]", "[1 grid]", "[2 grids]"; missing ones count.
  static std::string Format(const Grids& grids);
  static std::string Format(const OptionalGrids& grids);
  /// Copies. Those of Grids can be live objects of a record.
  static std::shared_ptr<Grids> GetCopyForCache(const Grids& grids);
  static std::shared_ptr<OptionalGrids> GetCopyForCache(const OptionalGrids& grids);
};

extern template class VXFieldType<VXCore::VXScalarGrid>;
extern template class VXFieldType<VXCore::VXSkewGrid>;
extern template class VXVectorFieldType<VXCore::VXScalarGrid>;
extern template class VXVectorFieldType<VXCore::VXSkewGrid>;

/// New handlers, for a registry to take over; libvxgrid registers one of each when it is loaded.
VXGRID_API VXFieldTypeHandler* VXInitGridFieldHandler();
VXGRID_API VXFieldTypeHandler* VXInitGridVecFieldHandler();
VXGRID_API VXFieldTypeHandler* VXInitSkewGridFieldHandler();
VXGRID_API VXFieldTypeHandler* VXInitSkewGridVecFieldHandler();

/// Makes a copy of a grid the value of a field, whatever the name stood for before. It is kept as a live
/// object, in the place of the one that is there if there is one, so whoever shares that sees the new grid;
/// bytes are made when they are asked for.
VXGRID_API bool VXSetGridValue(VXRecord& record, const VXField<VXCore::VXScalarGrid>& field,
                               const VXCore::VXScalarGrid& grid);
VXGRID_API bool VXSetGridValue(VXRecord& record, const VXField<VXCore::VXSkewGrid>& field,
                               const VXCore::VXSkewGrid& grid);

}  // namespace VXRecordKit
