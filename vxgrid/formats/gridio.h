#pragma once

#include <string>

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/grid/zemogrid.h>
#include <vxgrid/host/stream.h>

namespace VXCore {

// Grids from files and into files. The format is a code (VXGridFormat) or follows from the extension of the
// file name, where a final ".gz" does not count. Everything is false, with a message, when it fails.

/// Reads with the reader of a format. The grid's type is the format code afterwards: type codes and format
/// codes share one number space, so that a CCP4 map counts as a map and an XPLOR map as a difference map.
VXGRID_API bool VXReadGrid(VXHost::vxistream& in, VXZemoGrid& grid, unsigned int code);

/// The same; with `regularise` the grid becomes the axis-aligned form of what was read (VXMakeRegularGrid at
/// the spacing of the file). The result is that of the reading alone; but false, with a Warning and the grid
/// as it was, where that form would take more points than both 2^24 and 64 times those of the file.
VXGRID_API bool VXReadGrid(VXHost::vxistream& in, VXZemoGrid& grid, unsigned int code, bool regularise);

/// From a file, which must not be empty.
VXGRID_API bool VXReadGrid(const std::string& name, VXZemoGrid& grid, bool regularise);
VXGRID_API bool VXReadGrid(const std::string& name, VXZemoGrid& grid);

/// Into the inner grid. The form by name also copies the attributes read to the skew grid itself. Without
/// enough memory both warn and give false.
VXGRID_API bool VXReadGrid(const std::string& name, VXSkewGrid& grid);
VXGRID_API bool VXReadGrid(VXHost::vxistream& in, VXSkewGrid& grid, unsigned int code);

/// Reads a skew grid and makes it regular: a plain lattice keeps its samples and gets type 0, an oblique one
/// is resampled at its own spacing and keeps the format code as type, unless it takes too many points for
/// that, as above. The grid stays as it was when the reading fails. Without enough memory both warn and give
/// false.
VXGRID_API bool VXReadGrid(const std::string& name, VXScalarGrid& grid);
VXGRID_API bool VXReadGrid(VXHost::vxistream& in, VXScalarGrid& grid, unsigned int code);

/// Writes with the writer of a format; an Error for a format that cannot be written. By name the file is
/// created, and so emptied, before its extension is looked at.
VXGRID_API bool VXWriteGrid(VXHost::vxostream& out, const VXZemoGrid& grid, unsigned int code);
VXGRID_API bool VXWriteGrid(const std::string& name, const VXZemoGrid& grid);
VXGRID_API bool VXWriteGrid(VXHost::vxostream& out, const VXSkewGrid& grid, unsigned int code);
VXGRID_API bool VXWriteGrid(const std::string& name, const VXSkewGrid& grid);

/// A plain grid goes into a CCP4 map by a way of its own (VXWriteCCP4Grid), into other formats as a skew
/// grid.
VXGRID_API bool VXWriteGrid(VXHost::vxostream& out, const VXScalarGrid& grid, unsigned int code);
VXGRID_API bool VXWriteGrid(const std::string& name, const VXScalarGrid& grid);

/// The older forms, 1 for success and 0 for failure: VXWriteGrid, and the reader that the extension names.
VXGRID_API int vx_write_grid_object(const char* path, const VXZemoGrid& grid);
VXGRID_API int vx_read_grid_object(const char* path, VXZemoGrid& grid);

}  // namespace VXCore
