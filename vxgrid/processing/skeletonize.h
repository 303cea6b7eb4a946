#pragma once

#include <vxgrid/host/export.h>

namespace VXCore {

class VXScalarGrid;

/// The `spacing` of VXSkeletonizeGrid that leaves the lattice as it is.
inline constexpr float VXNoResampling = -1.0f;
/// The `level` of VXExtractBlob, the largest float, that stands for the value at the seed.
inline constexpr float VXLevelOfSeed = 3.402823466e+38f;

/// Reduces what is not below a threshold to its skeleton: a grid of 0 and 1 (VXThinGrid).
///
/// A spacing other than -1 first resamples the box of the grid (VXGetCenterAndExtents) on a lattice of its
/// own (VXMakeGridFromCenterAndExtents, VXInterpolateBetweenGrids). That such a lattice cannot be made is not
/// looked at: a spacing of 0 leaves one sample. Values equal to the threshold stay, and so does not-a-number.
///
/// Returns the number of rounds of the thinning, at least 1.
VXGRID_API int VXSkeletonizeGrid(VXScalarGrid& grid, float threshold, float spacing = VXNoResampling);

/// Keeps the region of a grid that is connected with an element, `seed`, by points not below a level, and
/// sets all other values to 0.
///
/// Points connect to 26 neighbours by linear element indices alone: at the end of a row the region goes on at
/// the start of a neighbouring row, and at the end of a plane in the next one. This is meant: only the first
/// and the last element of the grid end it. Where not-a-number stands it goes on, which is not below any
/// level.
///
/// The seed stays whatever its value. A level below 0, or not-a-number, keeps nothing but the seed.
///
/// Says as Info "gsize ", "The contour level is " and "Keeping " with the number of points that were cleared.
/// False with an Error for a seed that is no element of the grid.
VXGRID_API bool VXExtractBlob(VXScalarGrid& grid, unsigned int seed, float level = VXLevelOfSeed);

}  // namespace VXCore
