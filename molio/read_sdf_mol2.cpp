// Records of SDF (V2000 and V3000) and MOL2 files: their atoms and bonds. No count is trusted: memory follows
// the lines that are there.

#include <algorithm>
#include <string>
#include <unordered_map>

#include <vxgrid/host/radii.h>

#include "parsed_molecule.inl"

namespace VXCore {
namespace {

bool starts_with(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

/// The characters from `column` (counted from 0) of a line that may be shorter.
std::string_view field(std::string_view line, std::size_t column, std::size_t length) {
  return column < line.size() ? trimmed(line.substr(column, length)) : std::string_view();
}

std::vector<std::string_view> words(std::string_view text) {
  std::vector<std::string_view> found;
  for (text = trimmed(text); !text.empty(); text = trimmed(text)) {
    found.push_back(text.substr(0, text.find_first_of(" \t")));
    text.remove_prefix(found.back().size());
  }
  return found;
}

/// Lines of a record with their numbers in the file; asking for one too many is a fault.
class LineReader {
 public:
  explicit LineReader(const Record& record) : text_(record.text), number_(record.line - 1) {
    if (record.is_ended) text_ = text_.substr(0, text_.rfind("$$$$"));
  }
  bool at_end() const { return text_.empty(); }
  std::string_view next() {
    if (text_.empty()) throw ParseFault("the molecule is cut short", number_);
    ++number_;
    return next_line(text_);
  }
  long number() const { return number_; }

 private:
  std::string_view text_;
  long number_;
};

int count(std::string_view text, const char* what, long line) {
  const int n = whole_number(text, what, line);
  if (n < 0) throw ParseFault(std::string(what) + " is " + std::to_string(n), line);
  return n;
}

void check_counts(const ParsedMolecule& parsed, int atoms, int bonds, int found_bonds, long line) {
  const int found_atoms = static_cast<int>(parsed.atoms.size());
  if (found_atoms != atoms || found_bonds != bonds)
    throw ParseFault(std::to_string(atoms) + " atoms and " + std::to_string(bonds) + " bonds announced, " +
                         std::to_string(found_atoms) + " and " + std::to_string(found_bonds) + " found",
                     line);
}

unsigned int bond_order(std::string_view type) {
  return type == "2" ? 2 : type == "3" ? 3 : 1;  // the rest are aromatic, amide and query bonds
}

void add_bond(ParsedMolecule& parsed, int begin, int end, std::string_view type, long line) {
  const int n = static_cast<int>(parsed.atoms.size());
  if (begin < 1 || end < 1 || begin > n || end > n)
    throw ParseFault("a bond between atoms " + std::to_string(begin) + " and " + std::to_string(end) +
                         " of " + std::to_string(n),
                     line);
  parsed.bonds.push_back(
      {static_cast<unsigned int>(begin - 1), static_cast<unsigned int>(end - 1), bond_order(type)});
}

ParsedAtom sdf_atom(std::string_view symbol, const std::string_view* xyz, long line) {
  ParsedAtom atom;
  atom.element = symbol == "T" ? 1 : VXGetAtomicNum(symbol);
  for (int i = 0; i < 3; ++i) atom.xyz[i] = finite_number(xyz[i], "coordinate", line);
  return atom;
}

/// "M  CHG  n  atom charge  atom charge ..." in fields of four; they take the place of the charges in the
/// lines of the atoms.
void set_charges(ParsedMolecule& parsed, std::string_view line, long number, bool is_first) {
  if (is_first)
    for (ParsedAtom& atom : parsed.atoms) atom.charge = 0;
  for (std::size_t column = 9; column + 4 < line.size(); column += 8) {
    const int at = whole_number(field(line, column, 4), "atom of a charge", number);
    if (at < 1 || at > static_cast<int>(parsed.atoms.size()))
      throw ParseFault(
          "a charge on atom " + std::to_string(at) + " of " + std::to_string(parsed.atoms.size()), number);
    parsed.atoms[static_cast<std::size_t>(at - 1)].charge =
        whole_number(field(line, column + 4, 4), "charge", number);
  }
}

void read_v2000(LineReader& in, std::string_view counts, ParsedMolecule& parsed) {
  // In the line of an atom, charges are coded; 4 marks a radical.
  constexpr int kCharges[] = {0, 3, 2, 1, 0, -1, -2, -3};
  const int atoms = count(field(counts, 0, 3), "number of atoms", in.number());
  const int bonds = count(field(counts, 3, 3), "number of bonds", in.number());
  parsed.atoms.reserve(static_cast<std::size_t>(atoms));  // three digits
  parsed.bonds.reserve(static_cast<std::size_t>(bonds));
  for (int i = 0; i < atoms; ++i) {
    const std::string_view line = in.next();
    const std::string_view xyz[] = {field(line, 0, 10), field(line, 10, 10), field(line, 20, 10)};
    parsed.atoms.push_back(sdf_atom(field(line, 31, 3), xyz, in.number()));
    const std::string_view charge = field(line, 36, 3);
    if (charge.size() == 1 && charge[0] >= '0' && charge[0] <= '7')
      parsed.atoms.back().charge = kCharges[charge[0] - '0'];
  }
  for (int i = 0; i < bonds; ++i) {
    const std::string_view line = in.next();
    add_bond(parsed, whole_number(field(line, 0, 3), "atom of a bond", in.number()),
             whole_number(field(line, 3, 3), "atom of a bond", in.number()), field(line, 6, 3), in.number());
  }
  bool is_first = true;
  for (std::string_view line = in.next(); !starts_with(line, "M  END"); line = in.next()) {
    if (!starts_with(line, "M  CHG")) continue;
    set_charges(parsed, line, in.number(), is_first);
    is_first = false;
  }
}

/// A line after "M  V30 ", with those that continue it (a "-" at the end).
std::string v3000_line(LineReader& in) {
  std::string line;
  for (bool continued = true; continued;) {
    std::string_view part = in.next();
    if (starts_with(part, "M  END")) return "END CTAB";
    if (!starts_with(part, "M  V30 ")) continue;
    part.remove_prefix(7);
    continued = !part.empty() && part.back() == '-';
    line += part.substr(0, part.size() - continued);
  }
  return line;
}

void read_v3000(LineReader& in, ParsedMolecule& parsed) {
  std::unordered_map<int, int> place;  // from 1, by the number that the file gives an atom
  const auto number = [&in](std::string_view text, const char* what) {
    return whole_number(text, what, in.number());
  };
  const auto find = [&place](int atom) { return place.count(atom) ? place[atom] : 0; };
  std::string part;
  int atoms = 0, bonds = 0;
  for (std::string line = v3000_line(in);; line = v3000_line(in)) {
    std::vector<std::string_view> word = words(line);
    if (word.size() < 2) continue;
    if (word[0] == "END" && word[1] == "CTAB") break;
    if (word[0] == "COUNTS" && word.size() > 2) {
      atoms = count(word[1], "number of atoms", in.number());
      bonds = count(word[2], "number of bonds", in.number());
    } else if (word[0] == "BEGIN") {
      part = word[1];
    } else if (word[0] == "END") {
      part.clear();
    } else if (part == "ATOM") {
      // A list of elements, "NOT [C,N]", is a query atom.
      if (word[1] == "NOT") word.erase(word.begin() + 1);
      if (word.size() < 5) throw ParseFault("the line of an atom is too short", in.number());
      parsed.atoms.push_back(sdf_atom(word[1], &word[2], in.number()));
      place.emplace(number(word[0], "number of an atom"), static_cast<int>(parsed.atoms.size()));
      for (const std::string_view option : word)
        if (starts_with(option, "CHG=")) parsed.atoms.back().charge = number(option.substr(4), "charge");
    } else if (part == "BOND") {
      if (word.size() < 4) throw ParseFault("the line of a bond is too short", in.number());
      add_bond(parsed, find(number(word[2], "atom of a bond")), find(number(word[3], "atom of a bond")),
               word[1], in.number());
    }
  }
  check_counts(parsed, atoms, bonds, static_cast<int>(parsed.bonds.size()), in.number());
}

/// The element of a type such as "C.ar" or "Zn"; none for "Du", "LP", "Hal" and so on.
unsigned int mol2_element(std::string_view type) { return VXGetAtomicNum(type.substr(0, type.find('.'))); }

}  // namespace

ParsedMolecule parse_sdf(const Record& record) {
  LineReader in(record);
  ParsedMolecule parsed;
  parsed.title = trimmed(in.next());
  in.next();
  in.next();
  const std::string_view counts = in.next();
  if (counts.find("V3000") != counts.npos)
    read_v3000(in, parsed);
  else
    read_v2000(in, counts, parsed);
  return parsed;
}

ParsedMolecule parse_mol2(const Record& record) {
  LineReader in(record);
  ParsedMolecule parsed;
  std::string part;
  int line_of_part = 0, atoms = -1, bonds = 0, found_bonds = 0;
  while (!in.at_end()) {
    const std::string_view line = in.next();
    if (starts_with(line, "@<TRIPOS>")) {
      part = trimmed(line.substr(9));
      line_of_part = 0;
      continue;
    }
    if (starts_with(line, "#")) continue;
    const std::vector<std::string_view> word = words(line);
    ++line_of_part;
    if (part == "MOLECULE" && line_of_part == 1) {
      parsed.title = trimmed(line);
    } else if (part == "MOLECULE" && line_of_part == 2 && !word.empty()) {
      atoms = count(word[0], "number of atoms", in.number());
      if (word.size() > 1) bonds = count(word[1], "number of bonds", in.number());
    } else if (part == "ATOM" && !word.empty()) {
      if (word.size() < 6) throw ParseFault("the line of an atom is too short", in.number());
      parsed.atoms.push_back(sdf_atom({}, &word[2], in.number()));
      parsed.atoms.back().name = word[1];
      parsed.atoms.back().element = mol2_element(word[5]);
    } else if (part == "BOND" && !word.empty()) {
      if (word.size() < 4) throw ParseFault("the line of a bond is too short", in.number());
      ++found_bonds;
      if (word[3] == "nc") continue;  // not connected
      add_bond(parsed, whole_number(word[1], "atom of a bond", in.number()),
               whole_number(word[2], "atom of a bond", in.number()), word[3], in.number());
    }
  }
  if (atoms < 0) throw ParseFault("there is no @<TRIPOS>MOLECULE with a number of atoms");
  check_counts(parsed, atoms, bonds, found_bonds, in.number());
  return parsed;
}

}  // namespace VXCore
