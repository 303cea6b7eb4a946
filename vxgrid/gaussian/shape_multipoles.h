#pragma once

#include <vxgrid/gaussian/gsphere.h>
#include <vxgrid/host/export.h>

namespace VXCore {

// Moments of a shape that is a list of Gaussian spheres. A record counts with its volume, and one of odd
// order with -|volume|: it is an overlap, which inclusion and exclusion take off. Moments of a record are
// those of a Gaussian of width a about its centre: x^2 + 1/(2a), x (x^2 + 3/(2a)), x (y^2 + 1/(2a)), x y z.
//
// Sums run in single precision over the records in their order, about the origin, so a shape away from it
// loses digits. Moments of drug-like molecules agree between poses to 1e-4 while their centre is within 5 Å
// of the origin, to 2e-3 at 30 Å; at 100 Å third moments mean little. Bring a molecule near the origin first.

/// When not 0, vx_CalcShapeMultipoles gives the third moments in irreducible form. One flag for the process;
/// set it before threads start.
VXGRID_API extern int IRREDUCIBLE;
VXGRID_API void vx_shape_multipoles_irreducible_octopoles_on();
VXGRID_API void vx_shape_multipoles_irreducible_octopoles_off();

/// Ten third moments, in the order below, to irreducible form: the three traces xxx + xyy + xzz, ... (a
/// vector in the frame) and seven components free of traces.
VXGRID_API void vx_make_octopoles_irreducible(float* octopoles);

/// Moments of the shape about its centre, in the frame of its principal axes.
///
/// multipoles  14 floats: the volume (Å^3); three second moments, the largest first; ten third moments xxx,
///             yyy, zzz, xxy, xxz, xyy, yyz, xzz, yzz, xyz; second and third ones divided by the volume
/// center      the centre of volume
/// rotation    nine floats, row-major, whose rows are the axes: right-handed, with the x and the y axis
///             turned so that xxx and yyy are not negative
///
/// Axes are not settled by every shape. Equal second moments leave them to the eigensolver, and single third
/// moments then depend on the pose. An axis x or y along which the third moment is 0 takes the negative sense
/// of the eigensolver's, and z follows: with a mirror plane across x or y, or a twofold axis along z, the
/// moments odd in z have either sign.
///
/// Returns 1, or 0 when a moment is not finite, as for a volume of 0.
VXGRID_API int vx_CalcShapeMultipoles(int n, const Gsphere* spheres, float* multipoles, float* center,
                                      float* rotation);

/// The principal axes, as rows, and the centre of volume alone. A matrix of second moments whose largest
/// diagonal element is more than 1000 times the largest other one counts as diagonal: the rotation is then
/// the unit matrix, and the axes are not sorted. Returns 1, or 0 with zeros for no records or a volume of 0.
VXGRID_API int vx_CalcShapeInertialFrame(int n, const Gsphere* spheres, float* rotation, float* center);

/// Sums of  V (x^2 + 1/(2a)),  V (y^2 + 1/(2a)),  V (z^2 + 1/(2a))  with the centres of the records in the
/// frame given by coords, three floats a record. Not numbers for n < 1. Returns 1.
VXGRID_API int vx_CalcInFrameShapeQuadrapoles(int n, const float* coords, const Gsphere* spheres, float* out);
/// Sums of  x V (x^2 + y^2 + z^2 + 5/(2a))  and the same led by y and by z; otherwise as above.
VXGRID_API int vx_CalcInFrameShapeOctopoles(int n, const float* coords, const Gsphere* spheres, float* out);

}  // namespace VXCore
