#pragma once

#include <memory>

#include <pybind11/pybind11.h>

#include <vxgrid/host/molecule.h>

namespace py = pybind11;

// Molecule in Python is VXGraphMol, held by shared_ptr. Its atoms are fixed once it is made, without gaps in
// their indices, because arrays look at its coordinates: what has other atoms is a new molecule.
using MoleculePtr = std::shared_ptr<VXCore::VXGraphMol>;
