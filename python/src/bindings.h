#pragma once

#include <pybind11/pybind11.h>

// One function a subject. Classes that others name as arguments come first.
void bind_attributes(pybind11::module_& module);
void bind_crystals(pybind11::module_& module);
void bind_density(pybind11::module_& module);
void bind_gaussians(pybind11::module_& module);
void bind_grid_files(pybind11::module_& module);
void bind_grid_operations(pybind11::module_& module);
void bind_grids(pybind11::module_& module);
void bind_molecular_grids(pybind11::module_& module);
void bind_molecule_files(pybind11::module_& module);
void bind_molecule_symmetry(pybind11::module_& module);
void bind_molecules(pybind11::module_& module);
void bind_mtz(pybind11::module_& module);
void bind_reflections(pybind11::module_& module);
void bind_scoring(pybind11::module_& module);
