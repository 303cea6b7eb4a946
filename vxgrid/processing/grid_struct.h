#pragma once

#include <vxgrid/host/export.h>

namespace VXCore {

class VXZemoGrid;

/// A plain record of a lattice and its arrays: what the vi_ routines work on, by value where they only read.
///
/// Element (i, j, k) has the linear index i + xdim (j + ydim k): x fastest, then y, then z. Point i along x
/// lies at xmid + (i - (xdim - 1) / 2) spacing, and the bounds are xmid -+ (xdim - 1) spacing / 2; y and z
/// likewise. The record owns nothing: arrays and name come from the C heap, whoever holds it frees them.
/// A record whose element count does not fit in an int must not be used (vx_grid_struct_overflow).
struct GridStruct {
  float* floats;  ///< null when absent
  int* integers;  ///< the same layout; null when absent
  float xmid, ymid, zmid;
  int xdim, ydim, zdim;
  float spacing;
  float inverse_spacing;  ///< 1 / spacing; left unset when spacing is 0
  char* name;             ///< null when absent
};

/// Takes 4 n bytes from the C heap for each array asked for, n being `count`, or the product of the
/// dimensions when count < 1. Stored unchecked (null when memory ran out or the count overflows); an array
/// that was there is not freed.
VXGRID_API void vx_allocate_grid_struct(GridStruct& grid, bool integers, bool floats, int count);

/// Brings each array asked for to 4 `count` bytes with realloc. Note the order of the last arguments.
VXGRID_API void vx_reallocate_grid_struct(GridStruct& grid, int count, bool integers, bool floats);

/// Frees each array asked for and sets it to null.
VXGRID_API void vx_deallocate_grid_struct(GridStruct& grid, bool integers, bool floats);

/// Zeroes `count` elements, the product of the dimensions when count < 1, of each array asked for and
/// present.
VXGRID_API void vx_zero_grid_struct(GridStruct& grid, bool integers, bool floats, int count);

/// True when x y, seen as an unsigned 64-bit number, is 2147483648 or more, or x y z above 2147483647; so a
/// negative dimension among positive ones overflows. False as soon as a dimension is 0.
VXGRID_API bool vx_grid_struct_overflow(int x, int y, int z);
VXGRID_API bool vx_grid_struct_overflow(const GridStruct& grid);

/// Linear index of the central element: (dim - 1) >> 1 on each axis.
VXGRID_API int vx_grid_struct_midpoint(GridStruct* grid);

/// Fills the record with the grid's geometry and with copies of its current float and integer fields, as far
/// as they are set (null otherwise). `name` is not set. Returns 1.
VXGRID_API int vx_convert_grid_object_to_grid_structure(GridStruct& out, const VXZemoGrid& grid);

/// Gives the grid the record's name (if any) as title, its geometry, and its arrays as first fields. An array
/// whose size differs from the field's, or without a field to go to, is left out with one Warning; the result
/// is then false.
VXGRID_API bool VXConvertGridStructureToGridObject(VXZemoGrid& out, const GridStruct& grid);

/// Sizes a record around the box of n points (3 n floats; the first is read always) with a margin `extra` on
/// each side of an axis: dim = trunc((2 extra + (max - min)) / spacing) + 3, midpoint that of the box. No
/// arrays. Returns 1, or 0 for spacing 0.
VXGRID_API int vx_set_grid_from_points(float* xyz, int n, float xextra, float yextra, float zextra,
                                       float spacing, GridStruct* grid);

/// Stores fn(x, y, z) in `floats`, z outermost, positions advanced by adding the spacing. Returns 1.
VXGRID_API int vx_set_grid_values_by_function(GridStruct grid, float (*fn)(float x, float y, float z));

/// Copies dimensions, midpoint, spacing and, for kind 1, the floats into a new array. A name that is not
/// empty becomes a new buffer that counts strlen characters; a reader takes its length from elsewhere.
/// Integers are never copied. `reserved` is not looked at.
VXGRID_API void vi_copy_grid(int reserved, GridStruct* out, GridStruct in, int kind);

/// Zeroes the floats for kind 1; other kinds do nothing.
VXGRID_API void vi_clear_grid(GridStruct* grid, int kind);
VXGRID_API void vi_zero_grid(GridStruct grid);
VXGRID_API void vi_constant_grid(GridStruct grid, float value);

/// The bounds of the lattice. Both return 1; the print form writes one line on standard output.
VXGRID_API int vi_get_grid_limits(GridStruct grid, float* xmin, float* ymin, float* zmin, float* xmax,
                                  float* ymax, float* zmax);
VXGRID_API int vi_print_grid_limits(GridStruct grid);

}  // namespace VXCore
