#include <array>
#include <string>
#include <utility>
#include <vector>

#include <pybind11/stl.h>

#include <vxgrid/host/mol_geometry.h>
#include <vxgrid/host/pdb_data.h>
#include <vxgrid/xtal/xtal_symmetry.h>

#include "arrays.h"
#include "bindings.h"
#include "call.h"
#include "grids.h"
#include "molecules.h"

using namespace VXCore;
using VXXtal::VXSymmetry;
using VXXtal::VXXtalSymmetry;

namespace {

/// Gives a molecule the attributes of its symmetry, where it has one. What was set wins over CRYST1.
bool find_symmetry(VXGraphMol& mol) {
  return VXXtal::VXHasXtalSymmetry(mol) ||
         (VXHasCrystalSymmetryImpl(mol) && VXXtal::VXSetXtalSymmetryFromPDBData(mol));
}

py::object symmetry(const VXGraphMol& mol) {
  VXSymmetry symmetry;
  compute([&] {
    VXGraphMol copy = mol;
    return find_symmetry(copy) && VXXtalSymmetry::GetSymmetry(copy, symmetry);
  });
  return symmetry ? py::cast(symmetry) : py::object(py::none());
}

void set_symmetry(VXGraphMol& mol, const VXSymmetry* symmetry) {
  VXDeletePDBData(mol, "CRYST1");
  for (const unsigned int tag : {VXXtal::VXSymmCellTag(), VXXtal::VXSymmSGTag(), VXXtal::VXSymmSGNameTag(),
                                 VXXtal::VXSymmEnabledTag(), VXXtal::VXSymmComTag()})
    mol.DeleteData(tag);
  if (symmetry)
    run_short("the symmetry cannot be stored", [&] {
      return VXXtalSymmetry::SetSymmetry(mol, *symmetry, false) && VXXtal::VXSetPDBDataFromXtalSymmetry(mol);
    });
}

/// The molecule, its symmetry in its attributes. ValueError without one.
VXGraphMol crystal(const VXGraphMol& mol) {
  VXGraphMol copy = mol;
  if (!compute([&] { return find_symmetry(copy); }))
    throw py::value_error("the molecule has no symmetry: set `symmetry`, or give it a CRYST1 record");
  return copy;
}

VXXtalSymmetry images_near(const VXGraphMol& crystal, float radius, const py::object& center) {
  if (!(radius >= 0))
    throw py::value_error("radius: a number of Å of 0 or more was wanted, " + std::to_string(radius) +
                          " came");
  std::array<float, 3> at{}, extents;
  if (!center.is_none())
    at = xyz_of(center, "center");
  else if (!VXGetCenterAndExtents(crystal, at.data(), extents.data()))
    throw py::value_error("the molecule has no atoms with coordinates");
  return compute([&] {
    const VXMessageCapture messages;
    const VXXtalSymmetry images(crystal, at.data(), radius);
    if (images.NumOps() == 0 && !messages.GetMessages().empty()) throw LibraryError(reason(messages, ""));
    return images;
  });
}

VXXtalSymmetry images_in_cell(const VXGraphMol& crystal, const std::array<int, 3>& shift) {
  return compute([&] { return VXXtalSymmetry(crystal, shift[0], shift[1], shift[2]); });
}

py::list rows(const VXXtalSymmetry& images) {
  const py::object row = py::module_::import("vxgrid._rows").attr("SymmetryImage");
  py::list list;
  for (unsigned int i = 0; i < images.NumOps(); ++i) {
    std::vector<float> matrix(images.Matrix(i), images.Matrix(i) + 16);
    list.append(row(images.GetOpNumber(i), images.IsIdentity(i),
                    array_of(std::move(matrix), {4, 4}).attr("transpose")()));
  }
  return list;
}

/// The molecule, then its images.
MoleculePtr expanded(const VXGraphMol& crystal, const VXXtalSymmetry& images) {
  auto mol = std::make_shared<VXGraphMol>(crystal);
  if (images.NumOps() > 0 && crystal)
    run("the images cannot be made", [&] { return images.Realize(*mol, false, ~0u) != nullptr; });
  return mol;
}

}  // namespace

void bind_molecule_symmetry(py::module_& module) {
  auto type = py::reinterpret_borrow<py::class_<VXGraphMol, MoleculePtr>>(module.attr("Molecule"));
  type.def_property(
          "symmetry", &symmetry, &set_symmetry,
          "The crystal's symmetry: what was set, else what the CRYST1 record says; None without one. To set "
          "it sets the\nrecord too.")
      .def(
          "images_near",
          [](const VXGraphMol& mol, float radius, const py::object& center) {
            return rows(images_near(crystal(mol), radius, center));
          },
          py::arg("radius"), py::kw_only(), py::arg("center") = py::none(),
          "The symmetry images of the molecule whose box comes within a radius in Å of a center (x, y, z), "
          "by "
          "default\nthe molecule's own; the identity is one of them. A list of rows (operator, is_identity, "
          "matrix).")
      .def(
          "images_in_cell",
          [](const VXGraphMol& mol, const std::array<int, 3>& shift) {
            return rows(images_in_cell(crystal(mol), shift));
          },
          py::arg("shift") = py::make_tuple(0, 0, 0),
          "One image for each enabled operator, its center of mass in the home cell, or shift cells along a, "
          "b "
          "and c\nfrom there. A list of rows (operator, is_identity, matrix).")
      .def(
          "expand_near",
          [](const VXGraphMol& mol, float radius, const py::object& center) {
            const VXGraphMol home = crystal(mol);
            return expanded(home, images_near(home, radius, center));
          },
          py::arg("radius"), py::kw_only(), py::arg("center") = py::none(),
          "A molecule with the atoms of this one and those of every row of images_near behind it, the "
          "identity "
          "too.\n`image_numbers` tells them apart where there are residue data: 0, then the place of the "
          "image in the list, from 1.")
      .def(
          "expand_cell",
          [](const VXGraphMol& mol, const std::array<int, 3>& shift) {
            const VXGraphMol home = crystal(mol);
            return expanded(home, images_in_cell(home, shift));
          },
          py::arg("shift") = py::make_tuple(0, 0, 0),
          "A molecule with the atoms of this one and those of every row of images_in_cell behind it, as "
          "expand_near.");
}
