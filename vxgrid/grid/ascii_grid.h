#pragma once

#include <vxgrid/grid/value_grid.h>
#include <vxgrid/grid/zemogrid.h>
#include <vxgrid/host/stream.h>

namespace VXCore {

/// The Ascii grid: text in the lines
///
///     Title: free text
///     Mid:     0.000000     0.000000     0.000000
///     Dim:      2      2      2
///     Spacing:     1.000000
///     Values:
///
/// and then one value a line, x fastest, then y, then z. Numbers do not depend on the locale.
///
/// False, with one Warning that names the line, when a header line is not as above; runs of blanks in a title
/// become one. A value line that is no number is one Warning and the sample stays 0. An end before the last
/// value gives two Warnings, the second with the number of values, and false; what was read is kept.
VXGRID_API bool VXReadAsciiGrid(VXHost::vxistream& in, VXGrid<float>& grid);

/// The same into float field 0. The title read is not passed on: the grid keeps its own.
VXGRID_API bool VXReadAsciiGrid(VXHost::vxistream& in, VXZemoGrid& grid);

/// Writes a grid, or float field 0 of one. Always true: a disc that is full shows in the stream.
VXGRID_API bool VXWriteAsciiGrid(VXHost::vxostream& out, const VXFixedGrid<float>& grid);
VXGRID_API bool VXWriteAsciiGrid(VXHost::vxostream& out, const VXZemoGrid& grid);

}  // namespace VXCore
