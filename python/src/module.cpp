#include <pybind11/pybind11.h>

#include <vxgrid/host/version.h>

#include "arrays.h"
#include "bindings.h"
#include "call.h"

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
}
