#pragma once

#include <vxgrid/host/export.h>

namespace VXCore {

class VXSkewGrid;
class VXZemoGrid;

/// Adds a vector to the grid's midpoint. The space group is cleared: a moved grid claims no crystal symmetry.
/// False for a null pointer.
VXGRID_API bool VXTranslate(VXZemoGrid& grid, const float* shift);
VXGRID_API bool VXTranslate(VXZemoGrid& grid, const double* shift);
VXGRID_API bool VXTranslate(VXSkewGrid& grid, const float* shift);
VXGRID_API bool VXTranslate(VXSkewGrid& grid, const double* shift);

/// Turns the grid about the origin by a row-major 3 x 3 matrix M: midpoint M mid, orientation M O. The values
/// stay and the space group is cleared. False for a null pointer.
VXGRID_API bool VXRotate(VXZemoGrid& grid, const float* matrix);
VXGRID_API bool VXRotate(VXZemoGrid& grid, const double* matrix);
VXGRID_API bool VXRotate(VXSkewGrid& grid, const float* matrix);
VXGRID_API bool VXRotate(VXSkewGrid& grid, const double* matrix);

/// n points (3 n floats) p become R (p - c) + c, with c the origin for a null `center`. Returns 1.
VXGRID_API int vx_transform_coordinates_by_orientation_matrix(float* xyz, int n, const float* matrix,
                                                              const float* center);
/// The inverse. Returns 0, the points as they were, when the determinant is 0.
VXGRID_API int vx_untransform_coordinates_by_orientation_matrix(float* xyz, int n, const float* matrix,
                                                                const float* center);

/// The same with a grid's orientation and midpoint. Return 0 when the grid has no orientation.
VXGRID_API int vx_transform_coordinates_by_grid_orientation(float* xyz, int n, const VXZemoGrid& grid);
VXGRID_API int vx_untransform_coordinates_by_grid_orientation(float* xyz, int n, const VXZemoGrid& grid);

/// Sets the orientation that aligns the principal axes of the grid's positive values (their second moments
/// about the centre of mass) with the coordinate axes; midpoint and values stay. Returns 0 when the grid has
/// no floats.
VXGRID_API int vx_orient_grid_by_moments_of_inertia(VXZemoGrid& grid);

}  // namespace VXCore
