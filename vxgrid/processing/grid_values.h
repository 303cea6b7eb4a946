#pragma once

#include <vxgrid/host/export.h>

namespace VXCore {

class VXScalarGrid;
class VXSkewGrid;
class VXZemoGrid;

/// Attributes of a grid. ALREADY_NORMALIZED (bool): the values have been divided by sigma. SIGMA (float):
/// that sigma. The others (float) are the statistics that a map file states about itself.
inline constexpr const char* ALREADY_NORMALIZED = "vx_no_norm";
inline constexpr const char* SIGMA = "SIGMA";
inline constexpr const char* ARMS = "ARMS";
inline constexpr const char* AMIN = "AMIN";
inline constexpr const char* AMAX = "AMAX";
inline constexpr const char* AMEAN = "AMEAN";

/// Divides the values by their standard deviation and marks the grid with ALREADY_NORMALIZED and SIGMA.
///
/// Sigma is the attribute ARMS where there is one, otherwise sqrt((S2 - S1^2 / n) / (n - 1)) from the sums of
/// the values and of their squares, summed in double in element order, each square formed in float. The mean
/// is not subtracted. A sigma of exactly 1 or not-a-number (a grid of one element) leaves the values and
/// gives 1; a constant grid has sigma 0 and its values become infinite or not-a-number. A grid that is marked
/// already is left alone with one Warning and gives its stored sigma. The skew form consults the attributes
/// of the inner grid and marks both.
VXGRID_API float VXSigmaNormalizeGrid(VXScalarGrid& grid);
VXGRID_API float VXSigmaNormalizeGrid(VXSkewGrid& grid);

/// Sets the outer layer to 0: of the grid, or of the current float field. True, always.
VXGRID_API bool VXClearGridBoundary(VXScalarGrid& grid);
VXGRID_API bool VXClearGridBoundary(VXZemoGrid& grid);
VXGRID_API bool VXClearGridBoundary(VXSkewGrid& grid);

/// Masks `count` values by kind: 4 sets to 0 where mask > 0.5, 5 where mask < 0.5, 6 multiplies by
/// exp(-mask / 2), 7 by 1 - exp(-mask / 2). False for another kind when there are values to mask.
VXGRID_API bool VXMaskGridValues(float* values, const float* mask, unsigned int count, unsigned int kind);

/// True if any value is less or greater than 0; not-a-number is neither.
VXGRID_API bool VXGridHasNonZeroValue(const VXScalarGrid& grid);
VXGRID_API bool VXGridHasNonZeroValue(const VXSkewGrid& grid);
VXGRID_API bool VXGridHasNonZeroValue(const VXZemoGrid& grid);

/// Gives every point of `target` inside the box of `source` the trilinear value there; the other points keep
/// theirs. Copies the attributes (and the type, between scalar grids). False, between VXZemoGrids only, when
/// the source has no floats set.
VXGRID_API bool VXInterpolateBetweenGrids(VXScalarGrid& target, const VXScalarGrid& source);
VXGRID_API bool VXInterpolateBetweenGrids(VXZemoGrid& target, const VXZemoGrid& source);

}  // namespace VXCore
