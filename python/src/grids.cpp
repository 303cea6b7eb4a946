#include "grids.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "arrays.h"
#include "attributes.h"
#include "bindings.h"
#include "call.h"

using namespace VXCore;

namespace {

std::array<unsigned int, 3> dimensions(const std::vector<py::ssize_t>& shape) {
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

float positive(float spacing) {
  if (std::isfinite(spacing) && spacing > 0) return spacing;
  throw py::value_error("spacing: a number of Å above 0 was wanted, " + std::to_string(spacing) + " came");
}

/// The shape of an array of values, (nz, ny, nx).
std::vector<py::ssize_t> shape_of_values(const Floats& values) {
  return std::vector<py::ssize_t>(values.shape(), values.shape() + values.ndim());
}

template <class Grid>
void set_lattice(Grid& grid, const std::vector<py::ssize_t>& shape, float spacing, const py::object& center,
                 const std::string& title) {
  const std::array<unsigned int, 3> dim = dimensions(shape);
  const std::array<float, 3> mid = xyz_of(center, "center");
  positive(spacing);
  run("the grid cannot be made", [&] {
    return grid.SetSpacing(spacing) && grid.SetDim(dim[0], dim[1], dim[2]) &&
           grid.SetMid(mid[0], mid[1], mid[2]) && grid.SetTitle(title);
  });
}

template <class T>
void copy_into(T* to, const py::array_t<T, py::array::c_style | py::array::forcecast>& from) {
  const T* const begin = from.data();
  const py::ssize_t count = from.size();
  const py::gil_scoped_release release;
  std::copy_n(begin, count, to);
}

/// Gives new values to a view: whatever broadcasts to its shape.
void assign(const py::object& view, const py::object& values) { view[py::ellipsis()] = values; }

py::tuple center_of(const VXGridAbstractBase& grid) {
  return py::make_tuple(grid.GetXMid(), grid.GetYMid(), grid.GetZMid());
}

template <class Class>
void def_lattice(Class& type) {
  using Grid = typename Class::type;
  type.def_property(
          "spacing", [](const Grid& g) { return g.GetSpacing(); },
          [](Grid& g, float spacing) { g.SetSpacing(positive(spacing)); },
          "Distance of neighbouring samples, in Å.")
      .def_property(
          "center", [](const Grid& g) { return center_of(g); },
          [](Grid& g, const py::object& center) {
            const std::array<float, 3> mid = xyz_of(center, "center");
            g.SetMid(mid[0], mid[1], mid[2]);
          },
          "The middle of the lattice, (x, y, z) in Å.")
      .def_property(
          "title", [](const Grid& g) { return text_of(g.GetTitle()); },
          [](Grid& g, const std::string& title) { g.SetTitle(title); }, "Text.")
      .def(
          "copy", [](const Grid& g) { return compute([&] { return std::make_shared<Grid>(g); }); },
          "A grid of its own with the same content.")
      .def("__copy__", [](const Grid& g) { return compute([&] { return std::make_shared<Grid>(g); }); })
      .def("__deepcopy__", [](const Grid& g, const py::object&) {
        return compute([&] { return std::make_shared<Grid>(g); });
      });
}

/// The one field of samples that plain and skew grids have.
template <class Class>
void def_values(Class& type) {
  using Grid = typename Class::type;
  const auto view = [](const py::object& self) {
    Grid& grid = self.cast<Grid&>();
    return view_of(grid.GetValues(), shape_of(grid), self);
  };
  type.def_property(
          "values", view,
          [view](const py::object& self, const py::object& values) { assign(view(self), values); },
          "The samples, a float32 array of shape (nz, ny, nx) that looks at the grid's own memory: to write "
          "to it\n"
          "is to change the grid.")
      .def(
          "__array__",
          [view](const py::object& self, const py::object& dtype) -> py::object {
            return dtype.is_none() ? view(self) : view(self).attr("astype")(dtype);
          },
          py::arg("dtype") = py::none());
}

template <class Grid>
std::shared_ptr<Grid> new_grid(const py::object& given, float spacing, const py::object& center,
                               const std::string& title) {
  const Floats values = numbers<Floats>(given, "values", {-1, -1, -1});
  auto grid = std::make_shared<Grid>();
  set_lattice(*grid, shape_of_values(values), spacing, center, title);
  copy_into(grid->GetValues(), values);
  return grid;
}

}  // namespace

std::array<float, 3> xyz_of(const py::handle& object, const char* name) {
  const Floats three = numbers<Floats>(object, name, {3});
  for (py::ssize_t i = 0; i < 3; ++i)
    if (!std::isfinite(three.at(i)))
      throw py::value_error(std::string(name) + ": three finite numbers were wanted, " +
                            std::string(py::repr(object)) + " came");
  return {three.at(0), three.at(1), three.at(2)};
}

void bind_grids(py::module_& module) {
  py::class_<VXGridAbstractBase, std::shared_ptr<VXGridAbstractBase>> base(
      module, "Grid", "What ScalarGrid, SkewGrid and MultiGrid have in common. Not made itself.");
  base.def_property_readonly(
          "shape", [](const VXGridAbstractBase& g) { return py::tuple(py::cast(shape_of(g))); },
          "Samples along z, y and x: (nz, ny, nx), the shape of an array of values.")
      .def_property_readonly(
          "attributes",
          [](const py::object& self) {
            return Attributes{&self.cast<VXGridAbstractBase&>(), self};
          },
          "What the grid carries beside its values, as a mapping.");

  py::class_<VXScalarGrid, VXGridAbstractBase, ScalarGridPtr> scalar(
      module, "ScalarGrid", "A plain grid: axes along x, y and z, one spacing.");
  scalar.def(py::init(&new_grid<VXScalarGrid>), py::arg("values"), py::kw_only(), py::arg("spacing") = 1.0f,
             py::arg("center") = py::make_tuple(0, 0, 0), py::arg("title") = "",
             "A grid with a copy of values, an array of numbers of shape (nz, ny, nx).");
  def_lattice(scalar);
  def_values(scalar);

  py::class_<VXSkewGrid, VXGridAbstractBase, SkewGridPtr> skew(
      module, "SkewGrid",
      "A crystallographic map: its axes may be oblique, and it has a cell and a space group.");
  skew.def(py::init(&new_grid<VXSkewGrid>), py::arg("values"), py::kw_only(), py::arg("spacing") = 1.0f,
           py::arg("center") = py::make_tuple(0, 0, 0), py::arg("title") = "",
           "A grid with a copy of values, an array of numbers of shape (nz, ny, nx).");
  def_lattice(skew);
  def_values(skew);
}
