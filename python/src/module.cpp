#include <pybind11/pybind11.h>

#include <vxgrid/host/version.h>

#include "arrays.h"
#include "bindings.h"
#include "call.h"

namespace {

/// An object whose __init__ never ran, as Class.__new__(Class) makes one, has nothing beneath. Taken as an
/// argument it is a TypeError, where pybind11 would go on with memory at random.
void refuse_unfinished_objects(const py::module_& module) {
  for (const auto& [name, object] : py::dict(module.attr("__dict__")))
    if (PyType_Check(object.ptr()))
      if (auto* const info = py::detail::get_type_info(reinterpret_cast<PyTypeObject*>(object.ptr())))
        info->operator_new = [](size_t) -> void* {
          throw py::type_error("the object was never initialised: its __init__ has not run");
        };
}

}  // namespace

PYBIND11_MODULE(_core, module) {
  module.doc() = "The compiled part of vxgrid. Import vxgrid, not this.";

  static PyObject* const error = PyErr_NewExceptionWithDoc(
      "vxgrid.Error", "Work of the library that failed, with the library's own messages.", PyExc_RuntimeError,
      nullptr);
  module.attr("Error") = py::handle(error);
  py::register_exception_translator([](std::exception_ptr raised) {
    try {
      if (raised) std::rethrow_exception(raised);
    } catch (const LibraryError& failure) {
      PyErr_SetObject(error, text_of(failure.what()).ptr());
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
  refuse_unfinished_objects(module);
}
