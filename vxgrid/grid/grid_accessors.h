#pragma once

#include <vxgrid/grid/zemogrid.h>

namespace VXCore {

/// The access of an older C interface to a VXZemoGrid. Results are 1 or 0 where nothing else is said; the
/// current field is that of SetFloatsMultiple and SetIntegersMultiple.

/// The title. The get form copies all of it and the terminating 0, with no bound.
VXGRID_API int vx_set_grid_name(const char* name, VXZemoGrid& grid);
VXGRID_API int vx_get_grid_name(char* name, const VXZemoGrid& grid);
VXGRID_API int vx_is_grid_name_set(const VXZemoGrid& grid);

/// Midpoint and spacing (Å), of both parts; the set forms are always 1.
VXGRID_API int vx_is_grid_x_midpoint_set(const VXZemoGrid& grid);
VXGRID_API int vx_is_grid_y_midpoint_set(const VXZemoGrid& grid);
VXGRID_API int vx_is_grid_z_midpoint_set(const VXZemoGrid& grid);
VXGRID_API int vx_get_grid_x_midpoint(float* x, const VXZemoGrid& grid);
VXGRID_API int vx_get_grid_y_midpoint(float* y, const VXZemoGrid& grid);
VXGRID_API int vx_get_grid_z_midpoint(float* z, const VXZemoGrid& grid);
VXGRID_API int vx_set_grid_x_midpoint(float x, VXZemoGrid& grid);
VXGRID_API int vx_set_grid_y_midpoint(float y, VXZemoGrid& grid);
VXGRID_API int vx_set_grid_z_midpoint(float z, VXZemoGrid& grid);
VXGRID_API int vx_is_grid_spacing_set(const VXZemoGrid& grid);
VXGRID_API int vx_get_grid_spacing(float* spacing, const VXZemoGrid& grid);
VXGRID_API int vx_set_grid_spacing(float spacing, VXZemoGrid& grid);

/// Dimensions, of both parts. The set forms zero all values; 0 when refused.
VXGRID_API int vx_get_grid_x_dimension(int* x, const VXZemoGrid& grid);
VXGRID_API int vx_get_grid_y_dimension(int* y, const VXZemoGrid& grid);
VXGRID_API int vx_get_grid_z_dimension(int* z, const VXZemoGrid& grid);
VXGRID_API int vx_set_grid_x_dimension(int x, VXZemoGrid& grid);
VXGRID_API int vx_set_grid_y_dimension(int y, VXZemoGrid& grid);
VXGRID_API int vx_set_grid_z_dimension(int z, VXZemoGrid& grid);

/// Nine floats, row-major.
VXGRID_API int vx_set_grid_orientation(const float* matrix, VXZemoGrid& grid);
VXGRID_API int vx_get_grid_orientation(float* matrix, const VXZemoGrid& grid);
VXGRID_API int vx_is_grid_orientation_set(const VXZemoGrid& grid);

/// The number of samples of one field, and the lengths of all fields together.
VXGRID_API int vx_grid_total_points(const VXZemoGrid& grid);
VXGRID_API int vx_get_grid_floats_length(const VXZemoGrid& grid);
VXGRID_API int vx_get_grid_integers_length(const VXZemoGrid& grid);

/// Selects the current field, and adds fields up to it.
VXGRID_API int vx_set_grid_floats_multiple(int n, VXZemoGrid& grid);
VXGRID_API int vx_set_grid_integers_multiple(int n, VXZemoGrid& grid);

/// Zero all fields.
VXGRID_API int vx_clear_grid_floats(VXZemoGrid& grid);
VXGRID_API int vx_clear_grid_integers(VXZemoGrid& grid);

/// Copy vx_grid_total_points numbers into the current field; 0 with one Warning for null, or when the part
/// has another lattice than the floats.
VXGRID_API int vx_set_grid_floats(const float* values, VXZemoGrid& grid);
VXGRID_API int vx_set_grid_integers(const int* values, VXZemoGrid& grid);
/// Copy the current field out.
VXGRID_API int vx_get_grid_floats(float* values, const VXZemoGrid& grid);
VXGRID_API int vx_get_grid_integers(int* values, const VXZemoGrid& grid);

/// One element of the current field. 0 for an index below 0 or above the number of samples: the number
/// itself, one past the end, is a valid index. It is the next field's first element or a spare one behind the
/// last.
VXGRID_API int vx_set_grid_floats_element(float value, int index, VXZemoGrid& grid);
VXGRID_API int vx_get_grid_floats_element(float* value, int index, const VXZemoGrid& grid);
VXGRID_API int vx_set_grid_integers_element(int value, int index, VXZemoGrid& grid);
VXGRID_API int vx_get_grid_integers_element(int* value, int index, const VXZemoGrid& grid);

/// The values of the current field.
VXGRID_API float* vi_grid_floats(VXZemoGrid& grid);
VXGRID_API const float* vi_grid_floats(const VXZemoGrid& grid);
VXGRID_API int* vi_grid_integers(VXZemoGrid& grid);
VXGRID_API const int* vi_grid_integers(const VXZemoGrid& grid);

/// 1 when the current field holds a value that is not 0.
VXGRID_API int vx_is_grid_floats_set(const VXZemoGrid& grid);
VXGRID_API int vx_is_grid_integers_set(const VXZemoGrid& grid);

/// Wrap flags: the three bits, or one of them as 1 or 0. The set forms give the three bits afterwards; a
/// letter other than X, Y, Z (in either case) sets none.
VXGRID_API int vx_grid_reentrant(const VXZemoGrid& grid);
VXGRID_API int vx_grid_x_reentrant(const VXZemoGrid& grid);
VXGRID_API int vx_grid_y_reentrant(const VXZemoGrid& grid);
VXGRID_API int vx_grid_z_reentrant(const VXZemoGrid& grid);
VXGRID_API int vx_set_grid_reentrant_direction(char axis, VXZemoGrid& grid);
VXGRID_API int vx_set_grid_reentrant(VXZemoGrid& grid);

/// Cell and space group, as the members of VXZemoGrid.
VXGRID_API int vx_grid_get_unitcell(float* a, float* b, float* c, float* alpha, float* beta, float* gamma,
                                    const VXZemoGrid& grid);
VXGRID_API int vx_grid_set_unitcell(float a, float b, float c, float alpha, float beta, float gamma, int x,
                                    int y, int z, VXZemoGrid& grid);
VXGRID_API int vx_is_grid_unitcell_set(const VXZemoGrid& grid);
VXGRID_API int vx_grid_get_spacegroup(const VXZemoGrid& grid);
VXGRID_API int vx_grid_set_spacegroup(int number, VXZemoGrid& grid);
VXGRID_API int vx_is_grid_spacegroup_set(const VXZemoGrid& grid);

/// Zeroes the six faces of the current float field.
VXGRID_API int vx_clear_grid_boundary(VXZemoGrid& grid);

/// Reports at Info level which variables of the grid are set, one line each. Always 1.
VXGRID_API int vx_check_grid(const VXZemoGrid& grid);
VXGRID_API int vx_print_grid_report(const VXZemoGrid& grid);

}  // namespace VXCore
