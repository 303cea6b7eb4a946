#include "crystals.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <pybind11/operators.h>
#include <pybind11/stl.h>

#include "arrays.h"
#include "bindings.h"
#include "call.h"

using namespace VXCore;
using VXXtal::VXSymmetry;
using VXXtal::VXUnitCell;

namespace {

constexpr const char* kSystems[] = {"triclinic", "monoclinic", "orthorhombic", "tetragonal",
                                    "trigonal",  "hexagonal",  "cubic"};

using Six = std::array<float, 6>;
using SymmetryState = std::tuple<int, Six, std::vector<bool>>;

Six six(const VXUnitCell& cell) { return {cell.a, cell.b, cell.c, cell.alpha, cell.beta, cell.gamma}; }
py::tuple parameters(const VXUnitCell& cell) { return py::tuple(py::cast(six(cell))); }

std::string shown(const VXUnitCell& cell) {
  return py::str("{:.7g}, {:.7g}, {:.7g}, {:.7g}, {:.7g}, {:.7g}").format(*parameters(cell));
}

VXUnitCell checked(const VXUnitCell& cell, const char* name) {
  const bool finite = std::isfinite(cell.a) && std::isfinite(cell.b) && std::isfinite(cell.c);
  if (finite && cell.isValid() && cell.GetVolume() > 0) return cell;  // not-a-number for impossible angles
  throw py::value_error(std::string(name) +
                        ": three edges above 0 Å and three angles in degrees that meet in a corner were "
                        "wanted, (" +
                        shown(cell) + ") came");
}

// A matrix in the layout of SGRecord stands on its columns: x' = m @ (x, y, z, 1).
py::array_t<float> columns(const float* m, std::vector<py::ssize_t> shape, const py::handle& owner) {
  constexpr py::ssize_t f = sizeof(float);
  const std::vector<py::ssize_t> strides =
      shape.size() == 2 ? std::vector<py::ssize_t>{f, 4 * f} : std::vector<py::ssize_t>{16 * f, f, 4 * f};
  py::array_t<float> view(std::move(shape), strides, m, owner);
  view.attr("setflags")(py::arg("write") = false);
  return view;
}

template <const float* (VXUnitCell::*Matrix)() const>
py::object matrix(const py::object& self) {
  return columns((self.cast<const VXUnitCell&>().*Matrix)(), {3, 3}, self);
}

/// A copy of positions (..., 3), moved by work(xyz, count).
template <class Work>
py::array_t<float> moved(const py::handle& object, const char* name, Work&& work) {
  const Floats points = points_of<Floats>(object, name);
  std::vector<float> xyz;
  compute([&, from = points.data(), size = points.size()] {
    xyz.assign(from, from + size);
    work(xyz.data(), static_cast<unsigned int>(xyz.size() / 3));
  });
  return array_of(std::move(xyz), {points.shape(), points.shape() + points.ndim()});
}

py::object moved_by(const float* m, const py::handle& object, const char* name) {
  return moved(object, name, [m](float* xyz, unsigned int count) {
    for (std::size_t i = 0; i < count; ++i) VXXtal::vecmul(xyz + 3 * i, m);
  });
}

unsigned int checked_operator(const VXSymmetry& symmetry, py::ssize_t op) {
  if (op >= 0 && op < static_cast<py::ssize_t>(symmetry.GetOpCount())) return static_cast<unsigned int>(op);
  throw py::index_error("operator: 0 to " + std::to_string(symmetry.GetOpCount() - 1) + " was wanted, " +
                        std::to_string(op) + " came");
}

SpaceGroup group(const VXSymmetry& symmetry) {
  return {sglib + (symmetry.GetMatrices() - sglib[0].ops[0]) /
                      static_cast<std::ptrdiff_t>(sizeof(SGRecord) / sizeof(float))};
}

SpaceGroup group_of_row(int row) {
  if (row >= 0 && row < static_cast<int>(kSpaceGroupRows)) return {sglib + row};
  throw py::value_error("pickle: no row " + std::to_string(row) + " of space groups");
}

VXSymmetry new_symmetry(const SpaceGroup& group, const VXUnitCell& cell) {
  VXSymmetry symmetry;
  run_short("no such space group", [&] {
    symmetry.GetImpl()->init(group.row(), cell);
    return static_cast<bool>(symmetry);
  });
  return symmetry;
}

std::vector<bool> enabled(const VXSymmetry& symmetry) {
  std::vector<bool> flags;
  symmetry.GetEnabled(flags);
  return flags;
}

void set_enabled(VXSymmetry& symmetry, const std::vector<bool>& flags) {
  if (!symmetry.SetEnabled(flags))
    throw py::value_error("enabled: one flag for each of the " + std::to_string(symmetry.GetOpCount()) +
                          " operators was wanted, " + std::to_string(flags.size()) + " came");
}

py::array_t<float> image(const VXSymmetry& symmetry, py::ssize_t op, const std::array<int, 3>& shift,
                         const py::object& center) {
  std::vector<float> m(16);
  const std::vector<float> at = center.is_none() ? std::vector<float>() : [&] {
    const Floats three = numbers<Floats>(center, "center", {3});
    return std::vector<float>(three.data(), three.data() + 3);
  }();
  symmetry.GetImpl()->GetMatrix(m.data(), checked_operator(symmetry, op), shift[0], shift[1], shift[2],
                                at.empty() ? nullptr : at.data());
  return array_of(std::move(m), {4, 4}).attr("transpose")();
}

void bind_cell(py::module_& module) {
  py::class_<VXUnitCell>(module, "UnitCell",
                         "A crystal's cell: edges in Å and angles in degrees. It does not change.\n\n"
                         "a lies along x, b in the xy plane. Where a cell is wanted, six numbers will do.")
      .def(py::init([](float a, float b, float c, float alpha, float beta, float gamma) {
             return checked(VXUnitCell(a, b, c, alpha, beta, gamma), "UnitCell");
           }),
           py::arg("a"), py::arg("b"), py::arg("c"), py::arg("alpha") = 90.0f, py::arg("beta") = 90.0f,
           py::arg("gamma") = 90.0f,
           "A cell; ValueError unless the edges are above 0 and the angles meet in a corner.")
      .def_readonly("a", &VXUnitCell::a, "Edge in Å.")
      .def_readonly("b", &VXUnitCell::b, "Edge in Å.")
      .def_readonly("c", &VXUnitCell::c, "Edge in Å.")
      .def_readonly("alpha", &VXUnitCell::alpha, "Angle of b and c in degrees.")
      .def_readonly("beta", &VXUnitCell::beta, "Angle of a and c in degrees.")
      .def_readonly("gamma", &VXUnitCell::gamma, "Angle of a and b in degrees.")
      .def_property_readonly("parameters", &parameters, "(a, b, c, alpha, beta, gamma)")
      .def_property_readonly("volume", &VXUnitCell::GetVolume, "Volume in Å³.")
      .def_property_readonly(
          "frac2cart", &matrix<&VXUnitCell::Frac2Cart>,
          "The (3, 3) matrix that makes Cartesian Å of fractions: cart = frac2cart @ frac.")
      .def_property_readonly(
          "cart2frac", &matrix<&VXUnitCell::Cart2Frac>,
          "The (3, 3) matrix that makes fractions of Cartesian Å: frac = cart2frac @ cart.")
      .def(
          "to_cartesian",
          [](const VXUnitCell& cell, const py::object& fractions) {
            return moved_by(cell.Frac2Cart(), fractions, "fractions");
          },
          py::arg("fractions"), "Cartesian positions in Å of fractions (..., 3), in float32.")
      .def(
          "to_fractional",
          [](const VXUnitCell& cell, const py::object& points) {
            return moved_by(cell.Cart2Frac(), points, "points");
          },
          py::arg("points"), "Fractions of the cell edges of Cartesian positions (..., 3) in Å, in float32.")
      .def(
          "is_close",
          [](const VXUnitCell& cell, const py::object& other, float tolerance) {
            return cell.equalsCell(cell_of(other, "other"), tolerance);
          },
          py::arg("other"), py::kw_only(), py::arg("tolerance") = 0.01f,
          "Whether all six numbers differ by at most a tolerance, in Å and degrees alike.")
      .def("__iter__", [](const VXUnitCell& cell) { return py::iter(parameters(cell)); })
      .def(
          "__eq__", [](const VXUnitCell& cell, const VXUnitCell& other) { return six(cell) == six(other); },
          py::is_operator())
      .def("__hash__", [](const VXUnitCell& cell) { return py::hash(parameters(cell)); })
      .def("__repr__", [](const VXUnitCell& cell) { return "UnitCell(" + shown(cell) + ")"; })
      .def(py::pickle(&six, [](const Six& state) { return VXUnitCell(state.data()); }));
}

void bind_group(py::module_& module) {
  py::class_<SpaceGroup>(module, "SpaceGroup",
                         "A space group in one setting, with its operators. It does not change.\n\n"
                         "Where a group is wanted, its number or its name will do.")
      .def(py::init([](const py::object& group) { return group_of(group, "group"); }), py::arg("group"),
           "The group of a number or a name, short or long; ValueError when there is none.")
      .def_property_readonly(
          "number", [](const SpaceGroup& g) { return g.record->number; },
          "Number in International Tables; 1000, 2000 or 3000 more for an alternative "
          "setting.")
      .def_property_readonly(
          "short_name", [](const SpaceGroup& g) { return g.record->short_name; }, "The name as in \"P21/c\".")
      .def_property_readonly(
          "name", [](const SpaceGroup& g) { return g.record->long_name; }, "The name as in \"P 1 21/c 1\".")
      .def_property_readonly(
          "system", [](const SpaceGroup& g) { return kSystems[g.record->crystal_system - 1]; },
          "The crystal system, \"triclinic\" to \"cubic\".")
      .def_property_readonly(
          "operators",
          [](const py::object& self) {
            const SGRecord& record = *self.cast<const SpaceGroup&>().record;
            return columns(record.ops[0], {static_cast<py::ssize_t>(record.op_count), 4, 4}, self);
          },
          "The operators, float32 matrices (n, 4, 4) for operator @ (x, y, z, 1) on fractions; the first is "
          "the "
          "identity.")
      .def(
          "__eq__", [](const SpaceGroup& g, const SpaceGroup& o) { return g.record == o.record; },
          py::is_operator())
      .def("__hash__", [](const SpaceGroup& g) { return g.row(); })
      .def("__repr__",
           [](const SpaceGroup& g) {
             return "SpaceGroup(" + std::to_string(g.record->number) + ", \"" + g.record->long_name + "\")";
           })
      .def(py::pickle([](const SpaceGroup& g) { return g.row(); }, &group_of_row));
  module.def(
      "space_groups",
      [] {
        py::list groups;
        for (const SGRecord& record : sglib) groups.append(SpaceGroup{&record});
        return groups;
      },
      "All space groups in all settings that the library knows: 1 to 230, then alternative settings.");
}

void bind_symmetry(py::module_& module) {
  py::class_<VXSymmetry>(module, "Symmetry", "A space group in a cell.")
      .def(
          py::init([](const py::object& group, const py::object& cell) {
            return new_symmetry(group_of(group, "group"), cell_of(cell, "cell"));
          }),
          py::arg("group"), py::arg("cell"),
          "A group (SpaceGroup, number or name) in a cell (UnitCell or six numbers).\n\nA cell that does not "
          "fit the group is taken, with a warning on the logger.")
      .def_property_readonly("group", &group, "The space group.")
      .def_property_readonly(
          "cell", [](const VXSymmetry& s) { return s.cell(); }, "The cell.")
      .def_property_readonly(
          "warning", [](const VXSymmetry& s) { return text_of(s.GetError()); },
          "What is wrong with the cell for this group; empty when all is well.")
      .def_property("enabled", &enabled, &set_enabled,
                    "One flag an operator, as a list: whether images by it are wanted.")
      .def(
          "to_fractional",
          [](const VXSymmetry& s, const py::object& points, py::ssize_t op, bool wrap) {
            const unsigned int which = checked_operator(s, op);
            return moved(points, "points", [&](float* xyz, unsigned int count) {
              s.CartesianToFractional(xyz, count, which, wrap);
            });
          },
          py::arg("points"), py::kw_only(), py::arg("operator") = 0, py::arg("wrap") = false,
          "Fractions of Cartesian positions (..., 3) in Å, moved by one operator; with wrap brought into "
          "[0, 1).")
      .def("image", &image, py::arg("operator"), py::arg("shift") = py::make_tuple(0, 0, 0), py::kw_only(),
           py::arg("center") = py::none(),
           "The (4, 4) matrix of an image of the crystal: matrix @ (x, y, z, 1) moves a place in Å by an "
           "operator, then by shift\ncells along a, b and c. With a center (x, y, z) in Å the image of the "
           "center lies in the home cell first.")
      .def(
          "__eq__",
          [](const VXSymmetry& s, const VXSymmetry& o) {
            return s.GetMatrices() == o.GetMatrices() && six(s.cell()) == six(o.cell()) &&
                   enabled(s) == enabled(o);
          },
          py::is_operator())
      .def("__repr__",
           [](const VXSymmetry& s) {
             return std::string("Symmetry(\"") + group(s).record->long_name + "\", (" + shown(s.cell()) +
                    "))";
           })
      .def(py::pickle(
          [](const VXSymmetry& s) -> SymmetryState {
            return {group(s).row(), six(s.cell()), enabled(s)};
          },
          [](const SymmetryState& state) {
            const auto& [row, cell, flags] = state;
            VXSymmetry symmetry = new_symmetry(group_of_row(row), VXUnitCell(cell.data()));
            set_enabled(symmetry, flags);
            return symmetry;
          }));
}

}  // namespace

