#pragma once

#include <vxgrid/host/binary_records.h>
#include <vxgrid/host/molecule.h>

namespace VXCore {

// Molecules as native records: atoms with names, coordinates, charges, radii and residue data, bonds, PDB
// data, title, the crystal (cell and reference point), and the attributes of the molecule, its atoms and its
// bonds.

/// Writes the record "VXGraphMol". Gaps of atom indices are closed.
class VXGRID_API VXMoleculeWriteFxn : public VXWriteFxn<VXGraphMol> {
 public:
  const char* GetTag() const override;
  VXMoleculeWriteFxn* CreateCopy() const override;
  bool operator()(vxostream& out, const VXGraphMol& mol, const VXBinaryIOHandlerBase& handler) override;
};

/// Reads it in the place of everything that the molecule held; a record that fails leaves the molecule alone.
class VXGRID_API VXMoleculeReadFxn : public VXReadFxn<VXGraphMol> {
 public:
  const char* GetTag() const override;
  VXMoleculeReadFxn* CreateCopy() const override;
  unsigned int operator()(vxistream& in, VXGraphMol& mol, unsigned long length,
                          const VXBinaryIOHandlerBase& handler) override;
};

/// Makes molecules known to a handler. Streams do not know them unless this is called.
VXGRID_API bool VXInitMoleculeHandlers(VXBinaryIOHandlerBase& handler);

}  // namespace VXCore
