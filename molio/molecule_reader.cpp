#include <molio/molecule_reader.h>

#include "molecule_source.inl"

namespace VXCore {

VXMoleculeReader::VXMoleculeReader(const std::string& filename) : filename_(filename) {
  try {
    source_ = std::make_unique<MoleculeSource>(filename);
  } catch (const ParseFault& fault) {
    warn_of_fault("VXMoleculeReader", filename, fault);
  }
}

VXMoleculeReader::~VXMoleculeReader() = default;

bool VXMoleculeReader::Next() { return source_ && source_->next(); }

bool VXMoleculeReader::Read(VXGraphMol& mol) {
  if (GetNumber() == 0) return false;
  try {
    source_->read(mol, VXAlternates::Best);
    return true;
  } catch (const std::exception& fault) {
    const std::string number = source_->has_records() ? ", molecule " + std::to_string(GetNumber()) : "";
    warn_of_fault("VXMoleculeReader", filename_ + number, fault);
  }
  return false;
}

unsigned long VXMoleculeReader::GetNumber() const { return source_ ? source_->number() : 0; }

double VXMoleculeReader::GetShareRead() const { return source_ ? source_->share_read() : 0; }

}  // namespace VXCore
