#pragma once

#include <vxgrid/host/export.h>

namespace VXCore {

class VXScalarGrid;
class VXSkewGrid;

/// Thins the non-zero part of a grid to a core of lines, by rounds of twelve parallel sub-passes.
///
/// Every non-zero value, negative ones and not-a-number too, is an object point; the others, -0 among them,
/// are background. A sub-pass stands for one of the twelve edge directions of the cube: an object point with
/// background on one of the two faces at that edge goes when its 3 x 3 x 3 neighbourhood matches one of
/// fourteen templates, turned into the direction. All points of a sub-pass go at once. A round that deletes
/// nothing is the last.
///
/// Eleven of the sub-passes keep the object connected, with its tunnels and hollows. The twelfth does not ask
/// the templates: its points all go if the last candidate (in element order) of the latest sub-pass that had
/// one matched, else all stay. It thins harder, and it can cut thin parts and take small ones away whole.
///
/// The values become exactly 0 and 1; geometry and attributes stay. The outermost layer counts as neighbours
/// while the work goes on and is cleared at the end, so a grid with a dimension below 3 becomes 0 everywhere.
///
/// Returns the number of rounds, at least 1. Needs memory for a few bits a sample. A VXSkewGrid is thinned on
/// its lattice, whatever its axes.
VXGRID_API int VXThinGrid(VXScalarGrid& grid);
VXGRID_API int VXThinGrid(VXSkewGrid& grid);

}  // namespace VXCore
