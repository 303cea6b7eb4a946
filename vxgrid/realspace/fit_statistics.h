#pragma once

#include <vector>

#include <vxgrid/host/export.h>
#include <vxgrid/host/residue.h>

namespace VXCore {

class VXMolBase;
class VXScalarGrid;
class VXSkewGrid;
class VXTracerBase;

// How well a model fits a map, over the grid points within `radius` (Å) of its atoms other than hydrogen:
//   RSR  = sum |calc - obs| / sum |calc + obs|                       0 for a perfect fit; scales matter
//   RSCC = the linear correlation coefficient of obs and calc        1 for a perfect fit; scales do not
//
// Both maps are resampled on one regular grid around the model, 4.0 Å larger than its atoms. Without a
// calculated map it is computed from the model. A result of -1.0 means failure, with a Warning: fewer than
// two points inside the mask (a model beside the observed map, or of hydrogens only, has none), for RSCC no
// variation in one of the maps, or no residue data to compute a map from. VXGetEDSRadius gives the usual
// radius.

VXGRID_API double VXRSR(const VXSkewGrid& obs, const VXSkewGrid& calc, const VXMolBase& mol, double radius);
VXGRID_API double VXRSR(const VXScalarGrid& obs, const VXScalarGrid& calc, const VXMolBase& mol,
                        double radius);
VXGRID_API double VXRSR(const VXSkewGrid& obs, const VXMolBase& mol, double radius);
VXGRID_API double VXRSR(const VXScalarGrid& obs, const VXMolBase& mol, double radius);
/// Both maps from models; the mask is that of `a`.
VXGRID_API double VXRSR(const VXMolBase& a, const VXMolBase& b, double radius);

VXGRID_API double VXRSCC(const VXSkewGrid& obs, const VXSkewGrid& calc, const VXMolBase& mol, double radius);
VXGRID_API double VXRSCC(const VXScalarGrid& obs, const VXScalarGrid& calc, const VXMolBase& mol,
                         double radius);
VXGRID_API double VXRSCC(const VXSkewGrid& obs, const VXMolBase& mol, double radius);
VXGRID_API double VXRSCC(const VXScalarGrid& obs, const VXMolBase& mol, double radius);
VXGRID_API double VXRSCC(const VXMolBase& a, const VXMolBase& b, double radius);

/// RSCC that leaves on the molecule what it was computed from, as VXScalarGrid attributes: "scatter" (the
/// calculated map, 0 outside the mask), "mask" (2.0 inside, 0 outside) and "ed" (the observed map). They are
/// stored when the statistic fails, too.
VXGRID_API double VXAnnotateRSCC(const VXSkewGrid& obs, const VXSkewGrid& calc, VXMolBase& mol,
                                 double radius);
VXGRID_API double VXAnnotateRSCC(const VXScalarGrid& obs, const VXScalarGrid& calc, VXMolBase& mol,
                                 double radius);
VXGRID_API double VXAnnotateRSCC(const VXSkewGrid& obs, VXMolBase& mol, double radius);
VXGRID_API double VXAnnotateRSCC(const VXScalarGrid& obs, VXMolBase& mol, double radius);
VXGRID_API double VXAnnotateRSCC(VXMolBase& a, const VXMolBase& b, double radius);

/// The statistic of each residue, as the float attribute "rscc" or "rsr" of its atoms; -1.0 where it fails.
/// Without `calc` one calculated map, of the whole model on the lattice of `obs`, serves all residues.
/// The tracer hears the number of each residue, from 0, and the total. True always.
VXGRID_API bool VXResidueRSCC(const VXSkewGrid& obs, const VXSkewGrid& calc, VXMolBase& mol, double radius,
                              VXTracerBase& tracer);
VXGRID_API bool VXResidueRSCC(const VXSkewGrid& obs, VXMolBase& mol, double radius, VXTracerBase& tracer);
VXGRID_API bool VXResidueRSR(const VXSkewGrid& obs, const VXSkewGrid& calc, VXMolBase& mol, double radius,
                             VXTracerBase& tracer);
VXGRID_API bool VXResidueRSR(const VXSkewGrid& obs, VXMolBase& mol, double radius, VXTracerBase& tracer);

/// Both statistics at once: the numbers of VXRSCC and VXRSR in little more than the time of one of them.
struct VXFitStatistics {
  double rscc = -1.0;
  double rsr = -1.0;
};
VXGRID_API VXFitStatistics VXGetFitStatistics(const VXSkewGrid& obs, const VXSkewGrid& calc,
                                              const VXMolBase& mol, double radius);
VXGRID_API VXFitStatistics VXGetFitStatistics(const VXSkewGrid& obs, const VXMolBase& mol, double radius);

/// One row of a residue table.
struct VXResidueFit {
  VXResidue residue;
  VXFitStatistics fit;
};
/// Both statistics of every residue in molecule order: the numbers of VXResidueRSCC and VXResidueRSR before
/// they are rounded to float. The molecule is not annotated. Ends early, with the rows so far, when the
/// tracer asks to stop.
VXGRID_API std::vector<VXResidueFit> VXGetResidueFit(const VXSkewGrid& obs, const VXSkewGrid& calc,
                                                     const VXMolBase& mol, double radius,
                                                     VXTracerBase& tracer);
VXGRID_API std::vector<VXResidueFit> VXGetResidueFit(const VXSkewGrid& obs, const VXMolBase& mol,
                                                     double radius, VXTracerBase& tracer);

}  // namespace VXCore
