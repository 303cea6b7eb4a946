#pragma once

#include <string>

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/grid/zemogrid.h>
#include <vxgrid/host/binary_records.h>

namespace VXCore {

// Grids as native records; docs/formats.md has their layouts. Numbers are written in the writer's byte order,
// which each record states, and read in either. Values stay single precision. A record that is cut off leaves
// the grid as it was; one that is damaged inside may leave it changed.

/// A grid with all its fields: attributes, "VXZemoGridData" and the two parts, in records of their own.
class VXGRID_API VXZemoGridWriteFxn : public VXWriteFxn<VXZemoGrid> {
 public:
  const char* GetTag() const override;
  VXZemoGridWriteFxn* CreateCopy() const override;
  bool operator()(vxostream& out, const VXZemoGrid& grid, const VXBinaryIOHandlerBase& handler) override;
};

/// Inner records in any order; unknown ones stay with the grid.
class VXGRID_API VXZemoGridReadFxn : public VXReadFxn<VXZemoGrid> {
 public:
  const char* GetTag() const override;
  VXZemoGridReadFxn* CreateCopy() const override;
  unsigned int operator()(vxistream& in, VXZemoGrid& grid, unsigned long length,
                          const VXBinaryIOHandlerBase& handler) override;
};

/// Orientation, current fields, wrap flags; then, unless the record ends there as it once did, cell, group
/// and type. An orientation that was stored wins over the one that comes with the cell.
class VXGRID_API VXZemoGridDataReadFxn : public VXReadFxn<VXZemoGrid> {
 public:
  const char* GetTag() const override;
  VXZemoGridDataReadFxn* CreateCopy() const override;
  unsigned int operator()(vxistream& in, VXZemoGrid& grid, unsigned long length,
                          const VXBinaryIOHandlerBase& handler) override;
};

/// The floats, and the integers, of a VXZemoGrid: a byte order and a record of the multi-field grid.
class VXGRID_API VXZemoGridFloatReadFxn : public VXReadFxn<VXZemoGrid> {
 public:
  const char* GetTag() const override;
  VXZemoGridFloatReadFxn* CreateCopy() const override;
  unsigned int operator()(vxistream& in, VXZemoGrid& grid, unsigned long length,
                          const VXBinaryIOHandlerBase& handler) override;
};
class VXGRID_API VXZemoGridIntReadFxn : public VXReadFxn<VXZemoGrid> {
 public:
  const char* GetTag() const override;
  VXZemoGridIntReadFxn* CreateCopy() const override;
  unsigned int operator()(vxistream& in, VXZemoGrid& grid, unsigned long length,
                          const VXBinaryIOHandlerBase& handler) override;
};

/// The attributes of the outer object, or a placeholder where there are none, and its inner grid.
class VXGRID_API VXSkewGridWriteFxn : public VXWriteFxn<VXSkewGrid> {
 public:
  const char* GetTag() const override;
  VXSkewGridWriteFxn* CreateCopy() const override;
  bool operator()(vxostream& out, const VXSkewGrid& grid, const VXBinaryIOHandlerBase& handler) override;
};
class VXGRID_API VXSkewGridReadFxn : public VXReadFxn<VXSkewGrid> {
 public:
  const char* GetTag() const override;
  VXSkewGridReadFxn* CreateCopy() const override;
  unsigned int operator()(vxistream& in, VXSkewGrid& grid, unsigned long length,
                          const VXBinaryIOHandlerBase& handler) override;
};

/// A bare "VXZemoGrid" record where a skew grid is read, as it was written once. What becomes of the inner
/// record is not told: VXBDone, always.
class VXGRID_API VXSkewGridZemoGridReadFxn : public VXReadFxn<VXSkewGrid> {
 public:
  const char* GetTag() const override;
  VXSkewGridZemoGridReadFxn* CreateCopy() const override;
  unsigned int operator()(vxistream& in, VXSkewGrid& grid, unsigned long length,
                          const VXBinaryIOHandlerBase& handler) override;
};

/// The placeholder, byte orders, type and the VXGrid<float>, with which the attributes ride.
class VXGRID_API VXScalarGridWriteFxn : public VXWriteFxn<VXScalarGrid> {
 public:
  const char* GetTag() const override;
  VXScalarGridWriteFxn* CreateCopy() const override;
  bool operator()(vxostream& out, const VXScalarGrid& grid, const VXBinaryIOHandlerBase& handler) override;
};
class VXGRID_API VXScalarGridReadFxn : public VXReadFxn<VXScalarGrid> {
 public:
  const char* GetTag() const override;
  VXScalarGridReadFxn* CreateCopy() const override;
  unsigned int operator()(vxistream& in, VXScalarGrid& grid, unsigned long length,
                          const VXBinaryIOHandlerBase& handler) override;
};

/// Adds the records of grids and of Gaussians to a handler, and "VXBaseVXScalarGrid", "VXBaseVXSkewGrid" and
/// "VXBaseVXZemoGrid" for grids that are attributes. True.
VXGRID_API bool VXInitGridHandlers(VXBinaryIOHandlerBase& handler);
/// The same on the handler of a molecule stream, which has them anyhow: the library registers them at load.
VXGRID_API bool VXInitGridHandlers(vxmolstreambase& stream);

}  // namespace VXCore
