#pragma once

#include <functional>

#include <vxgrid/processing/grid_struct.h>

namespace VXCore {

/// Fills `target` by sampling `source`; both keep their lattices. A target point outside the source stays as
/// it is.
///
/// mode  0 the six faces of the target, 1 its interior (indices 1 to dim - 2), 2 all points, trilinear;
///       3, 4, 5 the same with the quadratic B-spline; anything else writes nothing
///
/// Where a face of the target coincides with that of the source, modes 0, 2, 3 and 5 walk the target with
/// 0.99999 of its spacing, so that its last point is sampled just inside the last cell. The quadratic kernel
/// writes 0 where its 27 neighbours would leave the block, judged by the linear index alone: a sample in a
/// first or last row takes neighbours from the adjacent row.
VXGRID_API void vi_int_btw_grids(GridStruct source, GridStruct target, int mode);

/// Mode 2 into a target that nobody keeps: `take` gets its planes, xdim * ydim floats each, one z after the
/// other, with 0 at the points outside the source. target.floats is not looked at.
VXGRID_API void vi_int_btw_grids_by_plane(GridStruct source, GridStruct target,
                                          const std::function<void(const float*)>& take);

}  // namespace VXCore
