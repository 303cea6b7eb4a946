#pragma once

#include <vector>

#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/host/export.h>
#include <vxgrid/realspace/fit_statistics.h>

namespace VXCore {

class VXMolBase;
class VXTracerBase;

/// How well a model fits a map: both statistics of the whole and of each residue, -1.0 where they fail.
struct VXModelFit {
  VXFitStatistics whole;
  std::vector<VXResidueFit> residues;
};

/// Scores a model against a map of its crystal, as the map and the model come from their files:
///
///  - atoms without a B factor or an occupancy (0) get 20 Å² and 1;
///  - the map is brought into units of its sigma, unless it is (VXSigmaNormalizeGrid);
///  - the symmetry is that of the model's CRYST1 record where that has the cell of the map, else the map's;
///  - the box around the model is cut out of the crystal that the map describes (VXCutModelBox);
///  - points within `radius` (Å) of the atoms count: see VXGetEDSRadius.
///
/// What is assumed or replaced is reported as Warnings. False, after one that says why, for a model without
/// atoms or residue data, with B factors outside 0 to 10000 Å², or away from the map, for symmetry that does
/// not fit the cell, for a model too large to be scored, and when no residue has a score. When the tracer
/// asks to stop, the rows end there.
VXGRID_API bool VXFitModel(VXModelFit& fit, VXSkewGrid map, const VXMolBase& model, double radius,
                           VXTracerBase& tracer);

}  // namespace VXCore
