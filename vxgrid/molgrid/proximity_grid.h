#pragma once

#include <vector>

#include <vxgrid/host/export.h>

namespace VXCore {

struct GridStruct;

// A proximity grid answers "which points are near this cell": the record's integers hold, for each cell, 0 or
// the start of the cell's run in a list. A run names the points whose spheres hold the cell, numbered from 1,
// in descending order, and ends with 0. Slot 0 of the list is not used.
//
// The first cell of all that is near a point ends as 0, as if it were empty, although its run stands in the
// list from slot 1 on: a start counts from the slot before the run, and a start of 0 is not told from no run.
// Callers leave a margin around their points, so that this is the tip of a sphere.
//
// Points come in one of these kinds:
//
//   kind  a point is                       its radius
//   1     9 floats, the first x, y, z      radii[i] + probe; the probe alone without radii
//   2, 3  3 floats                         as kind 1
//   4     4 floats: x, y, z, radius        radius + probe
//   5     3 doubles                        none: vx_get_proximity_list only
//
// A point whose radius is 0 or below is near no cell. A point or a radius that is not finite counts for
// nothing. Everything is worked out in float and in steps of the lattice.

/// Sizes the record around n points and makes their proximity grid and list.
///
/// The box is that of the spheres without the probe (a radius counts when above 0), wider by margin + probe
/// at each end; per axis dim = 2 trunc((high - mid) / spacing) + 3. The integers of the record are replaced,
/// from the C heap; its floats are let be. `reserved` is not read.
///
/// A sphere holds the cells with d2 < radius^2 between trunc(f - radius) + 1 and trunc(f + radius), f the
/// place of its centre. d2 starts at the low end and goes on by 2 delta + 1, which grows by 2 a step, on z,
/// then y, then x; that order of float additions decides the cells at the rim.
///
/// Returns 1; 0 when no cell is near a point (the list then stays). Spacing 0 prints one line on standard
/// output and gives 1. A lattice that an int cannot count, or that memory does not hold, gives 0 with one
/// Warning, and the record stays; so does an unknown kind, silently. A list that an int cannot count gives 0
/// with the same Warning, and cells that are all 0.
VXGRID_API int vx_make_proximity_grid(int reserved, void* points, float* radii, int n, float probe,
                                      GridStruct* grid, float spacing, float margin, int kind,
                                      std::vector<int>& list);

/// The same for points of kind 2 on the lattice that the record has, leaving out the cells inside the spheres
/// of `mask_n` other points. Spheres may reach beyond the lattice. As the ends of a sphere are truncated
/// towards 0, one that reaches beyond the first plane of cells by less than a step leaves that plane out.
VXGRID_API int vx_make_masked_and_boxed_proximity_grid(float* coords, float* radii, int n, float probe,
                                                       float* mask_coords, float* mask_radii, int mask_n,
                                                       float mask_probe, GridStruct* grid,
                                                       std::vector<int>& list);

/// For each of n points the start of its run: the value of its cell, trunc((p - low + spacing / 2) / spacing)
/// per axis with `low` the first cell, or 0 outside the lattice. Truncation is towards 0, so the first cell
/// reaches a whole step further down than others. Fills in the record's inverse spacing when it is 0. Returns
/// 1; 0, with nothing written, for an unknown kind.
VXGRID_API int vx_get_proximity_list(void* points, int n, GridStruct* grid, int kind, int* out);

}  // namespace VXCore
