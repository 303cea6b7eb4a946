#pragma once

#include <vxgrid/grid/zemogrid.h>
#include <vxgrid/host/stream.h>

namespace VXCore {

/// Writes a grid in the GRD format, this system's own flat file: title, geometry with the flags of what is
/// set, all fields up to the current one of either part, orientation, wrap flags, cell, group and type, in
/// the byte order of this machine. Attributes stay behind, and so does what follows the 79th character of the
/// title. docs/formats.md has the layout. False when the stream failed.
///
/// On file the sign of z says that the grid wraps in x or y, and that of x and y that it wraps there: a wrap
/// in z alone is not kept, and one in x or y comes back with z.
VXGRID_API bool VXWriteGridGRD(VXHost::vxostream& out, const VXZemoGrid& grid);

/// Reads a GRD file in either byte order. The last field of either part is the current one. A file may end
/// after its fields, as they once did; it then has neither cell nor group nor type. A cell with all its
/// numbers and numbers of steps other than 0 replaces the orientation and the spacing that were stored.
///
/// False for a file that is cut off elsewhere, and with one Warning for a word that is no state, dimensions
/// that no grid has and more values than the file can hold; the grid is partly filled then.
VXGRID_API bool VXReadGridGRD(VXHost::vxistream& in, VXZemoGrid& grid);

}  // namespace VXCore
