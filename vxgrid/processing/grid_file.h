#pragma once

#include <vxgrid/processing/grid_struct.h>

namespace VXCore {

/// Reads a private binary grid file (see vi_write_grid) into the record; the arrays are new, from the C heap,
/// null where the file has none. `name` stays. `reserved` is not looked at.
///
/// Short content is not detected: what the file does not hold reads as 0. Returns 1, or 0 with a Warning when
/// the file does not open, or when it announces a lattice that is impossible or out of proportion to its
/// length.
VXGRID_API int vi_read_grid(int reserved, GridStruct* out, const char* path);

/// Writes the private grid file.
///
/// format 1, binary in the machine's byte order: floats xmid, ymid, zmid, spacing, inverse_spacing;
///   ints xdim, ydim, zdim and content, which is `count`: 1 the floats follow, 2 the integers, 3 first the
///   integers, then the floats. vi_read_grid takes the first block of content 3 as the floats: such a file
///   comes back with the two arrays exchanged.
/// format 2, text: `count` floats to a line, after a header and one blank line of 13 count + 2 blanks.
///   A count below 1 is refused with a Warning.
/// Any other format writes nothing and returns 1.
///
/// Returns 1, or 0 when the file does not open (said on standard output in binary form, as a Warning in text
/// form) or could not be written to its end.
VXGRID_API int vi_write_grid(int reserved, GridStruct grid, int format, const char* path, int count);

}  // namespace VXCore
