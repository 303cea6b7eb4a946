// SDF and MOL2 files, read by RDKit. It is given the parts of the first molecule that matter here, and no
// number of atoms or bonds that the text has no lines for: it makes room for what is announced.

#include <charconv>
#include <cmath>
#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <GraphMol/FileParsers/FileParsers.h>
#include <GraphMol/RDKitBase.h>

#include "parsed_molecule.h"

namespace VXCore {
namespace {

using Lines = std::vector<std::string_view>;

bool starts_with(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

/// The lines of a text, up to one that starts with `end` if that is given.
Lines lines_of(std::string_view text, std::string_view end = {}) {
  Lines lines;
  while (!text.empty()) {
    const std::string_view line = next_line(text);
    if (!end.empty() && starts_with(line, end)) break;
    lines.push_back(line);
  }
  return lines;
}

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t");
  if (first == text.npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") + 1 - first);
}

std::vector<std::string_view> words(std::string_view text) {
  std::vector<std::string_view> found;
  for (text = trimmed(text); !text.empty(); text = trimmed(text)) {
    found.push_back(text.substr(0, text.find_first_of(" \t")));
    text.remove_prefix(found.back().size());
  }
  return found;
}

/// A count of atoms or bonds that the lines of the file can hold.
std::size_t count(std::string_view text, std::size_t lines, long number) {
  std::size_t n = 0;
  text = trimmed(text);
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), n);
  if (text.empty() || error != std::errc() || end != text.data() + text.size())
    throw ParseFault("the count \"" + std::string(text) + "\" is not a number", number);
  if (n > lines)
    throw ParseFault(std::to_string(n) + " atoms or bonds announced, the file is shorter", number);
  return n;
}

void append(std::string& block, std::string_view line) { block.append(line).push_back('\n'); }

/// Header, counts, atoms, bonds, and of the properties charges, isotopes and radicals.
std::string v2000_block(const Lines& lines) {
  const std::string_view counts = lines[3];
  if (counts.size() < 6) throw ParseFault("the line of counts is too short", 4);
  const std::size_t atoms = count(counts.substr(0, 3), lines.size(), 4);
  const std::size_t bonds = count(counts.substr(3, 3), lines.size(), 4);
  const std::size_t end = 4 + atoms + bonds;
  if (lines.size() < end)
    throw ParseFault(std::to_string(atoms) + " atoms and " + std::to_string(bonds) +
                         " bonds announced, the file is shorter",
                     4);
  std::string block;
  for (std::size_t i = 0; i < end; ++i) append(block, lines[i]);
  for (std::size_t i = end; i < lines.size() && !starts_with(lines[i], "M  END"); ++i)
    if (starts_with(lines[i], "M  CHG") || starts_with(lines[i], "M  ISO") || starts_with(lines[i], "M  RAD"))
      append(block, lines[i]);
  return block + "M  END\n";
}

/// The table of atoms and bonds alone, with lines that are continued (a final "-") made one.
std::string v3000_block(const Lines& lines) {
  std::string block;
  for (int i = 0; i < 4; ++i) append(block, lines[i]);
  std::string skipped;  // the block that is passed over, "END SGROUP" where it ends
  for (std::size_t i = 4; i < lines.size() && !starts_with(lines[i], "M  END"); ++i) {
    if (!starts_with(lines[i], "M  V30 ")) continue;
    const long number = static_cast<long>(i + 1);
    std::string line(lines[i].substr(7));
    while (!line.empty() && line.back() == '-') {
      line.pop_back();
      if (i + 1 < lines.size() && starts_with(lines[i + 1], "M  V30 ")) line += lines[++i].substr(7);
    }
    const std::vector<std::string_view> word = words(line);
    const std::string first(word.empty() ? std::string_view() : word[0]);
    const std::string second(word.size() < 2 ? std::string_view() : word[1]);
    if (!skipped.empty()) {
      if (first + ' ' + second == skipped) skipped.clear();
    } else if (first == "BEGIN" && second != "CTAB" && second != "ATOM" && second != "BOND") {
      skipped = "END " + second;
    } else if (first == "COUNTS") {
      if (word.size() < 3) throw ParseFault("the line of counts is too short", number);
      const std::size_t atoms = count(word[1], lines.size(), number),
                        bonds = count(word[2], lines.size(), number);
      append(block, "M  V30 COUNTS " + std::to_string(atoms) + ' ' + std::to_string(bonds) + " 0 0 0");
    } else {
      append(block, "M  V30 " + line);
    }
  }
  return block + "M  END\n";
}

/// The parts MOLECULE, ATOM and BOND of the first molecule.
std::string mol2_block(std::string_view text) {
  constexpr std::string_view kSection = "@<TRIPOS>";
  const Lines lines = lines_of(text);
  std::string block, part;
  std::size_t in_part = 0;
  for (std::size_t i = 0; i < lines.size(); ++i, ++in_part) {
    if (starts_with(lines[i], kSection)) {
      if (!block.empty() && starts_with(lines[i], "@<TRIPOS>MOLECULE")) break;
      part = trimmed(lines[i].substr(kSection.size()));
      in_part = 0;
    }
    if (part != "MOLECULE" && part != "ATOM" && part != "BOND") continue;
    if (part == "MOLECULE" && in_part == 2)
      for (const std::string_view n : words(lines[i])) count(n, lines.size(), static_cast<long>(i + 1));
    append(block, lines[i]);
  }
  if (block.empty()) throw ParseFault("there is no @<TRIPOS>MOLECULE in it");
  return block;
}

unsigned int bond_order(RDKit::Bond::BondType type) {
  switch (type) {
    case RDKit::Bond::DOUBLE:
      return 2;
    case RDKit::Bond::TRIPLE:
      return 3;
    case RDKit::Bond::QUADRUPLE:
      return 4;
    default:
      return 1;
  }
}

ParsedMolecule converted(const std::unique_ptr<RDKit::RWMol>& from) {
  ParsedMolecule parsed;
  if (!from || from->getNumAtoms() == 0) return parsed;
  if (from->getNumConformers() == 0) throw ParseFault("there are no coordinates in it");
  const RDKit::Conformer& conformer = from->getConformer();
  if (from->hasProp(RDKit::common_properties::_Name))
    parsed.title = from->getProp<std::string>(RDKit::common_properties::_Name);
  parsed.atoms.reserve(from->getNumAtoms());
  for (const RDKit::Atom* a : from->atoms()) {
    ParsedAtom atom;
    atom.element = static_cast<unsigned int>(a->getAtomicNum());
    atom.charge = a->getFormalCharge();
    const RDGeom::Point3D& at = conformer.getAtomPos(a->getIdx());
    const double xyz[3] = {at.x, at.y, at.z};
    for (int i = 0; i < 3; ++i) {
      atom.xyz[i] = static_cast<float>(xyz[i]);
      if (!std::isfinite(atom.xyz[i]))
        throw ParseFault("a coordinate of atom " + std::to_string(a->getIdx() + 1) +
                         " is not a finite number");
    }
    parsed.atoms.push_back(atom);
  }
  for (const RDKit::Bond* b : from->bonds())
    parsed.bonds.push_back({b->getBeginAtomIdx(), b->getEndAtomIdx(), bond_order(b->getBondType())});
  return parsed;
}

}  // namespace

ParsedMolecule parse_sdf(std::string_view text) {
  const Lines lines = lines_of(text, "$$$$");
  if (lines.size() < 4) throw ParseFault("the file ends before its line of counts");
  const bool is_v3000 = lines[3].find("V3000") != std::string_view::npos;
  std::istringstream in(is_v3000 ? v3000_block(lines) : v2000_block(lines));
  unsigned int line = 0;
  return converted(std::unique_ptr<RDKit::RWMol>(RDKit::MolDataStreamToMol(in, line, false, false, false)));
}

// The format has no formal charges; those that RDKit derives hold for molecules with all their hydrogens
// only.
ParsedMolecule parse_mol2(std::string_view text) {
  std::istringstream in(mol2_block(text));
  ParsedMolecule parsed = converted(
      std::unique_ptr<RDKit::RWMol>(RDKit::Mol2DataStreamToMol(in, false, false, RDKit::CORINA, false)));
  for (ParsedAtom& atom : parsed.atoms) atom.charge = 0;
  return parsed;
}

}  // namespace VXCore
