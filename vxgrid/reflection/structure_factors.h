#pragma once

#include <vxgrid/host/export.h>

namespace VXCore {

class VXMolBase;
class VXReflection;
class VXTracerBase;

/// Fills Fcalc, PhaseCalc and Phase of a set with the structure factors of a model: the sum in double
/// precision, without lookup tables, over all operators of the set's space group and all atoms,
///   F(hkl) = sum of occupancy * f(s) * exp(-B s^2) * exp(2 pi i (hx + ky + lz)),   s = sin(theta) / lambda,
/// with f the nine-parameter form factor of the row that VXGetScatterType gives. Amplitudes are in electrons,
/// phases in degrees in [0, 360), both rounded to float at the end alone.
///
/// B factors and occupancies are those of the residue data. They count as they stand, negative ones too, also
/// for atoms on special positions, where several operators give the same place. Hydrogens scatter as
/// hydrogens. `skipped` counts the atoms that add nothing: those without residue data, without a row in the
/// table (unknown elements), and with coordinates, an occupancy or a B factor that are not finite.
///
/// A reflection's result depends on its own indices alone, so expanded sets serve as well. False, with one
/// Warning and the columns as they were, for a set without reflections, indices, space group or a cell with a
/// volume, and for a model without residue data.
///
/// VXReflection::SFCalc does the same with tables in whole degrees: faster, and good to about a percent.
VXGRID_API bool VXStructureFactors(VXReflection& set, const VXMolBase& model, unsigned int& skipped);

/// The same with reports of progress, about a hundred of them. When the tracer asks to stop, the result is
/// false and the columns are as they were.
VXGRID_API bool VXStructureFactors(VXReflection& set, const VXMolBase& model, unsigned int& skipped,
                                   VXTracerBase& tracer);

}  // namespace VXCore
