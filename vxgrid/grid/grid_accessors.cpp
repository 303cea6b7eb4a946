#include <vxgrid/grid/grid_accessors.h>

#include <algorithm>
#include <cstring>

#include <vxgrid/host/error_handler.h>

namespace VXCore {
namespace {

// Applies a setter to the integers and then to the floats.
template <class Setter>
bool set_both(VXZemoGrid& grid, Setter set) {
  return set(grid.GetIntegers()) && set(grid.GetFloats());
}

template <class T>
int clear_fields(VXMultiGrid<T>& part) {
  std::fill_n(part.GetValues(), std::size_t{part.GetNumGrids()} * part.GetSize(), T());
  return 1;
}

template <class T>
int length(const VXMultiGrid<T>& part) {
  return static_cast<int>(part.GetNumGrids() * part.GetSize());
}

template <class T>
int get_field(const VXFixedGrid<T>& field, T* values) {
  std::copy_n(field.GetValues(), field.GetSize(), values);
  return 1;
}

// One past the end is in: the blocks of all fields end in a guard element for it.
template <class T>
bool has_element(const VXFixedGrid<T>& field, int index) {
  return index >= 0 && static_cast<unsigned int>(index) <= field.GetSize();
}

template <class T>
int set_element(VXFixedGrid<T>& field, int index, T value) {
  if (!has_element(field, index)) return 0;
  field[index] = value;
  return 1;
}

template <class T>
int get_element(const VXFixedGrid<T>& field, int index, T* value) {
  if (!has_element(field, index)) return 0;
  *value = field[index];
  return 1;
}

template <class T>
int has_content(const VXFixedGrid<T>& field) {
  const T* const values = field.GetValues();
  return std::any_of(values, values + field.GetSize(), [](T value) { return value != T(); });
}

void report(const char* name, const char* kind, bool is_set) {
  VXThrow.Info(" \"%s\" is %s that %s", name, kind, is_set ? "has been set" : "can set");
}

void report_float(const char* name, bool is_set, float value) {
  constexpr const char* kKind = "a variable of type float";
  if (is_set)
    VXThrow.Info(" \"%s\" is %s that has been set to %f", name, kKind, value);
  else
    report(name, kKind, false);
}

void report_int(const char* name, unsigned int value) {
  VXThrow.Info(" \"%s\" is a variable of type int that has been set to %d", name, value);
}

}  // namespace

int vx_set_grid_name(const char* name, VXZemoGrid& grid) { return grid.SetTitle(name ? name : ""); }
int vx_get_grid_name(char* name, const VXZemoGrid& grid) {
  std::strcpy(name, grid.GetTitle().c_str());
  return 1;
}
int vx_is_grid_name_set(const VXZemoGrid& grid) { return grid.IsTitleSet(); }

int vx_is_grid_x_midpoint_set(const VXZemoGrid& grid) { return grid.GetFloats().IsXMidSet(); }
int vx_is_grid_y_midpoint_set(const VXZemoGrid& grid) { return grid.GetFloats().IsYMidSet(); }
int vx_is_grid_z_midpoint_set(const VXZemoGrid& grid) { return grid.GetFloats().IsZMidSet(); }
int vx_get_grid_x_midpoint(float* x, const VXZemoGrid& grid) {
  *x = grid.GetXMid();
  return 1;
}
int vx_get_grid_y_midpoint(float* y, const VXZemoGrid& grid) {
  *y = grid.GetYMid();
  return 1;
}
int vx_get_grid_z_midpoint(float* z, const VXZemoGrid& grid) {
  *z = grid.GetZMid();
  return 1;
}
int vx_set_grid_x_midpoint(float x, VXZemoGrid& grid) {
  set_both(grid, [x](auto& part) { return part.SetXMid(x); });
  return 1;
}
int vx_set_grid_y_midpoint(float y, VXZemoGrid& grid) {
  set_both(grid, [y](auto& part) { return part.SetYMid(y); });
  return 1;
}
int vx_set_grid_z_midpoint(float z, VXZemoGrid& grid) {
  set_both(grid, [z](auto& part) { return part.SetZMid(z); });
  return 1;
}
int vx_is_grid_spacing_set(const VXZemoGrid& grid) { return grid.IsSpacingSet(); }
int vx_get_grid_spacing(float* spacing, const VXZemoGrid& grid) {
  *spacing = grid.GetSpacing();
  return 1;
}
int vx_set_grid_spacing(float spacing, VXZemoGrid& grid) {
  set_both(grid, [spacing](auto& part) { return part.SetSpacing(spacing); });
  return 1;
}

int vx_get_grid_x_dimension(int* x, const VXZemoGrid& grid) {
  *x = grid.GetXDim();
  return 1;
}
int vx_get_grid_y_dimension(int* y, const VXZemoGrid& grid) {
  *y = grid.GetYDim();
  return 1;
}
int vx_get_grid_z_dimension(int* z, const VXZemoGrid& grid) {
  *z = grid.GetZDim();
  return 1;
}
int vx_set_grid_x_dimension(int x, VXZemoGrid& grid) {
  return set_both(grid, [x](auto& part) { return part.SetXDim(x); });
}
int vx_set_grid_y_dimension(int y, VXZemoGrid& grid) {
  return set_both(grid, [y](auto& part) { return part.SetYDim(y); });
}
int vx_set_grid_z_dimension(int z, VXZemoGrid& grid) {
  return set_both(grid, [z](auto& part) { return part.SetZDim(z); });
}

int vx_set_grid_orientation(const float* matrix, VXZemoGrid& grid) { return grid.SetOrientation(matrix); }
int vx_get_grid_orientation(float* matrix, const VXZemoGrid& grid) { return grid.GetOrientation(matrix); }
int vx_is_grid_orientation_set(const VXZemoGrid& grid) { return grid.GetOrientationSet(); }

int vx_grid_total_points(const VXZemoGrid& grid) { return grid.GetSize(); }
int vx_get_grid_floats_length(const VXZemoGrid& grid) { return length(grid.GetFloats()); }
int vx_get_grid_integers_length(const VXZemoGrid& grid) { return length(grid.GetIntegers()); }

int vx_set_grid_floats_multiple(int n, VXZemoGrid& grid) { return n > 0 && grid.SetFloatsMultiple(n); }
int vx_set_grid_integers_multiple(int n, VXZemoGrid& grid) { return n > 0 && grid.SetIntegersMultiple(n); }

int vx_clear_grid_floats(VXZemoGrid& grid) { return clear_fields(grid.GetFloats()); }
int vx_clear_grid_integers(VXZemoGrid& grid) { return clear_fields(grid.GetIntegers()); }

int vx_set_grid_floats(const float* values, VXZemoGrid& grid) {
  return grid.GetFloats().SetValues(grid.GetFloatsMultiple() - 1, values, grid.GetSize());
}
int vx_set_grid_integers(const int* values, VXZemoGrid& grid) {
  return grid.GetIntegers().SetValues(grid.GetIntegersMultiple() - 1, values, grid.GetSize());
}
int vx_get_grid_floats(float* values, const VXZemoGrid& grid) {
  return get_field(grid.CurrentFloats(), values);
}
int vx_get_grid_integers(int* values, const VXZemoGrid& grid) {
  return get_field(grid.CurrentIntegers(), values);
}

int vx_set_grid_floats_element(float value, int index, VXZemoGrid& grid) {
  return set_element(grid.CurrentFloats(), index, value);
}
int vx_get_grid_floats_element(float* value, int index, const VXZemoGrid& grid) {
  return get_element(grid.CurrentFloats(), index, value);
}
int vx_set_grid_integers_element(int value, int index, VXZemoGrid& grid) {
  return set_element(grid.CurrentIntegers(), index, value);
}
int vx_get_grid_integers_element(int* value, int index, const VXZemoGrid& grid) {
  return get_element(grid.CurrentIntegers(), index, value);
}

float* vi_grid_floats(VXZemoGrid& grid) { return grid.CurrentFloats().GetValues(); }
const float* vi_grid_floats(const VXZemoGrid& grid) { return grid.CurrentFloats().GetValues(); }
int* vi_grid_integers(VXZemoGrid& grid) { return grid.CurrentIntegers().GetValues(); }
const int* vi_grid_integers(const VXZemoGrid& grid) { return grid.CurrentIntegers().GetValues(); }

int vx_is_grid_floats_set(const VXZemoGrid& grid) { return has_content(grid.CurrentFloats()); }
int vx_is_grid_integers_set(const VXZemoGrid& grid) { return has_content(grid.CurrentIntegers()); }

int vx_grid_reentrant(const VXZemoGrid& grid) { return grid.GetReentrant(); }
int vx_grid_x_reentrant(const VXZemoGrid& grid) { return grid.GetXReentrant(); }
int vx_grid_y_reentrant(const VXZemoGrid& grid) { return grid.GetYReentrant(); }
int vx_grid_z_reentrant(const VXZemoGrid& grid) { return grid.GetZReentrant(); }
int vx_set_grid_reentrant_direction(char axis, VXZemoGrid& grid) {
  if (axis == 'x' || axis == 'X') grid.SetXReentrant(true);
  if (axis == 'y' || axis == 'Y') grid.SetYReentrant(true);
  if (axis == 'z' || axis == 'Z') grid.SetZReentrant(true);
  return grid.GetReentrant();
}
int vx_set_grid_reentrant(VXZemoGrid& grid) {
  grid.SetReentrant(true);
  return grid.GetReentrant();
}

int vx_grid_get_unitcell(float* a, float* b, float* c, float* alpha, float* beta, float* gamma,
                         const VXZemoGrid& grid) {
  return grid.GetUnitCell(*a, *b, *c, *alpha, *beta, *gamma);
}
int vx_grid_set_unitcell(float a, float b, float c, float alpha, float beta, float gamma, int x, int y, int z,
                         VXZemoGrid& grid) {
  return grid.SetUnitCell(a, b, c, alpha, beta, gamma, x, y, z);
}
int vx_is_grid_unitcell_set(const VXZemoGrid& grid) { return grid.HasUnitCell(); }
int vx_grid_get_spacegroup(const VXZemoGrid& grid) { return grid.GetSpaceGroup(); }
int vx_grid_set_spacegroup(int number, VXZemoGrid& grid) { return grid.SetSpaceGroup(number); }
int vx_is_grid_spacegroup_set(const VXZemoGrid& grid) { return grid.HasSpaceGroup(); }

int vx_clear_grid_boundary(VXZemoGrid& grid) { return VXZeroGridBoundary(grid.CurrentFloats()); }

int vx_check_grid(const VXZemoGrid& grid) {
  const VXMultiGrid<float>& floats = grid.GetFloats();
  const std::string rule(40, '*'), short_rule(20, '*'), nothing;
  const std::string heading[] = {nothing, rule, "GRID REPORT", nothing, "ACCESSIBLE VARIABLES", short_rule};
  for (const std::string& line : heading) VXThrow.Info(line);
  report("name", "an array of 80 elements of type char", grid.IsTitleSet());
  report_float("x_midpoint", floats.IsXMidSet(), floats.GetXMid());
  report_float("y_midpoint", floats.IsYMidSet(), floats.GetYMid());
  report_float("z_midpoint", floats.IsZMidSet(), floats.GetZMid());
  report_float("spacing", floats.IsSpacingSet(), floats.GetSpacing());
  report_int("x_dimension", floats.GetXDim());
  report_int("y_dimension", floats.GetYDim());
  report_int("z_dimension", floats.GetZDim());
  report("floats", "an array of x_dimension*y_dimension*z_dimension elements of type float",
         vx_is_grid_floats_set(grid));
  report("integers", "an array of x_dimension*y_dimension*z_dimension elements of type int",
         vx_is_grid_integers_set(grid));
  report("orientation", "a variable of type float*", grid.GetOrientationSet());
  VXThrow.Info(rule);
  VXThrow.Info(nothing);
  return 1;
}

int vx_print_grid_report(const VXZemoGrid& grid) { return vx_check_grid(grid); }

}  // namespace VXCore
