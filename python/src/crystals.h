#pragma once

#include <pybind11/pybind11.h>

#include <vxgrid/xtal/spacegroup.h>
#include <vxgrid/xtal/symmetry.h>
#include <vxgrid/xtal/unit_cell.h>

namespace py = pybind11;

/// vxgrid.SpaceGroup in Python: a row of `sglib`.
struct SpaceGroup {
  const VXCore::SGRecord* record;

  int row() const { return static_cast<int>(record - VXCore::sglib); }
};

/// A cell out of a UnitCell, of six numbers, or of an object whose `parameters` are six numbers. ValueError
/// unless a crystal can have it. `name` is that of the argument.
VXCore::VXXtal::VXUnitCell cell_of(const py::handle& object, const char* name);

/// UnitCell, or None for a cell that is not valid (isValid).
py::object cell_object(const VXCore::VXXtal::VXUnitCell& cell);

/// A space group out of a SpaceGroup, of a number (as the library counts settings: see SGRecord) or of a
/// name, short or long. ValueError when there is none.
SpaceGroup group_of(const py::handle& object, const char* name);

/// SpaceGroup by its number, or None for a number that no group has.
py::object group_object(unsigned int number);
