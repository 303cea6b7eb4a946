#pragma once

#include <array>
#include <memory>
#include <vector>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/grid/zemogrid.h>

#include "arrays.h"

namespace py = pybind11;

// The grid classes of Python are these three of the library, held by shared_ptr. Their values stay where they
// are for as long as the object lives, because views look at them: no operation of Python changes the
// dimensions of a grid; what gives others gives a new grid.
using ScalarGridPtr = std::shared_ptr<VXCore::VXScalarGrid>;
using SkewGridPtr = std::shared_ptr<VXCore::VXSkewGrid>;
using MultiGridPtr = std::shared_ptr<VXCore::VXZemoGrid>;

/// The working grid beneath a grid of Python, where it has one.
inline VXCore::VXZemoGrid& inner(VXCore::VXSkewGrid& grid) { return grid.GetImpl().GetImpl(); }
inline VXCore::VXZemoGrid& inner(VXCore::VXZemoGrid& grid) { return grid; }
inline const VXCore::VXZemoGrid& inner(const VXCore::VXSkewGrid& grid) { return grid.GetImpl().GetImpl(); }
inline const VXCore::VXZemoGrid& inner(const VXCore::VXZemoGrid& grid) { return grid; }

/// The samples that Python sees as `values`, also of a grid of one: float field 0, or the current one.
inline float* values_of(VXCore::VXScalarGrid& grid) { return grid.GetValues(); }
inline float* values_of(VXCore::VXSkewGrid& grid) { return inner(grid).GetFloats().GetValues(); }
inline float* values_of(VXCore::VXZemoGrid& grid) { return grid.CurrentFloats().GetValues(); }

/// work(grid) with a grid as the class that it is of.
template <class Work>
decltype(auto) visit(VXCore::VXGridAbstractBase& grid, Work&& work) {
  if (auto* const scalar = dynamic_cast<VXCore::VXScalarGrid*>(&grid)) return work(*scalar);
  if (auto* const skew = dynamic_cast<VXCore::VXSkewGrid*>(&grid)) return work(*skew);
  return work(dynamic_cast<VXCore::VXZemoGrid&>(grid));
}

/// A skew grid of the current fields of a multi-field one.
SkewGridPtr current_fields(const VXCore::VXZemoGrid& grid);

/// Three numbers (x, y, z) out of any sequence of Python; `name` is that of the argument.
std::array<float, 3> xyz_of(const py::handle& object, const char* name);

/// A (3, 3) matrix of three axes that span space.
Floats matrix_of(const py::object& given, const char* name);

/// A number of Å above 0.
float spacing_of(float spacing);

/// (nz, ny, nx)
inline std::vector<py::ssize_t> shape_of(const VXCore::VXGridAbstractBase& grid) {
  return {grid.GetZDim(), grid.GetYDim(), grid.GetXDim()};
}
