#pragma once

#include <pybind11/pybind11.h>

#include <vxgrid/host/base.h>

namespace py = pybind11;

/// The attributes of an object as a mapping of Python: str to bool, int, float, str, or a list of one of
/// these. An attribute keeps the type that it has; a new float is stored in double precision. Attributes of
/// other types are listed by neither keys nor length.
struct Attributes {
  VXCore::VXBase* object;
  py::object owner;  ///< keeps the object alive
  /// Null, or a second object that shares its attributes with the first: it is looked at for those that the
  /// first does not have, and a change reaches both.
  VXCore::VXBase* second = nullptr;
};

/// Gives a class that has the items of a mapping the rest of one (get, update, ==, ...), which is Python's
/// own.
void make_mutable_mapping(const py::object& type);
