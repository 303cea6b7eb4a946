#pragma once

#include <string>
#include <vector>

#include <vxgrid/host/molecule.h>

namespace VXCore {

/// One record of a PDB file that is about the molecule as a whole: the tag is its name ("CRYST1", "REMARK"),
/// the value is the line after the first six characters.
struct VXPDBDataPair {
  std::string tag;
  std::string value;
};

/// The records of a molecule in order; a tag may stand many times. Of a molecule with conformers, those of
/// the first.
VXGRID_API const std::vector<VXPDBDataPair>& VXGetPDBDataPairs(const VXMolBase& mol);

/// The value of the first record of a tag; empty when there is none.
VXGRID_API std::string VXGetPDBData(const VXMolBase& mol, const std::string& tag);
VXGRID_API bool VXHasPDBData(const VXMolBase& mol, const std::string& tag);
/// Puts one record in the place of all those of its tag.
VXGRID_API void VXSetPDBData(VXMolBase& mol, const std::string& tag, const std::string& value);
/// Appends a record.
VXGRID_API void VXAddPDBData(VXMolBase& mol, const std::string& tag, const std::string& value);
VXGRID_API void VXDeletePDBData(VXMolBase& mol, const std::string& tag);

}  // namespace VXCore
