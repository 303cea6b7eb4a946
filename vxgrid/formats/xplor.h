#pragma once

#include <vxgrid/grid/zemogrid.h>
#include <vxgrid/host/stream.h>

namespace VXCore {

/// Reads an X-PLOR map, in its text form or its unformatted form, into a grid: a box of samples in a cell, as
/// VXReadCCP4Map places it. Periods, first and last indices and the order of the axes come from the file; an
/// axis that holds exactly one period gets one more sample, which repeats the first. All axes become
/// reentrant. The grid gets the title "xplor"; it has no space group.
///
/// The form is told by bytes 4 to 7, as a number in the machine's order: 1 to 100 is the count of title lines
/// of an unformatted file. A text file is read from where the stream stood, in lines of at most 1023
/// characters; what is longer counts as more lines.
///
/// False with a Warning for what the file does not say: the count of titles, the nine numbers of the box, a
/// cell, the order of the axes, a box that ends before it starts, more samples than a grid can hold, a sample
/// of a text map that is no number, and a file that ends before its samples. The grid then stays as it was.
VXGRID_API bool VXReadXPLORMap(VXHost::vxistream& in, VXZemoGrid& grid);

}  // namespace VXCore
