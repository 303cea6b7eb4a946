#pragma once

#include <vxgrid/host/export.h>

namespace VXCore {

class VXGridBase;
class VXScalarGrid;
class VXSkewGrid;
class VXZemoGrid;

/// Sizes a grid around a box of full widths `extents`: trunc((extent + 1e-5) / spacing + 1) points per axis,
/// so that an extent of a whole number of steps puts the outer samples on the faces. False for a null pointer
/// or spacing 0, and, dimensions as they were, when one passes 2^24 = 16777216 (with a Warning).
VXGRID_API bool VXMakeGridFromCenterAndExtents(VXZemoGrid& grid, const float* center, const float* extents,
                                               float spacing);
VXGRID_API bool VXMakeGridFromCenterAndExtents(VXScalarGrid& grid, const float* center, const float* extents,
                                               float spacing);

/// The grid's midpoint, and dim * spacing per axis: one spacing more than the samples span (extents are not
/// written while no spacing is set).
///
/// With an orientation the box of the eight oriented corner samples is given instead, moved by one spacing
/// along each axis; nothing is written when a dimension is 0.
VXGRID_API void VXGetCenterAndExtents(const VXGridBase& grid, float* center, float* extents);
VXGRID_API void VXGetCenterAndExtents(const VXZemoGrid& grid, float* center, float* extents);
VXGRID_API void VXGetCenterAndExtents(const VXSkewGrid& grid, float* center, float* extents);

/// Sizes a grid from half extents: trunc((2 h + 1e-5) / spacing) + 1 points per axis, in double. Returns 1,
/// or 0 for a null pointer or spacing 0.
VXGRID_API int vx_make_empty_grid(VXZemoGrid& grid, float* center, float* half_extents, float spacing);

/// The eight corner samples as 24 floats, x fastest, each turned by the orientation about the midpoint.
/// Returns 1.
VXGRID_API int vx_get_corners_of_grid(float* corners24, const VXZemoGrid& grid);

/// Cuts the block of samples that encloses n points (3 n floats) and a margin around them out of a grid,
/// current float and integer field, without interpolation.
///
/// The span of the grid along an axis is cut to a whole number before it is halved into bounds, and indices
/// count from the low bound so made. Returns 1; 0 with one Warning, `out` unchanged, when the box misses the
/// grid.
VXGRID_API int vx_make_subgrid_that_encloses_points(const VXZemoGrid& in, const float* xyz, int n,
                                                    float margin, VXZemoGrid& out);

}  // namespace VXCore
