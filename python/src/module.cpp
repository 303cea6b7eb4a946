#include <algorithm>
#include <cstdlib>
#include <string>

#include <pybind11/pybind11.h>

#include <vxgrid/host/version.h>

#include "arrays.h"
#include "bindings.h"
#include "call.h"

namespace {

/// The class from which those of pybind11 stem has no instances: making one, as object.__reduce__ does, would
/// end the process.
PyObject* new_instance(PyTypeObject* type, PyObject*, PyObject*) {
  if (!py::detail::all_type_info(type).empty()) return py::detail::make_new_instance(type);
  PyErr_Format(PyExc_TypeError, "%s has no instances", type->tp_name);
  return nullptr;
}

/// What pickles of an object hold. Protocols 0 and 1, which take no state of it, do as 2 does.
py::object reduce(const py::object& self, int protocol) {
  return py::module_::import("builtins").attr("object").attr("__reduce_ex__")(self, std::max(protocol, 2));
}

void finish_classes(const py::module_& module) {
  for (const auto& [name, object] : py::dict(module.attr("__dict__"))) {
    if (!PyType_Check(object.ptr())) continue;
    auto* const info = py::detail::get_type_info(reinterpret_cast<PyTypeObject*>(object.ptr()));
    if (!info) continue;
    object.attr("__reduce_ex__") =
        py::cpp_function(&reduce, py::is_method(object), py::name("__reduce_ex__"), py::arg("protocol"));
    // An object whose __init__ never ran, as Class.__new__(Class) makes one, has nothing beneath. Taken as an
    // argument it is a TypeError, where pybind11 would go on with memory at random.
    info->operator_new = [](size_t) -> void* {
      throw py::type_error("the object was never initialised: its __init__ has not run");
    };
  }
}

/// The arrays of NumPy 2 are laid out otherwise, and pybind11 before 2.12 would misread them.
void refuse_newer_numpy() {
#if PYBIND11_VERSION_HEX < 0x020C0000
  const auto version = py::module_::import("numpy").attr("__version__").cast<std::string>();
  if (std::atoi(version.c_str()) >= 2)
    throw py::import_error(
        "vxgrid: NumPy 1 was wanted, as the package was built with a pybind11 before 2.12; " + version +
        " came");
#endif
}

}  // namespace

PYBIND11_MODULE(_core, module) {
  module.doc() = "The compiled part of vxgrid. Import vxgrid, not this.";

  refuse_newer_numpy();
  module.attr("__version__") = VXCore::VXGridGetVersion();
  reinterpret_cast<PyTypeObject*>(py::detail::get_internals().instance_base)->tp_new = &new_instance;

  static PyObject* const error = PyErr_NewExceptionWithDoc(
      "vxgrid.Error", "Work of the library that failed, with the library's own messages.", PyExc_RuntimeError,
      nullptr);
  module.attr("Error") = py::handle(error);
  // Messages name files and labels, whose bytes need not be UTF-8: pybind11 would lose all of such a message.
  py::register_local_exception_translator([](std::exception_ptr raised) {
    const auto set = [](PyObject* type, const std::exception& failure) {
      PyErr_SetObject(type, text_of(failure.what()).ptr());
    };
    try {
      if (raised) std::rethrow_exception(raised);
    } catch (const LibraryError& failure) {
      set(error, failure);
    } catch (const py::value_error& failure) {
      set(PyExc_ValueError, failure);
    } catch (const py::type_error& failure) {
      set(PyExc_TypeError, failure);
    } catch (const py::key_error& failure) {
      set(PyExc_KeyError, failure);
    }
  });

  bind_attributes(module);
  bind_crystals(module);
  bind_grids(module);
  bind_grid_files(module);
  bind_molecules(module);
  bind_molecule_files(module);
  bind_molecule_symmetry(module);
  bind_molecular_grids(module);
  bind_gaussians(module);
  bind_grid_operations(module);
  bind_reflections(module);
  bind_mtz(module);
  bind_density(module);
  bind_scoring(module);
  finish_classes(module);
}
