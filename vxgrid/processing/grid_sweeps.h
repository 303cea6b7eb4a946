#pragma once

#include <vxgrid/processing/grid_struct.h>

namespace VXCore {

/// Boundary routines make six sweeps: the planes z = 0 and z = zdim - 1, the first and then the last element
/// of every row, the first and then the last row of every plane. An edge point is visited twice, a corner
/// three times: vi_scale_boundary multiplies it as often, vi_PrintBoundary prints it as often.
VXGRID_API void vi_Boundary0(GridStruct grid);
VXGRID_API void vi_Boundary_f0(GridStruct grid, float value);
VXGRID_API void vi_scale_boundary(GridStruct grid, float factor);
/// One line "index value" per visit on standard output.
VXGRID_API void vi_PrintBoundary(GridStruct grid);

/// Zeroes every point whose three indices lie in 1 to dim - 2.
VXGRID_API void vi_Inner_f0(GridStruct grid);

/// Forward differences along x, y and z, over the spacing. `floats` holds four blocks of N = xdim ydim zdim
/// floats: the values, then room for the three components. There is no edge treatment: the last point of a
/// row differences against the first of the next, and beyond the values stand the x components. Returns 1.
VXGRID_API int vi_add_simple_gradients_to_grid(GridStruct* grid);

}  // namespace VXCore
