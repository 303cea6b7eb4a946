#include "grids.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>

#include <pybind11/stl.h>

#include <vxgrid/exchange/grid_files.h>
#include <vxgrid/processing/make_grid.h>

#include "arrays.h"
#include "attributes.h"
#include "bindings.h"
#include "call.h"
#include "crystals.h"

using namespace VXCore;
using VXXtal::VXSymmetry;
using VXXtal::VXUnitCell;

namespace {

using Grid = VXGridAbstractBase;
using Shape = std::vector<py::ssize_t>;

// --- what a lattice is made of ---

std::array<unsigned int, 3> dimensions(const Shape& shape) {
  if (shape.size() != 3)
    throw py::value_error("shape: (nz, ny, nx) was wanted, " + std::to_string(shape.size()) +
                          " numbers came");
  double samples = 1;
  for (const py::ssize_t n : shape) {
    if (n < 1)
      throw py::value_error("shape: " + std::to_string(n) + " samples on an axis; one at least is wanted");
    samples *= static_cast<double>(n);
  }
  if (samples > 2147483647.0) throw py::value_error("shape: a grid holds at most 2147483647 samples");
  return {static_cast<unsigned int>(shape[2]), static_cast<unsigned int>(shape[1]),
          static_cast<unsigned int>(shape[0])};
}

std::string text_of_shape(const Shape& shape) { return py::str(py::tuple(py::cast(shape))); }

/// Three whole numbers above 0 along x, y and z.
std::array<unsigned int, 3> intervals_of(const py::handle& object) {
  const Ints three = numbers<Ints>(object, "intervals", {3});
  const int* const n = three.data();
  if (std::any_of(n, n + 3, [](int each) { return each < 1; }))
    throw py::value_error("intervals: three numbers above 0 were wanted, " + shown(object) + " came");
  return {static_cast<unsigned int>(n[0]), static_cast<unsigned int>(n[1]), static_cast<unsigned int>(n[2])};
}

/// One flag for all axes, or one for each of x, y and z.
std::array<bool, 3> flags_of(const py::object& object, const char* name) {
  if (PyBool_Check(object.ptr()))
    return {object.is(py::bool_(true)), object.is(py::bool_(true)), object.is(py::bool_(true))};
  try {
    return object.cast<std::array<bool, 3>>();
  } catch (const py::cast_error&) {
    throw py::type_error(std::string(name) + ": True, False or three of them for x, y and z were wanted, " +
                         shown(object) + " came");
  }
}

/// What the constructors take beside values; None is what the class has by itself.
struct Options {
  py::object spacing, center, title, cell = py::none(), intervals = py::none(), space_group = py::none(),
                                     periodic = py::none();

