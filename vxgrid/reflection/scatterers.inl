#pragma once

#include <vector>

#include <vxgrid/host/molecule.h>
#include <vxgrid/host/residue.h>

namespace VXCore {

/// An atom as it scatters X-rays.
struct Scatterer {
  float xyz[3];  ///< Å
  float occupancy;
  float b_iso;  ///< Å²
  unsigned int atomic_number;
  int formal_charge;
};

/// The atoms of a model that have residue data, in the order of the model. They are those of one asymmetric
/// unit: the sum over the operators of the space group is for the caller.
inline std::vector<Scatterer> find_scatterers(const VXMolBase& model) {
  VXGraphMol mol(model);
  VXAssignFormalCharges(mol);
  std::vector<Scatterer> found;
  found.reserve(mol.NumAtoms());
  for (const VXAtomBase& atom : VXIter<VXAtomBase>(mol.GetAtoms())) {
    if (!VXHasResidue(&atom)) continue;
    const VXResidue& residue = VXAtomGetResidue(&atom);
    Scatterer s = {
        {}, residue.GetOccupancy(), residue.GetBFactor(), atom.GetAtomicNum(), atom.GetFormalCharge()};
    mol.GetCoords(&atom, s.xyz);
    found.push_back(s);
  }
  return found;
}

}  // namespace VXCore
