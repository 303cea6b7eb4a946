#pragma once

#include <cstddef>

namespace VXCore {

class VXZemoGrid;

// How the map formats place a box of samples in a crystal cell. Counts and places are in grid steps along the
// axes x, y, z of the cell; flags have weight 1 for x, 2 for y, 4 for z.

/// Which axes hold exactly one period: `flags_wrap`. `flags_any` also marks those that hold the first sample
/// of the next one. `last` is inclusive on entry and exclusive afterwards. False, with a Warning, for a box
/// that ends before it starts.
bool check_dims(int nx, int ny, int nz, int last[3], const int start[3], int& flags_any, int& flags_wrap);

/// Sizes a grid for the samples from start to end (exclusive), with one more on each flagged axis, which is
/// then added to `end` too. False, with a Warning, for a box that no grid can hold and for a period of 0,
/// which has no first sample.
bool size_map_grid(VXZemoGrid& grid, int end[3], const int start[3], int flags_wrap);

/// Makes the last plane of each flagged axis repeat the first, so that the map closes the cell.
void close_planes(float* values, const unsigned int dims[3], int flags);

/// Gives a grid the cell (a, b, c in Å, angles in degrees, nx, ny, nz steps along the edges) and, with its
/// spacing and orientation M, the midpoint between first and last sample: M ((end - 1) + start) * 0.5 *
/// spacing. All three axes become reentrant, also where the box is no whole period.
void place_in_cell(VXZemoGrid& grid, const float cell[6], int nx, int ny, int nz, const int end[3],
                   const int start[3]);

/// The last steps of every map reader: sizes the grid, fills in n samples with x fastest, closes the flagged
/// axes and places the box. Data of another length leave the values 0 with a Warning, except that a flagged
/// box takes what there is.
bool finish_map(VXZemoGrid& grid, const float* data, std::size_t n, const float cell[6], int nx, int ny,
                int nz, int end[3], const int start[3], int flags_wrap);

}  // namespace VXCore
