#pragma once

#include <string>

#include <vxgrid/host/molecule.h>

namespace VXCore {

enum class VXMoleculeFile { Unknown, PDB, mmCIF, SDF, MOL2 };

/// The kind of a coordinate file by its extension, a final ".gz" aside: pdb, ent; cif, mmcif; sdf, sd, mol;
/// mol2. Letter case does not count, and the file need not exist.
VXGRID_API VXMoleculeFile VXGetMoleculeFile(const std::string& filename);

/// Which alternate conformations of a PDB or mmCIF file become atoms: Best keeps one, as most work wants a
/// molecule that hangs together; All keeps every atom, as a structure factor does.
///
/// The best one: among letters that share an atom name in one residue, the one with the highest occupancy,
/// the first letter on a tie.
enum class VXAlternates { Best, All };

/// Reads a coordinate file, compressed or not, in the format that its extension names.
///
/// Of a PDB or mmCIF file the first model is read, of SDF and MOL2 the first molecule. Atoms come in the
/// order of the file, with
///  - their element. Hydrogens stay; deuterium is atomic number 1. What is no element (X, dummy and query
///    atoms, an unknown symbol) stays as an atom of number 0;
///  - formal charges (MOL2 has none) and coordinates in Å;
///  - bonds where the file has them: CONECT records (repeated ones are the order), _struct_conn rows within
///    the asymmetric unit (covalent, disulphide, metal), bond lists. Aromatic bonds have order 1;
///  - in PDB and mmCIF residue data: name, chain, number and insertion code (those of the authors, where
///    mmCIF has two sets), alternate location, serial number, B factor, occupancy. An occupancy that is not
///    given is 1, a B factor 0.
///
/// The PDB data of the molecule are the CRYST1 and REMARK records of a PDB file; of mmCIF, CRYST1 is made
/// from the cell and the group, and one REMARK 2 from the resolution. The title is the PDB code, or what the
/// first line of an SDF or MOL2 molecule says.
///
/// False, with one Warning (file, line where known, fault) and the molecule as it was, for a file that cannot
/// be read, for a molecule that is cut short (one of an SDF file ends in "M  END") or without atoms, and for
/// coordinates that are not finite numbers. VXMoleculeReader reads all molecules of a file.
VXGRID_API bool VXReadMolecule(const std::string& filename, VXGraphMol& mol,
                               VXAlternates alternates = VXAlternates::Best);

}  // namespace VXCore
