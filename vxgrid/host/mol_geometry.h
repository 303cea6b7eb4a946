#pragma once

#include <vxgrid/host/molecule.h>

namespace VXCore {

/// The box of n points x, y, z:  extents = max - min,  center = max - extents / 2  per axis. Points with a
/// coordinate that is not finite are left out; all zero when no point counts.
VXGRID_API void VXGeom3DGetCenterAndExtents(const float* coords, unsigned int n, float* center,
                                            float* extents);

/// The same for the atoms of a molecule. False when no atom counts.
VXGRID_API bool VXGetCenterAndExtents(const VXMolBase& mol, float* center, float* extents);

/// The mean of the atoms' places, weighted by the standard atomic weights, or with `weighted` false each atom
/// alike. Atoms without finite coordinates are left out; weights that are all 0 count alike. Sums in double.
/// False, with zeros, when no atom counts.
VXGRID_API bool VXGetCenterOfMass(const VXMolBase& mol, float* center, bool weighted = true);

/// xyz' = M xyz for all atoms in all conformers, M a row-major 3x3 matrix.
VXGRID_API void VXRotate(VXMolBase& mol, const float* matrix);
VXGRID_API void VXRotate(VXMolBase& mol, const double* matrix);

/// xyz' = xyz + v for all atoms in all conformers.
VXGRID_API void VXTranslate(VXMolBase& mol, const float* vector);
VXGRID_API void VXTranslate(VXMolBase& mol, const double* vector);

}  // namespace VXCore