VXUnitCell cell_of(const py::handle& object, const char* name) {
  if (py::isinstance<VXUnitCell>(object)) return object.cast<const VXUnitCell&>();
  const Floats given = numbers<Floats>(py::getattr(object, "parameters", object), name, {6});
  return checked(VXUnitCell(given.data()), name);
}

py::object cell_object(const VXUnitCell& cell) {
  return cell.isValid() ? py::cast(cell) : py::object(py::none());
}

SpaceGroup group_of(const py::handle& object, const char* name) {
  if (py::isinstance<SpaceGroup>(object)) return object.cast<SpaceGroup>();
  const VXMessageCapture quiet;
  int row = -1;
  if (PyUnicode_Check(object.ptr())) {
    row = FindSpaceGroup(bytes_of(object, name));
  } else if (PyIndex_Check(object.ptr()) && !PyBool_Check(object.ptr())) {
    const long long number = py::int_(py::reinterpret_borrow<py::object>(object));
    if (number > 0 && number < 10000) row = FindSpaceGroup(static_cast<unsigned int>(number));
  } else {
    throw py::type_error(std::string(name) + ": a SpaceGroup, a number or a name was wanted, " +
                         Py_TYPE(object.ptr())->tp_name + " came");
  }
  if (row < 0)
    throw py::value_error(std::string(name) + ": the number or the name of a space group was wanted, " +
                          shown(object) + " came");
  return {sglib + row};
}

py::object group_object(unsigned int number) {
  const int row = FindSpaceGroup(number);
  return row < 0 ? py::object(py::none()) : py::cast(SpaceGroup{sglib + row});
}

void bind_crystals(py::module_& module) {
  bind_cell(module);
  bind_group(module);
  bind_symmetry(module);
}
