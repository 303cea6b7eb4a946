#include <molio/read_molecule.h>

#include <vxgrid/host/text.h>

#include "molecule_source.inl"

namespace VXCore {
namespace {

struct Extension {
  const char* name;
  VXMoleculeFile file;
};
constexpr Extension kExtensions[] = {{"pdb", VXMoleculeFile::PDB},   {"ent", VXMoleculeFile::PDB},
                                     {"cif", VXMoleculeFile::mmCIF}, {"mmcif", VXMoleculeFile::mmCIF},
                                     {"sdf", VXMoleculeFile::SDF},   {"sd", VXMoleculeFile::SDF},
                                     {"mol", VXMoleculeFile::SDF},   {"mol2", VXMoleculeFile::MOL2}};

}  // namespace

VXMoleculeFile VXGetMoleculeFile(const std::string& filename) {
  for (const Extension& extension : kExtensions)
    if (VXFileExtension(filename, extension.name)) return extension.file;
  return VXMoleculeFile::Unknown;
}

bool VXReadMolecule(const std::string& filename, VXGraphMol& mol, VXAlternates alternates) {
  try {
    MoleculeSource source(filename);
    if (!source.next()) throw ParseFault("there are no molecules in it");
    source.read(mol, alternates);
    return true;
  } catch (const std::exception& fault) {
    warn_of_fault("VXReadMolecule", filename, fault);
  }
  return false;
}

}  // namespace VXCore
