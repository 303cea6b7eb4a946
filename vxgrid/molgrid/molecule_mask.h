#pragma once

#include <vxgrid/host/export.h>

namespace VXCore {

class VXMolBase;
class VXScalarGrid;
class VXZemoGrid;

// Masks cut values out of a grid. With v a value of the grid, m the molecule's density at its place (the sum
// of the atoms' Gaussians of prefactor 2.7, on the grid's own lattice) and c a number of the caller:
//
//   mode  type                 v becomes
//    4    "gaussian"           0 where m > c: the inside of the molecule goes
//    5    "gaussian-"          0 where m < c: only the inside stays
//    6    "gaussian_smooth"    v * exp(-c m), in float
//    7    "gaussian_smooth-"   v * (1 - exp(-c m)), in double
//
// Comparisons are strict: a value at m = c stays either way. Modes 0 to 3 belong to other kinds of mask.

/// Masks a grid by a molecule; c is 0.5 in the forms without it. False for another mode, and on a scalar
/// grid, with one Warning, for a molecule without atoms or one that is not three-dimensional; the grid then
/// stays. Type, title and attributes of the grid stay always. A grid of one sample counts as not sized and
/// stays.
VXGRID_API bool VXMaskGridByMolecule(VXScalarGrid& grid, const VXMolBase& mol, unsigned int mode);
VXGRID_API bool VXMaskGridByMolecule(VXScalarGrid& grid, const VXMolBase& mol, unsigned int mode, float c);
VXGRID_API bool VXMaskGridByMolecule(VXZemoGrid& grid, const VXMolBase& mol, unsigned int mode);
VXGRID_API bool VXMaskGridByMolecule(VXZemoGrid& grid, const VXMolBase& mol, unsigned int mode, float c);

/// Masks a grid by n spheres, 3 n coordinates and n radii in Å, as VXMaskGridValues does with c = 0.5. The
/// density is that of vx_make_gaussian_grid_explicit: a Gaussian ends at the sphere's own radius. False, with
/// the grid untouched, for another mode or a grid of one sample.
VXGRID_API bool VXMaskGridByCoordsAndRadii(VXScalarGrid& grid, const float* coords, const float* radii,
                                           unsigned int n, unsigned int mode);

/// Masks the first float field by its own values: "value+" sets v to 0 where v > threshold, "value-" where
/// v < threshold. 1, on an empty grid too; 0 for another type.
VXGRID_API int vx_mask_grid(VXZemoGrid& grid, float threshold, const char* type);

/// The same by the value of `mask` with the same index, types "grid+" and "grid-". The mask has the size of
/// the grid; values beyond its end stay as they are.
VXGRID_API int vx_mask_grid(VXZemoGrid& grid, const VXZemoGrid& mask, float threshold, const char* type);

/// The same by a molecule, types as in the table above. A molecule without atoms has density 0 everywhere.
VXGRID_API int vx_mask_grid(VXZemoGrid& grid, const VXMolBase& mol, float c, const char* type);

}  // namespace VXCore
