#pragma once

#include <vxgrid/processing/grid_struct.h>

namespace VXCore {

/// Makes a lattice around `count` spheres and sets the integers of the points inside them to 1, 0 elsewhere.
///
/// kind  items, one after another            radius in the box      radius of the marks
///  1    atoms: PdbStruct                    radii[i] + probe       radii[i] + probe
///  2    points: three floats                radii[i] + probe       probe
///  3    coordinates: three floats           radii[i] + probe       probe
///  4    spheres: x, y, z, r                 r + probe              r + probe
///  5    doubles: three doubles              radii[i] + probe       probe
/// Null radii count as 0. Kinds 2, 3 and 5 size the box for their radii and mark by the probe alone; any
/// other kind has points of radius 0 at the origin. The box grows by border + probe on each side, so that a
/// probe fits beside the outermost sphere.
///
/// The integers of `grid` are freed and taken anew, null where memory or an int cannot hold them; the floats
/// are left alone. Without items the lattice has the dimensions of an empty box, negative ones for a spacing
/// above 0, and no array. A spacing of 0 or not a number is reported on standard output, and `grid` is left
/// as it was. Returns 1. `reserved` is not read.
///
/// A point is inside when r^2 > d^2, in steps and in float, and d^2 is added up along rows, rows and planes
/// from the first point of the sphere's box: that rounding is part of the result.
VXGRID_API int vi_sph_to_grid(int reserved, void* items, float* radii, int count, float probe,
                              GridStruct* grid, float spacing, float border, int kind);

/// Marks the points of a lattice inside `count` spheres of radius r + probe: the integers, if there, with the
/// number of the sphere from 1 on, the floats, if there, with `value`. Later spheres overwrite earlier ones.
///
/// type   "atoms", "points", "coordinates" or "spheres", as above, with radii[i] or 0 for null radii; or
///        "doubles", which is a name for doing nothing
/// The points of index 0 on any axis are never marked: callers leave a border.
/// Returns 1, or 0 with one Warning for any other type.
VXGRID_API int vi_map_spheres_to_grid(void* items, const char* type, float* radii, GridStruct grid,
                                      float probe, int count, float value);

}  // namespace VXCore