  void require_none() const {
    for (const py::object& each : {spacing, center, title, cell, intervals, space_group, periodic})
      if (!each.is_none())
        throw py::type_error("a grid that is made from a grid has what that has: no options were wanted");
  }
};

bool same_cell(const VXZemoGrid& grid, const VXUnitCell& cell) {
  float a, b, c, alpha, beta, gamma;
  grid.GetUnitCell(a, b, c, alpha, beta, gamma);
  return a == cell.a && b == cell.b && c == cell.c && alpha == cell.alpha && beta == cell.beta &&
         gamma == cell.gamma;
}

void set_cell(VXZemoGrid& grid, const py::object& cell, const py::object& intervals) {
  if (cell.is_none()) {
    if (!intervals.is_none()) throw py::value_error("intervals: they divide a cell, and none came");
    grid.SetUnitCell(0, 0, 0, 0, 0, 0, 0, 0, 0);  // keeps the spacing
    grid.SetOrientationSet(false);
    return;
  }
  const VXUnitCell c = cell_of(cell, "cell");
  const auto filling = [](unsigned int dim, bool wraps) {
    if (wraps && dim == 1) throw py::value_error("periodic: an axis that wraps has two samples or more");
    return wraps ? dim - 1 : dim;
  };
  const std::array<unsigned int, 3> n =
      intervals.is_none() ? std::array<unsigned int, 3>{filling(grid.GetXDim(), grid.GetXReentrant()),
                                                        filling(grid.GetYDim(), grid.GetYReentrant()),
                                                        filling(grid.GetZDim(), grid.GetZReentrant())}
                          : intervals_of(intervals);
  grid.SetUnitCell(c.a, c.b, c.c, c.alpha, c.beta, c.gamma, n[0], n[1], n[2]);
}

void set_group(VXZemoGrid& grid, const py::object& group) {
  grid.SetSpaceGroup(group.is_none() ? 0 : group_of(group, "space_group").record->number);
}

void set_periodic(VXZemoGrid& grid, const py::object& periodic) {
  const auto [x, y, z] = flags_of(periodic, "periodic");
  grid.SetXReentrant(x);
  grid.SetYReentrant(y);
  grid.SetZReentrant(z);
}

template <class G>
void set_center(G& grid, const std::array<float, 3>& center) {
  grid.SetMid(center[0], center[1], center[2]);
}

// Where a lattice is, in double: the place of sample (x, y, z) is first + step (x, y, z).
struct Lattice {
  explicit Lattice(Grid& grid) {
    float m[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    visit(grid, [&](auto& g) {
      if constexpr (!std::is_same_v<decltype(g), VXScalarGrid&>) inner(g).GetOrientation(m);
    });
    std::transform(m, m + 9, step, [&](float each) { return double{each} * grid.GetSpacing(); });
    const double half[3] = {(grid.GetXDim() - 1) * 0.5, (grid.GetYDim() - 1) * 0.5,
                            (grid.GetZDim() - 1) * 0.5};
    const double mid[3] = {grid.GetXMid(), grid.GetYMid(), grid.GetZMid()};
    for (int row = 0; row < 3; ++row) {
      first[row] = mid[row];
      for (int axis = 0; axis < 3; ++axis) first[row] -= step[3 * row + axis] * half[axis];
    }
  }
  void place(double x, double y, double z, double* to) const {
    for (int row = 0; row < 3; ++row)
      to[row] = first[row] + step[3 * row] * x + step[3 * row + 1] * y + step[3 * row + 2] * z;
  }

  double first[3], step[9];
};

// --- making grids ---

template <class T>
void copy_into(T* to, const py::array_t<T, py::array::c_style | py::array::forcecast>& from) {
  const T* const begin = from.data();
  const py::ssize_t count = from.size();
  const py::gil_scoped_release release;
  std::copy_n(begin, count, to);
}

/// Dimensions, geometry and title of a new grid.
template <class G>
void set_lattice(G& grid, const Shape& shape, const Options& options) {
  const std::array<unsigned int, 3> dim = dimensions(shape);
  run("the grid cannot be made", [&] { return grid.SetDim(dim[0], dim[1], dim[2]); });
  if (!options.title.is_none()) grid.SetTitle(bytes_of(options.title, "title"));
  if (!options.spacing.is_none()) {
    if (!options.cell.is_none()) throw py::value_error("spacing: it follows from the cell and its intervals");
    grid.SetSpacing(spacing_of(numbers<Floats>(options.spacing, "spacing", {}).data()[0]));
  } else {
    grid.SetSpacing(1.0f);
  }
  if constexpr (!std::is_same_v<G, VXScalarGrid>) {
    if (!options.periodic.is_none()) set_periodic(inner(grid), options.periodic);
    set_cell(inner(grid), options.cell, options.intervals);
    set_group(inner(grid), options.space_group);
  }
  set_center(grid, {0, 0, 0});
  if (!options.center.is_none()) {
    set_center(grid, xyz_of(options.center, "center"));
  } else if (!options.cell.is_none()) {  // the first sample at the origin
    const Lattice lattice(grid);
    set_center(grid, {static_cast<float>(-lattice.first[0]), static_cast<float>(-lattice.first[1]),
                      static_cast<float>(-lattice.first[2])});
  }
}

void set_fields(VXZemoGrid& grid, py::ssize_t floats, py::ssize_t integers) {
  constexpr double kMost = std::numeric_limits<std::uint32_t>::max();
  for (const py::ssize_t n : {floats, integers})
    if (n < 1 || static_cast<double>(n) * grid.GetSize() > kMost)
      throw py::value_error("fields: " + std::to_string(n) + " of " + std::to_string(grid.GetSize()) +
                            " samples; 1 to " +
                            std::to_string(static_cast<long long>(kMost / grid.GetSize())) + " were wanted");
  run("the fields cannot be made", [&] {
    return grid.GetFloats().SetNumGrids(static_cast<unsigned int>(floats)) &&
           grid.GetIntegers().SetNumGrids(static_cast<unsigned int>(integers));
  });
}

Grid* as_grid(const py::object& object) {
  return py::isinstance<Grid>(object) ? &object.cast<Grid&>() : nullptr;
}

/// The grid with the values of another one. Where those of a skew grid stand obliquely, it has to be made
/// regular by its owner, who knows how.
ScalarGridPtr to_scalar(Grid& grid) {
  return visit(grid, [](auto& g) {
    using G = std::decay_t<decltype(g)>;
    if constexpr (std::is_same_v<G, VXScalarGrid>) {
      return compute([&] { return std::make_shared<VXScalarGrid>(g); });
    } else {
      const Lattice lattice(g);
      for (int i = 0; i < 9; ++i)
        if (i % 4 ? lattice.step[i] != 0 : lattice.step[i] != double{g.GetSpacing()})
          throw py::value_error("a grid along x, y and z was wanted; regular() makes one of this");
      return compute([&] {
        auto scalar = std::make_shared<VXScalarGrid>();
        const VXZemoGrid& zemo = inner(g);
        *scalar = *zemo.GetFloats().GetGrid(
            std::is_same_v<G, VXZemoGrid>
                ? std::min(zemo.GetFloatsMultiple(), zemo.GetFloats().GetNumGrids()) - 1
                : 0);
        scalar->SetTitle(g.GetTitle());
        scalar->SetType(g.GetType());
        VXCopyBaseData(*scalar, zemo);
        VXCopyBaseData(*scalar, g);
        return scalar;
      });
    }
  });
}

SkewGridPtr to_skew(Grid& grid) {
  return visit(grid, [](auto& g) {
    return compute([&] {
      using G = std::decay_t<decltype(g)>;
      if constexpr (std::is_same_v<G, VXScalarGrid>)
        return std::make_shared<VXSkewGrid>(VXMakePlainSkewGrid(VXScalarGrid(g)));
      else if constexpr (std::is_same_v<G, VXSkewGrid>)
        return std::make_shared<VXSkewGrid>(g);
      else
        return current_fields(g);
    });
  });
}

MultiGridPtr to_multi(Grid& grid) {
  if (auto* const multi = dynamic_cast<VXZemoGrid*>(&grid))
    return compute([&] { return std::make_shared<VXZemoGrid>(*multi); });
  const SkewGridPtr skew = to_skew(grid);
  auto multi = std::make_shared<VXZemoGrid>(std::move(inner(*skew)));
  VXCopyBaseData(*multi, *skew);
  return multi;
}

/// ValueError unless, on the axes that wrap, the last plane of values that fill a cell is the first again.
void require_closed(VXZemoGrid& grid, const Options& options) {
  if (options.cell.is_none() || !options.intervals.is_none()) return;
  const std::size_t n[3] = {grid.GetXDim(), grid.GetYDim(), grid.GetZDim()}, step[3] = {1, n[0], n[0] * n[1]};
  const bool wraps[3] = {grid.GetXReentrant(), grid.GetYReentrant(), grid.GetZReentrant()};
  const float* const values = grid.GetFloats().GetValues();
  for (int axis = 0; axis < 3; ++axis) {
    const int b = (axis + 1) % 3, c = (axis + 2) % 3;
    for (std::size_t i = 0; wraps[axis] && i < n[b] * n[c]; ++i) {
      const float* const first = values + i % n[b] * step[b] + i / n[b] * step[c];
      const float last = first[(n[axis] - 1) * step[axis]];
      if (last != *first && !(std::isnan(last) && std::isnan(*first)))
        throw py::value_error(std::string("periodic: along ") + "xyz"[axis] +
                              " values whose last plane is the first one again were wanted; "
                              "numpy.pad(values, (0, 1), \"wrap\") adds the planes that close a cell");
    }
  }
}

template <class G>
std::shared_ptr<G> with_values(const py::object& given, const Options& options) {
  const Floats values = numbers<Floats>(given, "values", {-1, -1, -1});
  auto grid = std::make_shared<G>();
  set_lattice(*grid, Shape(values.shape(), values.shape() + 3), options);
  copy_into(values_of(*grid), values);
  if constexpr (!std::is_same_v<G, VXScalarGrid>) require_closed(inner(*grid), options);
  return grid;
}

ScalarGridPtr new_scalar(const py::object& values, const py::object& spacing, const py::object& center,
                         const py::object& title) {
  const Options options{spacing, center, title};
  Grid* const grid = as_grid(values);
  if (!grid) return with_values<VXScalarGrid>(values, options);
  options.require_none();
  return to_scalar(*grid);
}

SkewGridPtr new_skew(const py::object& values, const py::object& cell, const py::object& intervals,
                     const py::object& space_group, const py::object& periodic, const py::object& spacing,
                     const py::object& center, const py::object& title) {
  const Options options{spacing, center, title, cell, intervals, space_group, periodic};
  Grid* const grid = as_grid(values);
  if (!grid) return with_values<VXSkewGrid>(values, options);
  options.require_none();
  return to_skew(*grid);
}

MultiGridPtr new_multi(const py::object& fields, const py::object& integers, const py::object& cell,
                       const py::object& intervals, const py::object& space_group, const py::object& periodic,
                       const py::object& spacing, const py::object& center, const py::object& title) {
  const Options options{spacing, center, title, cell, intervals, space_group, periodic};
  if (Grid* const grid = as_grid(fields)) {
    options.require_none();
    if (!integers.is_none()) throw py::type_error("integers: a grid that is made from a grid has its own");
    return to_multi(*grid);
  }
  const Floats values = numbers<Floats>(fields, "fields", {-1, -1, -1, -1});
  const Shape shape(values.shape() + 1, values.shape() + 4);
  auto grid = std::make_shared<VXZemoGrid>();
  if (integers.is_none()) {
    set_lattice(*grid, shape, options);
    set_fields(*grid, values.shape(0), 1);
  } else {
    const Ints whole = numbers<Ints>(integers, "integers", {-1, shape[0], shape[1], shape[2]});
    set_lattice(*grid, shape, options);
    set_fields(*grid, values.shape(0), whole.shape(0));
    copy_into(grid->GetIntegers().GetValues(), whole);
  }
  copy_into(grid->GetFloats().GetValues(), values);
  require_closed(*grid, options);
  return grid;
}

ScalarGridPtr zero_scalar(const Shape& shape, const py::object& spacing, const py::object& center,
                          const py::object& title) {
  auto grid = std::make_shared<VXScalarGrid>();
  set_lattice(*grid, shape, {spacing, center, title});
  return grid;
}

SkewGridPtr zero_skew(const Shape& shape, const py::object& cell, const py::object& intervals,
                      const py::object& space_group, const py::object& periodic, const py::object& spacing,
                      const py::object& center, const py::object& title) {
  auto grid = std::make_shared<VXSkewGrid>();
  set_lattice(*grid, shape, {spacing, center, title, cell, intervals, space_group, periodic});
  return grid;
}

MultiGridPtr zero_multi(const Shape& shape, py::ssize_t fields, py::ssize_t integers, const py::object& cell,
                        const py::object& intervals, const py::object& space_group,
                        const py::object& periodic, const py::object& spacing, const py::object& center,
                        const py::object& title) {
  auto grid = std::make_shared<VXZemoGrid>();
  set_lattice(*grid, shape, {spacing, center, title, cell, intervals, space_group, periodic});
  set_fields(*grid, fields, integers);
  return grid;
}

ScalarGridPtr around(const py::object& lower, const py::object& upper, float spacing, const py::str& title) {
  const std::array<float, 3> low = xyz_of(lower, "lower"), high = xyz_of(upper, "upper");
  spacing_of(spacing);
  float center[3], widths[3];
  double samples = 1;
  for (int axis = 0; axis < 3; ++axis) {
    const double width = double{high[axis]} - low[axis];
    if (width < 0) throw py::value_error("upper: it must not lie below lower");
    center[axis] = static_cast<float>((double{high[axis]} + low[axis]) / 2);
    widths[axis] = static_cast<float>(width);
    samples *= width / spacing + 1;
  }
  if (samples > 2147483647.0) throw py::value_error("spacing: a grid holds at most 2147483647 samples");
  const std::string text = bytes_of(title, "title");
  auto grid = std::make_shared<VXScalarGrid>();
  run("the grid cannot be made",
      [&] { return VXMakeGridFromCenterAndExtents(*grid, center, widths, spacing) && grid->SetTitle(text); });
  return grid;
}

// --- looking at grids ---

/// Gives new values to a view: numbers that broadcast to its shape.
template <class T>
void assign(const py::array_t<T>& view, const py::object& values, const char* name) {
  view[py::ellipsis()] = numbers<py::array_t<T, py::array::c_style | py::array::forcecast>>(values, name);
}

py::array_t<float> values_view(const py::object& self) {
  Grid& grid = self.cast<Grid&>();
  return view_of(visit(grid, [](auto& g) { return values_of(g); }), shape_of(grid), self);
}

template <class Part>
auto fields_view(Part& part, const py::object& self) {
  return view_of(part.GetValues(), {part.GetNumGrids(), part.GetZDim(), part.GetYDim(), part.GetXDim()},
                 self);
}

py::array_t<float> positions(Grid& grid) {
  std::vector<float> xyz;
  compute([&] {
    return visit(grid, [&](auto& g) {
      if constexpr (std::is_same_v<decltype(g), VXScalarGrid&>)
        return VXZemoGrid::Borrow(g).SpatialCoords(xyz);
      else
        return inner(g).SpatialCoords(xyz);
    });
  });
  Shape shape = shape_of(grid);
  shape.push_back(3);
  return array_of(std::move(xyz), std::move(shape));
}

/// An array of the shape (..., 3) of what work(const double* from, double* to) makes of each three.
template <class Work>
py::array_t<double> each_three(const py::object& given, const char* name, Work&& work) {
  const Doubles threes = numbers<Doubles>(given, name);
  Shape shape(threes.shape(), threes.shape() + threes.ndim());
  if (shape.empty() || shape.back() != 3)
    throw py::value_error(std::string(name) + ": an array of shape (..., 3) was wanted, " +
                          text_of_shape(shape) + " came");
  std::vector<double> result(static_cast<std::size_t>(threes.size()));
  const double* const from = threes.data();
  {
    const py::gil_scoped_release release;
    for (std::size_t i = 0; i < result.size(); i += 3) work(from + i, result.data() + i);
  }
  return array_of(std::move(result), std::move(shape));
}

py::array_t<double> to_positions(Grid& grid, const py::object& indices) {
  const Lattice lattice(grid);
  return each_three(indices, "indices",
                    [&](const double* i, double* to) { lattice.place(i[2], i[1], i[0], to); });
}

py::array_t<double> to_indices(Grid& grid, const py::object& points) {
  const Lattice lattice(grid);
  const double* const s = lattice.step;
  double inverse[9];  // the adjugate over the determinant
  for (int row = 0; row < 3; ++row)
    for (int column = 0; column < 3; ++column) {
      const int a = (column + 1) % 3, b = (column + 2) % 3, c = (row + 1) % 3, d = (row + 2) % 3;
      inverse[3 * row + column] = s[3 * a + c] * s[3 * b + d] - s[3 * a + d] * s[3 * b + c];
    }
  const double determinant = s[0] * inverse[0] + s[1] * inverse[3] + s[2] * inverse[6];
  if (!(std::abs(determinant) > 0) || !std::isfinite(determinant))
    throw py::value_error("the axes of the grid lie in one plane, so that points have no indices");
  return each_three(points, "points", [&](const double* p, double* to) {
    const double d[3] = {p[0] - lattice.first[0], p[1] - lattice.first[1], p[2] - lattice.first[2]};
    for (int row = 0; row < 3; ++row) {
      const double* const r = inverse + 3 * row;
      to[2 - row] = (r[0] * d[0] + r[1] * d[1] + r[2] * d[2]) / determinant;
    }
  });
}

py::tuple extents(Grid& grid) {
  const Lattice lattice(grid);
  const double last[3] = {grid.GetXDim() - 1.0, grid.GetYDim() - 1.0, grid.GetZDim() - 1.0};
  double low[3], high[3];
  for (int corner = 0; corner < 8; ++corner) {
    double at[3];
    lattice.place(corner & 1 ? last[0] : 0, corner & 2 ? last[1] : 0, corner & 4 ? last[2] : 0, at);
    for (int axis = 0; axis < 3; ++axis) {
      low[axis] = corner ? std::min(low[axis], at[axis]) : at[axis];
      high[axis] = corner ? std::max(high[axis], at[axis]) : at[axis];
    }
  }
  return py::make_tuple(py::make_tuple(low[0], low[1], low[2]), py::make_tuple(high[0], high[1], high[2]));
}

VXUnitCell cell_of(const VXZemoGrid& grid) {
  float six[6];
  grid.GetUnitCell(six[0], six[1], six[2], six[3], six[4], six[5]);
  return VXUnitCell(six);
}

/// That with which a map was made, else the one of its group and its cell; None unless both fit.
py::object symmetry_of(Grid& grid, const VXZemoGrid& zemo) {
  const VXMessageCapture quiet;
  const VXUnitCell cell = cell_of(zemo);
  if (!cell.isValid()) return py::none();
  for (const VXBase* const base : {static_cast<const VXBase*>(&grid), static_cast<const VXBase*>(&zemo)})
    if (base->HasData("vx_symm")) {
      const VXSymmetry& made_with = base->GetData<VXSymmetry>("vx_symm");
      if (made_with && same_cell(zemo, made_with.cell())) return py::cast(made_with);
    }
  if (!zemo.HasSpaceGroup()) return py::none();
  const VXSymmetry symmetry(zemo.GetSpaceGroup(), cell);
  return symmetry && !symmetry.HasWarnings() ? py::cast(symmetry) : py::object(py::none());
}

std::string formatted(const char* format, float x, float y, float z) {
  return py::str(format).format(x, y, z);
}

std::string repr(const py::object& self) {
  Grid& grid = self.cast<Grid&>();
  std::string text = "<" + std::string(py::str(py::type::of(self).attr("__name__")));
  if (!grid.GetTitle().empty()) text += " " + std::string(py::repr(text_of(grid.GetTitle())));
  text += ": shape " + text_of_shape(shape_of(grid)) +
          formatted(", spacing {:.5g} Å", grid.GetSpacing(), 0, 0) +
          formatted(", center ({:.5g}, {:.5g}, {:.5g})", grid.GetXMid(), grid.GetYMid(), grid.GetZMid());
  visit(grid, [&](auto& g) {
    using G = std::decay_t<decltype(g)>;
    if constexpr (!std::is_same_v<G, VXScalarGrid>) {
      const VXZemoGrid& zemo = inner(g);
      const VXUnitCell cell = cell_of(zemo);
      if (zemo.HasUnitCell())
        text += formatted(", cell {:.7g} {:.7g} {:.7g}", cell.a, cell.b, cell.c) +
                formatted(" {:.7g} {:.7g} {:.7g}", cell.alpha, cell.beta, cell.gamma);
      if (const py::object group = group_object(zemo.GetSpaceGroup()); !group.is_none())
        text += std::string(", ") + group.cast<SpaceGroup>().record->long_name;
      if (std::is_same_v<G, VXZemoGrid>)
        text += ", " + std::to_string(zemo.GetFloats().GetNumGrids()) + " float and " +
                std::to_string(zemo.GetIntegers().GetNumGrids()) + " integer fields";
    }
  });
  return text + ">";
}

py::handle grid_type;  // vxgrid.GridType, kept alive

py::object type_of(Grid& grid) {
  const unsigned int type = visit(grid, [](auto& g) { return g.GetType(); });
  return type <= VXGridTypeQK ? grid_type(type) : py::object(py::int_(type));
}

void set_spacing(Grid& grid, float spacing) {
  spacing_of(spacing);
  visit(grid, [&](auto& g) {
    if constexpr (!std::is_same_v<decltype(g), VXScalarGrid&>)
      if (inner(g).HasUnitCell())
        throw py::value_error(
            "spacing: it follows from the cell and its intervals, which set_cell() changes");
    g.SetSpacing(spacing);
  });
}

Attributes attributes_of(const py::object& self) {
  Grid& grid = self.cast<Grid&>();
  auto* const skew = dynamic_cast<VXSkewGrid*>(&grid);
  return {&grid, self, skew ? &inner(*skew) : nullptr};
}

template <class Class>
void def_crystal(Class& type) {
  using G = typename Class::type;
  type.def_property_readonly(
          "cell", [](const G& g) { return cell_object(cell_of(inner(g))); },
          "The crystal's cell, or None; set_cell() changes it.")
      .def_property_readonly(
          "intervals",
          [](const G& g) -> py::object {
            unsigned int x, y, z;
            if (!inner(g).GetUnitSpacing(x, y, z)) return py::none();
            return py::make_tuple(x, y, z);
          },
          "The steps of the lattice along the edges of the cell, (x, y, z), or None.")
      .def(
          "set_cell",
          [](G& g, const py::object& cell, const py::object& intervals) {
            set_cell(inner(g), cell, intervals);
          },
          py::arg("cell"), py::arg("intervals") = py::none(),
          "Gives the grid a cell, of which it divides the edges in (x, y, z) intervals.\n\n"
          "Axes and spacing follow from it: a lies along x, b in the xy plane, and the spacing is the\n"
          "shortest step. By default the samples fill the cell; the plane that closes it is left out, but\n"
          "stands at the end of an axis that wraps. None takes the cell away, and the axes are x, y and z\n"
          "again.")
      .def_property(
          "space_group", [](const G& g) { return group_object(inner(g).GetSpaceGroup()); },
          [](G& g, const py::object& group) { set_group(inner(g), group); },
          "The space group, or None. Takes a SpaceGroup, a number or a name.")
      .def_property_readonly(
          "symmetry", [](G& g) { return symmetry_of(g, inner(g)); },
          "The space group in the cell, or None when one of them is not there or they do not fit.")
      .def_property(
          "periodic",
          [](const G& g) {
            const VXZemoGrid& zemo = inner(g);
            return py::make_tuple(zemo.GetXReentrant(), zemo.GetYReentrant(), zemo.GetZReentrant());
          },
          [](G& g, const py::object& periodic) { set_periodic(inner(g), periodic); },
          "Whether the lattice wraps along its axes, (x, y, z). Takes one bool for all of them, too.\n\n"
          "The last plane along an axis that wraps is the first one again, a period further.")
      .def_property(
          "orientation",
          [](const G& g) {
            std::vector<float> m = {1, 0, 0, 0, 1, 0, 0, 0, 1};
            inner(g).GetOrientation(m.data());
            return array_of(std::move(m), {3, 3});
          },
          [](G& g, const py::object& matrix) {
            inner(g).SetOrientation(matrix_of(matrix, "orientation").data());
          },
          "The axes of the lattice in units of the spacing, the columns of a float32 (3, 3) matrix.\n\n"
          "Sample p of a grid along x, y and z stands at orientation @ (p - center) + center.");
}

template <class Part>
py::list titles(Part& part) {
  py::list list;
  for (unsigned int field = 0; field < part.GetNumGrids(); ++field)
    list.append(text_of(part.GetGrid(field)->GetTitle()));
  return list;
}

/// Selects field `index`, counted from 0, of a part with `count` fields.
unsigned int field_number(py::ssize_t index, unsigned int count, const char* name) {
  if (index >= 0 && index < static_cast<py::ssize_t>(count)) return static_cast<unsigned int>(index) + 1;
  throw py::index_error(std::string(name) + ": 0 to " + std::to_string(count - 1) + " was wanted, " +
                        std::to_string(index) + " came");
}

void bind_types(py::module_& module) {
  const auto member = [](const char* name, VXGridType type) {
    return py::make_tuple(name, static_cast<int>(type));
  };
  const py::object kind = py::module_::import("enum").attr("IntEnum")(
      "GridType",
      py::make_tuple(member("GENERIC", VXGridTypeGeneric), member("ELECTROSTATIC", VXGridTypeElectrostatic),
                     member("BREK", VXGridTypeBrek), member("REGULAR_MAP", VXGridTypeRegularMap),
                     member("DIFFERENCE_MAP", VXGridTypeDifferenceMap), member("QK", VXGridTypeQK)),
      py::arg("module") = "vxgrid");
  kind.attr("__doc__") =
      "What the values of a grid mean.\n\nA grid from a file has the number of the format in its place: "
      "GRASP 1, GRD 2, CCP4 3, XPLOR 4, Ascii 5.";
  module.attr("GridType") = kind;
  grid_type = kind.inc_ref();
}

}  // namespace

SkewGridPtr current_fields(const VXZemoGrid& grid) {
  VXZemoGrid copy(grid);
  const auto keep_current = [](auto& part, auto* current) {
    std::copy_n(current, part.GetSize(), part.GetValues());
    part.SetNumGrids(1);
  };
  keep_current(copy.GetFloats(), copy.CurrentFloats().GetValues());
  keep_current(copy.GetIntegers(), copy.CurrentIntegers().GetValues());
  copy.SetFloatsMultiple(1);
  copy.SetIntegersMultiple(1);
  auto skew = std::make_shared<VXSkewGrid>(VXSkewGridImpl(std::move(copy)));
  VXCopyBaseData(*skew, grid);
  return skew;
}

std::array<float, 3> xyz_of(const py::handle& object, const char* name) {
  const Floats three = numbers<Floats>(object, name, {3});
  for (py::ssize_t i = 0; i < 3; ++i)
    if (!std::isfinite(three.at(i)))
      throw py::value_error(std::string(name) + ": three finite numbers were wanted, " + shown(object) +
                            " came");
  return {three.at(0), three.at(1), three.at(2)};
}

Floats matrix_of(const py::object& given, const char* name) {
  Floats matrix = numbers<Floats>(given, name, {3, 3});
  const float* const m = matrix.data();
  const double determinant = m[0] * (double{m[4]} * m[8] - double{m[5]} * m[7]) -
                             m[1] * (double{m[3]} * m[8] - double{m[5]} * m[6]) +
                             m[2] * (double{m[3]} * m[7] - double{m[4]} * m[6]);
  if (std::isfinite(determinant) && determinant != 0) return matrix;
  throw py::value_error(std::string(name) + ": a matrix of three axes that span space was wanted, " +
                        shown(given) + " came");
}

float spacing_of(float spacing) {
  if (std::isfinite(spacing) && spacing > 0) return spacing;
  throw py::value_error("spacing: a number of Å above 0 was wanted, " + std::to_string(spacing) + " came");
}

void bind_grids(py::module_& module) {
  bind_types(module);

  py::class_<Grid, std::shared_ptr<Grid>> base(
      module, "Grid",
      "What ScalarGrid, SkewGrid and MultiGrid have in common; not made itself.\n\n"
      "Samples form a lattice of (nz, ny, nx), whose axes are x, y and z unless an orientation says\n"
      "otherwise.");
  base.def_property_readonly(
          "shape", [](const Grid& g) { return py::tuple(py::cast(shape_of(g))); },
          "Samples along z, y and x: (nz, ny, nx), the shape of an array of values.")
      .def_property(
          "values", &values_view,
          [](const py::object& self, const py::object& values) {
            assign(values_view(self), values, "values");
          },
          "The samples, a float32 array of shape (nz, ny, nx) that looks at the grid's own memory.\n\n"
          "To write to it is to change the grid. Of a MultiGrid it is the current field.")
      .def(
          "__array__",
          [](const py::object& self, const py::object& dtype, const py::object& copy) -> py::object {
            const py::object view = values_view(self);
            if (copy.is(py::bool_(true)))
              return dtype.is_none() ? view.attr("copy")() : view.attr("astype")(dtype);
            const py::object same =
                dtype.is_none() ? view : view.attr("astype")(dtype, py::arg("copy") = false);
            if (copy.is(py::bool_(false)) && !same.is(view))
              throw py::value_error("copy: values of another type than float32 are a copy");
            return same;
          },
          py::arg("dtype") = py::none(), py::arg("copy") = py::none())
      .def_property(
          "spacing", [](const Grid& g) { return g.GetSpacing(); }, &set_spacing,
          "Distance of neighbouring samples, in Å. That of a grid with a cell follows from the cell.")
      .def_property(
          "center", [](const Grid& g) { return py::make_tuple(g.GetXMid(), g.GetYMid(), g.GetZMid()); },
          [](Grid& grid, const py::object& center) {
            const std::array<float, 3> at = xyz_of(center, "center");
            visit(grid, [&](auto& g) { set_center(g, at); });
          },
          "The middle of the lattice, (x, y, z) in Å.")
      .def_property_readonly("extents", &extents,
                             "The box around the places of all samples: its lower and its upper corner,\n"
                             "((x, y, z), (x, y, z)) in Å.")
      .def("positions", &positions,
           "The places of all samples, (x, y, z) in Å: a float32 array of shape (nz, ny, nx, 3).")
      .def("to_positions", &to_positions, py::arg("indices"),
           "The places (x, y, z) in Å of samples, by their indices (z, y, x) in an array of values, whole or "
           "not.\n\nAn array of shape (..., 3) gives a float64 array of the same shape.")
      .def("to_indices", &to_indices, py::arg("points"),
           "The indices (z, y, x) in an array of values, with fractions, of points (x, y, z) in Å.\n\n"
           "An array of shape (..., 3) gives a float64 array of the same shape; points outside have indices\n"
           "outside.")
      .def_property(
          "title", [](const Grid& g) { return text_of(g.GetTitle()); },
          [](Grid& g, const py::str& title) { g.SetTitle(bytes_of(title, "title")); }, "Text.")
      .def_property(
          "type", &type_of,
          [](Grid& grid, unsigned int type) { visit(grid, [&](auto& g) { g.SetType(type); }); },
          "What the values mean, a GridType; another number stays a number.")
      .def_property_readonly("attributes", &attributes_of,
                             "What the grid carries beside its values, as a mapping.")
      .def(
          "copy",
          [](const Grid& g) { return compute([&] { return std::shared_ptr<Grid>(g.CreateCopy()); }); },
          "A grid of its own with the same content.")
      .def("__copy__",
           [](const Grid& g) { return compute([&] { return std::shared_ptr<Grid>(g.CreateCopy()); }); })
      .def("__deepcopy__",
           [](const Grid& g, const py::object&) {
             return compute([&] { return std::shared_ptr<Grid>(g.CreateCopy()); });
           })
      .def("__repr__", &repr);

  const auto none = [](const char* name) { return py::arg(name) = py::none(); };

  py::class_<VXScalarGrid, Grid, ScalarGridPtr> scalar(module, "ScalarGrid",
                                                       "A plain grid: axes along x, y and z, one spacing.");
  scalar
      .def(
          py::init(&new_scalar), py::arg("values"), py::kw_only(), none("spacing"), none("center"),
          none("title"),
          "A grid with a copy of values: an array of numbers of shape (nz, ny, nx), or a grid.\n\n"
          "A grid gives everything that a plain grid can hold; ValueError when its axes are not x, y and z.\n"
          "spacing  in Å, by default 1\n"
          "center   the middle of the lattice, (x, y, z) in Å; by default the origin")
      .def_static("zeros", &zero_scalar, py::arg("shape"), py::kw_only(), none("spacing"), none("center"),
                  none("title"), "A grid of zeros of a shape (nz, ny, nx); options as those of ScalarGrid().")
      .def_static(
          "around", &around, py::arg("lower"), py::arg("upper"), py::arg("spacing"), py::kw_only(),
          py::arg("title") = "",
          "A grid of zeros in a box between two corners (x, y, z) in Å.\n\n"
          "Where an edge is no whole number of steps, the samples fall short of both faces by the same.");

  py::class_<VXSkewGrid, Grid, SkewGridPtr> skew(
      module, "SkewGrid",
      "A crystallographic map: its axes may be oblique, and it may have a cell and a space group.");
  skew.def(py::init(&new_skew), py::arg("values"), py::kw_only(), none("cell"), none("intervals"),
           none("space_group"), none("periodic"), none("spacing"), none("center"), none("title"),
           "A grid with a copy of values: an array of numbers of shape (nz, ny, nx), or a grid.\n\n"
           "A grid gives everything that a skew grid can hold.\n"
           "cell, intervals  as set_cell() takes them; without a cell the axes are x, y and z\n"
           "space_group      SpaceGroup, number or name\n"
           "periodic         whether the lattice wraps, one bool or three for x, y and z: the last plane is\n"
           "                 the first again, or ValueError when values fill the cell\n"
           "spacing          in Å, of a grid without a cell; by default 1\n"
           "center           the middle of the lattice, (x, y, z) in Å; by default the origin, or, with a\n"
           "                 cell, where it brings the first sample to the origin")
      .def_static("zeros", &zero_skew, py::arg("shape"), py::kw_only(), none("cell"), none("intervals"),
                  none("space_group"), none("periodic"), none("spacing"), none("center"), none("title"),
                  "A grid of zeros of a shape (nz, ny, nx); options as those of SkewGrid().");
  def_crystal(skew);

  py::class_<VXZemoGrid, Grid, MultiGridPtr> multi(
      module, "MultiGrid",
      "Several fields of floats and of integers on one lattice, otherwise like a SkewGrid.\n\n"
      "One field of either kind is the current one, which functions that work on one field take.");
  multi
      .def(py::init(&new_multi), py::arg("fields"), none("integers"), py::kw_only(), none("cell"),
           none("intervals"), none("space_group"), none("periodic"), none("spacing"), none("center"),
           none("title"),
           "A grid with copies of arrays of shape (number of fields, nz, ny, nx), or of a grid.\n\n"
           "integers  whole numbers, by default one field of zeros\n"
           "Other options are those of SkewGrid().")
      .def_static(
          "zeros", &zero_multi, py::arg("shape"), py::arg("fields") = 1, py::arg("integers") = 1,
          py::kw_only(), none("cell"), none("intervals"), none("space_group"), none("periodic"),
          none("spacing"), none("center"), none("title"),
          "A grid of zeros of a shape (nz, ny, nx) with numbers of fields; options as those of SkewGrid().")
      .def_property(
          "fields",
          [](const py::object& self) { return fields_view(self.cast<VXZemoGrid&>().GetFloats(), self); },
          [](const py::object& self, const py::object& values) {
            assign(fields_view(self.cast<VXZemoGrid&>().GetFloats(), self), values, "fields");
          },
          "All float fields, a float32 array of shape (number, nz, ny, nx) that looks at the grid's own "
          "memory.")
      .def_property(
          "integers",
          [](const py::object& self) { return fields_view(self.cast<VXZemoGrid&>().GetIntegers(), self); },
          [](const py::object& self, const py::object& values) {
            assign(fields_view(self.cast<VXZemoGrid&>().GetIntegers(), self), values, "integers");
          },
          "All integer fields, an int32 array of shape (number, nz, ny, nx) that looks at the grid's own "
          "memory.")
      .def_property(
          "current_field",
          [](const VXZemoGrid& g) {
            return std::min(g.GetFloatsMultiple(), g.GetFloats().GetNumGrids()) - 1;
          },
          [](VXZemoGrid& g, py::ssize_t index) {
            g.SetFloatsMultiple(field_number(index, g.GetFloats().GetNumGrids(), "current_field"));
          },
          "The index of the float field that functions take which work on one, and that values looks at.")
      .def_property(
          "current_integers",
          [](const VXZemoGrid& g) {
            return std::min(g.GetIntegersMultiple(), g.GetIntegers().GetNumGrids()) - 1;
          },
          [](VXZemoGrid& g, py::ssize_t index) {
            g.SetIntegersMultiple(field_number(index, g.GetIntegers().GetNumGrids(), "current_integers"));
          },
          "The index of the integer field that functions take which work on one.")
      .def_property(
          "field_titles", [](VXZemoGrid& g) { return titles(g.GetFloats()); },
          [](VXZemoGrid& g, const py::object& given) {
            const std::vector<std::string> texts = bytes_of_all(given, "field_titles");
            auto& part = g.GetFloats();
            if (texts.size() != part.GetNumGrids())
              throw py::value_error("field_titles: " + std::to_string(part.GetNumGrids()) +
                                    " texts were wanted, " + std::to_string(texts.size()) + " came");
            for (unsigned int field = 0; field < part.GetNumGrids(); ++field)
              part.GetGrid(field)->SetTitle(texts[field]);
          },
          "The titles of the float fields. To change spacing or center brings back that of the grid.");
  def_crystal(multi);
}
