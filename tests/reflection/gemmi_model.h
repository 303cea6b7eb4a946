#pragma once

#include <gemmi/it92.hpp>
#include <gemmi/pdb.hpp>
#include <gemmi/sfcalc.hpp>

#include <vxgrid/reflection/reflection.h>
#include <vxgrid/xtal/symmetry.h>

#include "../realspace/model.h"

/// A PDB file as gemmi reads it, all atoms isotropic.
inline gemmi::Structure read_isotropic(const std::string& file) {
  gemmi::Structure structure = gemmi::read_pdb_file(file);
  for (gemmi::CRA cra : structure.models[0].all()) cra.atom->aniso = {0, 0, 0, 0, 0, 0};
  return structure;
}

/// Its atoms, alternate conformations too.
inline VXCore::VXGraphMol molecule_of(const gemmi::Structure& structure) {
  VXCore::VXGraphMol mol;
  for (gemmi::const_CRA cra : structure.models[0].all()) {
    const gemmi::Atom& a = *cra.atom;
    add_atom(mol, static_cast<unsigned>(a.element.atomic_number()), static_cast<float>(a.pos.x),
             static_cast<float>(a.pos.y), static_cast<float>(a.pos.z), a.b_iso, a.occ);
  }
  return mol;
}

/// The cell of a set with all images of its group.
inline gemmi::UnitCell cell_of(const VXCore::VXReflection& set) {
  const VXCore::VXXtal::VXUnitCell& c = set.GetSymmetry().cell();
  gemmi::UnitCell cell(c.a, c.b, c.c, c.alpha, c.beta, c.gamma);
  cell.set_cell_images_from_spacegroup(
      gemmi::find_spacegroup_by_number(static_cast<int>(set.GetSymmetry().GetNumber())));
  return cell;
}
