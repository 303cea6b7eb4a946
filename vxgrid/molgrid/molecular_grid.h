#pragma once

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/grid/zemogrid.h>
#include <vxgrid/host/molecule.h>
#include <vxgrid/processing/grid_struct.h>

namespace VXCore {

/// Atoms as Gaussians on a grid. Each atom is  2.7 exp(-w r^2)  with w such that its volume is that of the
/// atom's sphere, and is followed out to where it falls to 0.001. A molecule in which no radius is above 0
/// counts with the radii of AssignZemoMolRadii and keeps its own.
///
/// A grid of one sample or none is sized from the atoms, with 4 Å on each side: the midpoint is that of their
/// box, dim = trunc((max - min + 8) / spacing) + 3. Any other keeps its lattice, whatever `spacing` says, and
/// the Gaussians are added to the values of its current field: a second call doubles them.
///
/// The form without spacing takes the grid's own. False, with the grid as it was, for a molecule without
/// atoms. A spacing that is not above 0, or a lattice that no grid can hold, leaves the values out with one
/// Warning, and counts as done.
VXGRID_API bool VXMakeMolecularGaussianGrid(VXZemoGrid& grid, const VXMolBase& mol, float spacing);
VXGRID_API bool VXMakeMolecularGaussianGrid(VXZemoGrid& grid, const VXMolBase& mol);

/// The same for a plain grid, of which nothing but the geometry counts: with a spacing not even that, and the
/// lattice is sized from the atoms; without, the lattice stays, unless it has one sample or none. The former
/// values, title and attributes go, also when the result is false.
VXGRID_API bool VXMakeMolecularGaussianGrid(VXScalarGrid& grid, const VXMolBase& mol, float spacing);
VXGRID_API bool VXMakeMolecularGaussianGrid(VXScalarGrid& grid, const VXMolBase& mol);

/// The same with 1 or 0 as result: the sum of the Gaussians, and the product form 1 - prod(1 - g), a soft
/// union. The product form replaces the values of a grid instead of adding to them.
VXGRID_API int vx_make_molecular_gaussian_grid(const VXMolBase& mol, float spacing, VXZemoGrid& grid);
VXGRID_API int vx_make_molecular_product_gaussian_grid(const VXMolBase& mol, float spacing, VXZemoGrid& grid);
/// Either, by the modes of vi_gauss_grid.
VXGRID_API int vx_make_molecular_gaussian_grid_base(const VXMolBase& mol, float spacing, int mode,
                                                    VXZemoGrid& grid);

/// Adds n Gaussians, of 3 n coordinates, to the values of the grid's current field.
///
/// values      widths, or radii in Å of atoms with the width 2.344229 / r^2
/// prefactors  null stands for 2.7
/// A grid of one sample or none is sized here: centre and extents of the coordinates, a margin that is the
/// largest radius, or sqrt(-log(0.001 / P) / W) of the largest |prefactor| P and the smallest width W, and
/// dim = trunc((extent + 2 margin) / spacing) + 1; what is no spacing or no lattice gives one Warning and
/// no values. Any other keeps its lattice, whatever `spacing` says.
///
/// The touched points are a box, out to the radius R on each axis. R is the radius itself or, for widths,
/// sqrt(-log(0.001 / |p|) / w) with p the prefactor of the last Gaussian that came within reach of the
/// grid, 2.7 for the first: the reach is that of the one before on purpose. Roots, logarithms and exp are
/// worked out in double and rounded to float.
VXGRID_API void vx_make_gaussian_grid_explicit(const float* coords, const float* values,
                                               const float* prefactors, int n, float spacing,
                                               VXZemoGrid& grid, int values_are_widths);

/// Working record of an atom for the vi_ routines.
struct PdbStruct {
  float x, y, z;
  float other[6];  ///< not read here
};

/// Evaluates n Gaussians  p exp(-w r^2)  on the floats of a lattice.
///
/// records     PdbStruct, with arrays of widths and prefactors; or Gsphere, when both arrays are null, with
///             their own width, prefactor and cut-off radius. A radius of 0 is replaced in the record by
///             vi_gauss_rad(p, w, cutoff), which also is the radius of the other form.
/// mode        2 adds the Gaussians to the values; 4 makes each value 1 - prod(1 - g), whatever it was: up to
///             1 where every amplitude is, negative factors keep their sign. No other mode does anything.
/// reserved, extra  are not read
///
/// The points of a Gaussian are a ball of whole grid steps about the lattice point nearest to the centre,
/// whose radius is the cut-off radius plus the distance of that point. Each axis contributes a table of
/// exp(-a (i^2 - 2 d i)), filled by products from five exponentials, and  g = amp tz ty tx  in that order, in
/// float: both are part of the result. A Gaussian is left out when its cut-off sphere misses the lattice,
/// when its place or radius is not a number, and when its centre is more than 46340 steps outside.
/// Where a = width * spacing^2 is above 88, of an atom narrower than a sixth of the spacing, e = exp(2 d a)
/// may overflow and the values beside it with it. A lattice without floats, samples or a finite spacing above
/// 0 is left alone.
VXGRID_API void vi_gauss_grid(int reserved, int n, void* records, float* widths, float* prefactors,
                              float cutoff, int mode, GridStruct grid, float* extra);

/// Midpoint and dimensions of the lattice that holds n Gaussians out to where they fall to `cutoff`: the
/// bounds of all c -+ vi_gauss_rad(p, w, cutoff), and dim = 2 trunc((max - mid) / spacing) + 3, always odd.
/// The origin is the box of no Gaussians; a dimension that no int holds is the largest int.
VXGRID_API void vi_grid_size(int n, float* coords, float* widths, float* prefactors, float cutoff,
                             float spacing, float* xmid, float* ymid, float* zmid, int* xdim, int* ydim,
                             int* zdim);

}  // namespace VXCore
