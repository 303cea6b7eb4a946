#pragma once

#include <cstddef>
#include <vector>

#include <vxgrid/host/export.h>
#include <vxgrid/processing/grid_struct.h>

namespace VXCore {

class VXMolBase;
class VXScalarGrid;
class VXSkewGrid;
class VXZemoGrid;

/// How a value between samples is made: as the nearest one, trilinear, or by the quadratic B-spline.
enum class VXInterpolation { Nearest, Linear, Quadratic };

/// Values and, where `gradients` is not null, gradients (three floats a point, value per Å) at n points: 3 n
/// numbers in Å of type float or double, which is narrowed to float. Returns how many points the grid holds;
/// the others get `outside`, in their gradients too.
///
/// A grid holds the points from its first to its last sample on each axis, faces included (a thousandth of a
/// step beyond counts as on the face); for the quadratic kind those half a step inside. A grid of zemo or
/// skew kind that is re-entrant on an axis repeats itself on all three with a period of dim - 1 samples, as
/// in VXMakeRegularGrid, and holds every point that a period still moves in single precision, to some 10^8 Å
/// away. A grid with an axis of one sample holds none.
///
/// Where they have values, those are the ones of vi_map_to_atoms_from_grid and, of a zemo or skew grid (its
/// current float field, seen through its orientation), of VXMakeRegularSubGrid, bit for bit. The linear kind
/// has the gradient of the cell that the point is in, the nearest kind 0.
template <class T>
VXGRID_API std::size_t VXInterpolate(const VXScalarGrid& grid, const T* xyz, std::size_t n,
                                     VXInterpolation method, float outside, float* out,
                                     float* gradients = nullptr);
template <class T>
VXGRID_API std::size_t VXInterpolate(const VXZemoGrid& grid, const T* xyz, std::size_t n,
                                     VXInterpolation method, float outside, float* out,
                                     float* gradients = nullptr);
template <class T>
VXGRID_API std::size_t VXInterpolate(const VXSkewGrid& grid, const T* xyz, std::size_t n,
                                     VXInterpolation method, float outside, float* out,
                                     float* gradients = nullptr);

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
