#pragma once

#include <vxgrid/processing/grid_struct.h>

namespace VXCore {

class VXScalarGrid;

enum class VXMerge { Add, Subtract, Put };

/// Adds the values of a grid to those of another one where the two overlap, subtracts or puts them there.
/// False, with one Warning and nothing changed, for lattices that do not match (vi_zero_offset).
VXGRID_API bool VXMergeGrids(VXScalarGrid& grid, const VXScalarGrid& other, VXMerge how);

/// Where the lattice of `b` starts inside that of `a`: element i of b lies on element i + offset of a.
/// Returns 1, or 0 with one Warning, offsets untouched, when the spacings differ by more than 1e-5 or the
/// midpoints are not a whole number of steps apart (tolerance 1e-5 of a step; x, y, z in turn).
VXGRID_API int vi_zero_offset(GridStruct a, GridStruct b, int* x, int* y, int* z);

/// Adds (op 1) the floats of b to those of a, subtracts (2) or puts (3) them at the offset of vi_zero_offset.
///
/// A lattice that does not match has been warned about and is then merged at offset 0. The low side is
/// clipped; the high side is not: a row of b that is too long goes on into the next row of a, as far as a's
/// block reaches. Returns 1 (also for an unknown op, which does nothing), or 0 with a Warning for spacing 0.
VXGRID_API int vi_merge_grids(GridStruct* a, GridStruct b, int op);
VXGRID_API int vi_add_grid(GridStruct* a, GridStruct b);
VXGRID_API int vi_sub_grid(GridStruct* a, GridStruct b);
VXGRID_API int vi_put_grid(GridStruct* a, GridStruct b);

/// Copies the block of `large` that is centred on `small` into it, floats and integers (those that both
/// have). The offset is (large.dim - small.dim) / 2, truncated toward zero.
VXGRID_API void vi_simple_grid_remap(GridStruct small, GridStruct large);

/// The same inside one pair of arrays: they hold an xlarge by ylarge by zlarge lattice, and the centred block
/// of the dimensions of `small` moves down to their start.
VXGRID_API void vi_simple_one_grid_remap(GridStruct small, int xlarge, int ylarge, int zlarge);

/// Red-black packing of the interior (indices 1 to dim - 2): every second point, floats to `half` for pack
/// non-zero, `half` to floats for 0. Phase 0 begins at x = 2 of the first row, otherwise at x = 1; the
/// pattern is a three-dimensional checkerboard.
VXGRID_API void vi_pack_half(GridStruct grid, float* half, int pack, int phase);

}  // namespace VXCore
