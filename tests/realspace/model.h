#pragma once

#include <cmath>

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/host/molecule.h>
#include <vxgrid/host/residue.h>

inline constexpr float kIdentity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
inline constexpr float kOblique[9] = {1, -0.3f, 0.1f, 0, 0.9f, 0.07f, 0, 0, 1.2f};

/// An atom with residue data: chain A, name ALA.
inline VXCore::VXAtomBase* add_atom(VXCore::VXMolBase& mol, unsigned int element, float x, float y, float z,
                                    float bfactor = 20.0f, float occupancy = 1.0f, int residue_number = 1) {
  VXCore::VXAtomBase* atom = mol.AddAtom(element);
  const float xyz[3] = {x, y, z};
  mol.SetCoords(atom, xyz);
  VXCore::VXResidue residue;
  residue.SetName("ALA");
  residue.SetChainId("A");
  residue.SetNumber(residue_number);
  residue.SetBFactor(bfactor);
  residue.SetOccupancy(occupancy);
  VXCore::VXAtomSetResidue(atom, residue);
  return atom;
}

/// A bonded chain of C, N, O and S, wound with 2.4 Å from turn to turn, and a hydrogen on each second atom.
inline VXCore::VXGraphMol helix(int heavy) {
  const unsigned int elements[] = {6, 6, 7, 6, 8, 6, 16};
  VXCore::VXGraphMol mol;
  VXCore::VXAtomBase* last = nullptr;
  for (int i = 0; i < heavy; ++i) {
    const float turn = 1.1f * static_cast<float>(i), z = 0.42f * static_cast<float>(i);
    const float x = std::cos(turn), y = std::sin(turn), r = 1.4f + 0.1f * std::sin(turn * turn);
    VXCore::VXAtomBase* const atom = add_atom(mol, elements[i % 7], r * x, r * y, z);
    if (last) mol.AddBond(last, atom);
    if (i % 2) mol.AddBond(atom, add_atom(mol, 1, (r + 1.1f) * x, (r + 1.1f) * y, z));
    last = atom;
  }
  return mol;
}

inline VXCore::VXScalarGrid regular_grid(unsigned int nx, unsigned int ny, unsigned int nz, float spacing,
                                         float x = 0, float y = 0, float z = 0) {
  return VXCore::VXScalarGrid(static_cast<int>(nx), static_cast<int>(ny), static_cast<int>(nz), x, y, z,
                              spacing, "", nullptr);
}

/// The same with an orientation.
inline VXCore::VXSkewGrid skew_grid(unsigned int nx, unsigned int ny, unsigned int nz, float spacing,
                                    const float* orientation, float x = 0, float y = 0, float z = 0) {
  VXCore::VXSkewGrid grid(regular_grid(nx, ny, nz, spacing, x, y, z));
  grid.GetImpl().SetOrientation(orientation);
  return grid;
}
