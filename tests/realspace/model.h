#pragma once

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
