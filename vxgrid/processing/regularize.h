#pragma once

#include <vxgrid/host/export.h>

namespace VXCore {

class VXScalarGrid;
class VXSkewGrid;
class VXZemoGrid;

/// Makes an axis-aligned grid of the box of an oriented one (VXGetCenterAndExtents), resampled at `spacing`
/// (0: the source's own), periodically where the source is re-entrant. A source without orientation that has
/// the spacing asked for is copied.
VXGRID_API bool VXMakeRegularGrid(VXZemoGrid& out, const VXZemoGrid& in, float spacing);

/// The scalar grid of a skew one, with its attributes. A regular one (VXSkewGrid::IsRegular) is copied,
/// whatever the spacing, and the type is then 0; any other is resampled as above and keeps type and title.
VXGRID_API bool VXMakeRegularGrid(VXScalarGrid& out, const VXSkewGrid& in, float spacing);

/// Resamples a box of the source's last float field: `extents` are full widths, spacing 0 means the source's,
/// `reentrant` wraps the source periodically (otherwise points outside it are 0). `out` gets the source's
/// title and, in the scalar forms, its type and attributes. False when the box cannot be sized or the source
/// not be resampled.
VXGRID_API bool VXMakeRegularSubGrid(VXZemoGrid& out, const VXZemoGrid& in, const float* center,
                                     const float* extents, float spacing, bool reentrant);
VXGRID_API bool VXMakeRegularSubGrid(VXScalarGrid& out, const VXScalarGrid& in, const float* center,
                                     const float* extents, float spacing, bool reentrant);
VXGRID_API bool VXMakeRegularSubGrid(VXScalarGrid& out, const VXSkewGrid& in, const float* center,
                                     const float* extents, float spacing, bool reentrant);

/// The regulariser: samples a lattice, seen through its orientation matrix, at every point of `out`.
///
/// mode         0 clipped: trilinear inside the source, 0 outside; otherwise periodic, with a period of
///              dim - 1 cells (the last plane is the image of the first)
/// values       dims[0] dims[1] dims[2] floats, x fastest, about `mid`
/// orientation  3 x 3, row-major: a point p of the source lattice stands at R (p - mid) + mid
/// corners      the source's eight corners, 24 floats, or null: where `out` has no lattice yet (dimensions of
///              product below 2) it gets the bounding box of these at the source's spacing
///
/// Positions are built by adding the output spacing, along a row in periodic mode the fractional step: their
/// rounding is part of the result and starts anew with each row. Returns 1; 0, with `out` sized and its
/// values zero or partly written, for a source with a dimension of 1 or less, an overflow of either size (two
/// Warnings), no lattice and no corners, or a coordinate that cannot be wrapped.
VXGRID_API int vx_regularize_grid_from_grid_params(VXZemoGrid& out, int mode, const float* values,
                                                   const float* mid, const int* dims, float spacing,
                                                   const float* orientation, const float* corners);

/// The regulariser on a grid's current float field, orientation and corners.
VXGRID_API int regularize_grid(const VXZemoGrid& in, int mode, VXZemoGrid& out);
VXGRID_API int vx_regularize_grid(const VXZemoGrid& in, VXZemoGrid& out);             ///< clipped
VXGRID_API int vx_regularize_grid_reenterent(const VXZemoGrid& in, VXZemoGrid& out);  ///< periodic

/// A regular grid of half extents about a centre; spacing 0 means that of `in`. Returns 1 whatever the
/// regulariser gave, 0 when no spacing is known.
VXGRID_API int vx_make_regularized_subgrid(const VXZemoGrid& in, float* center, float* half_extents,
                                           float spacing, VXZemoGrid& out);
VXGRID_API int vx_make_regularized_subgrid_reenterent(const VXZemoGrid& in, float* center,
                                                      float* half_extents, float spacing, VXZemoGrid& out);

}  // namespace VXCore
