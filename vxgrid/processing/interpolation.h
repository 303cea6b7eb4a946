#pragma once

#include <vector>

#include <vxgrid/host/export.h>
#include <vxgrid/processing/grid_struct.h>

namespace VXCore {

class VXMolBase;
class VXScalarGrid;

/// Reads the lattice at n points:
///
///   kind                    trilinear  quadratic  nearest point
///   atom records                0          1           6         nine floats a point, position first
///   float triples               2          3           7
///   double triples              4          5           8         narrowed to float
///
/// A point counts when it lies strictly inside mid -+ (dim - 1) spacing / 2 on each axis (half a spacing
/// further in for the quadratic kinds; the high limit also lies half the fraction of span / spacing lower).
/// For every other point `out` stays as it is. Trilinear: along x, then y, then z, each a + (b - a) t.
/// Nearest: the upper neighbour for t > 0.5. Quadratic: B-spline weights over 27 points, summed z slowest, x
/// fastest: (t^2 - t) / 2 + 0.125, 0.75 - t^2 and (t^2 - t) / 2 + 0.125 + t, with t in (-0.5, 0.5] from the
/// nearest point; it smooths and does not reproduce lattice values.
///
/// values   xdim ydim zdim floats in place of grid.floats
VXGRID_API void vi_map_to_atoms_from_grid_and_vals(void* points, int n, float* out, GridStruct grid,
                                                   const float* values, int kind);
/// The same with the values of the grid.
VXGRID_API void vi_map_to_atoms_from_grid(void* points, int n, float* out, GridStruct grid, int kind);

/// Quadratic B-spline values and, where `gradients` is not null, gradients (three floats a point, value per
/// unit of length) at n float triples. Outside the box that is half a spacing smaller than the lattice on
/// each face the value is 0 and the gradient not written; one Warning then tells how many points that were.
VXGRID_API void vi_quadratic_interpolation_and_derivativates(const float* xyz, int n, float* out,
                                                             float* gradients, GridStruct grid);

/// The same for a grid object. False when the grid has no dimension above 1.
VXGRID_API bool VXQuadraticInterpolationAndDerivatives(const VXScalarGrid& grid, const float* xyz,
                                                       unsigned int n, float* out, float* gradients);

/// The same at the atoms of a molecule: resizes `out` to NumAtoms and `gradients` to 3 NumAtoms. The points
/// are the first NumAtoms triples of the coordinates by atom index.
VXGRID_API bool VXQuadraticInterpolationAndDerivatives(const VXScalarGrid& grid, const VXMolBase& mol,
                                                       std::vector<float>& out,
                                                       std::vector<float>& gradients);

}  // namespace VXCore
