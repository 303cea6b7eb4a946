#include <molio/read_molecule.h>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

#include <vxgrid/host/error_handler.h>
#include <vxgrid/host/stream.h>
#include <vxgrid/host/text.h>

#include "parsed_molecule.inl"

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

/// Why a file did not open.
std::string open_fault(const std::string& filename) {
  std::error_code error;
  const auto status = std::filesystem::status(filename, error);
  if (!std::filesystem::exists(status)) return "there is no such file";
  if (std::filesystem::is_directory(status)) return "this is a folder";
  return "the file cannot be read";
}

/// All of a file. What is compressed may unpack to 250 times its size, which real coordinates are far from.
std::string read_text(const std::string& filename) {
  VXHost::vxifstream in;
  if (!in.open(filename)) throw ParseFault(open_fault(filename));
  std::error_code error;
  const auto size = std::filesystem::file_size(filename, error);
  const unsigned long limit = error || size > (1ul << 50) ? ~0ul : size * 250 + (1ul << 20);
  std::string text;
  in.read(text, limit);
  if (!in.eof()) throw ParseFault("the compressed content is more than 250 times as long as the file");
  if (in.damaged()) throw ParseFault("the compressed content is cut short or damaged");
  if (text.empty()) throw ParseFault("the file is empty");
  return text;
}

ParsedMolecule parse(const std::string& filename) {
  const VXMoleculeFile file = VXGetMoleculeFile(filename);
  if (file == VXMoleculeFile::Unknown)
    throw ParseFault(
        "the extension names no coordinate format; known are pdb, ent, cif, mmcif, sdf, sd, mol, mol2");
  const std::string text = read_text(filename);
  ParsedMolecule parsed = file == VXMoleculeFile::PDB     ? parse_pdb(text)
                          : file == VXMoleculeFile::mmCIF ? parse_mmcif(text)
                          : file == VXMoleculeFile::SDF   ? parse_sdf(text)
                                                          : parse_mol2(text);
  if (parsed.atoms.empty()) throw ParseFault("there are no atoms in it");
  keep_best_alternates(parsed);
  return parsed;
}

void fill(VXGraphMol& mol, const ParsedMolecule& parsed) {
  mol.Clear();
  mol.SetTitle(parsed.title);
  std::vector<VXAtomBase*> atoms;
  atoms.reserve(parsed.atoms.size());
  for (const ParsedAtom& from : parsed.atoms) {
    VXAtomBase* atom = mol.AddAtom(from.element);
    atom->SetFormalCharge(from.charge);
    mol.SetCoords(atom, from.xyz);
    if (parsed.has_residues) VXAtomSetResidue(atom, from.residue);
    atoms.push_back(atom);
  }
  for (const ParsedBond& bond : parsed.bonds) mol.AddBond(atoms[bond.begin], atoms[bond.end], bond.order);
  for (const VXPDBDataPair& record : parsed.records) VXAddPDBData(mol, record.tag, record.value);
}

/// What another library says about a file, as one line of plain text.
std::string one_line(std::string text) {
  if (text.size() > 200) text.resize(200);
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return c < 32 || c > 126; }, ' ');
  const std::size_t last = text.find_last_not_of(' ');
  return last == text.npos ? "the file cannot be understood" : text.substr(0, last + 1);
}

}  // namespace

VXMoleculeFile VXGetMoleculeFile(const std::string& filename) {
  for (const Extension& extension : kExtensions)
    if (VXFileExtension(filename, extension.name)) return extension.file;
  return VXMoleculeFile::Unknown;
}

bool VXReadMolecule(const std::string& filename, VXGraphMol& mol) {
  try {
    fill(mol, parse(filename));
    return true;
  } catch (const ParseFault& fault) {
    const std::string where = fault.line() > 0 ? ", line " + std::to_string(fault.line()) : "";
    VXThrow.Warning("VXReadMolecule: " + filename + where + ": " + one_line(fault.what()));
  } catch (const std::exception& fault) {
    VXThrow.Warning("VXReadMolecule: " + filename + ": " + one_line(fault.what()));
  }
  return false;
}

}  // namespace VXCore
