// PDB files. The fields of atom records are decoded by gemmi, which knows their dialects (hybrid-36 numbers,
// two-letter chains, names without an element field); what they may hold is checked here.

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <unordered_map>

#include <gemmi/elem.hpp>
#include <gemmi/pdb.hpp>

#include "parsed_molecule.inl"

namespace VXCore {
namespace {

/// A line of 80 columns, filled up with blanks; columns are counted from 0 here.
class Card {
 public:
  Card(std::string_view line, long number) : number_(number), length_(line.size()) {
    text_.fill(' ');
    text_.back() = '\0';
    std::copy_n(line.data(), std::min<std::size_t>(line.size(), 80), text_.data());
    // A zero byte would end a field for some of what looks at it, and not for the rest.
    std::replace(text_.begin(), text_.end() - 1, '\0', ' ');
  }
  const char* at(int column) const { return text_.data() + column; }
  char operator[](int column) const { return text_[static_cast<std::size_t>(column)]; }
  std::string field(int column, int length) const { return gemmi::pdb_impl::read_string(at(column), length); }
  bool is(const char* record) const { return std::strncmp(at(0), record, 6) == 0; }
  std::size_t length() const { return length_; }

  /// A finite number; an empty field is `blank`, or a fault where there is no such value.
  float number(int column, int length, const char* what) const {
    return finite_number(field(column, length), what, number_);
  }
  float number(int column, int length, const char* what, float blank) const {
    return field(column, length).empty() ? blank : number(column, length, what);
  }
  [[noreturn]] void fail(const std::string& fault) const { throw ParseFault(fault, number_); }

 private:
  std::array<char, 81> text_;
  long number_;
  std::size_t length_;
};

bool is_letter(char c) { return std::isalpha(static_cast<unsigned char>(c)); }
bool is_digit(char c) { return c >= '0' && c <= '9'; }

/// From the element field, else from the first two columns of the name: one letter stands in the second, a
/// name that starts in the first is a two-letter element or, with four characters, a hydrogen ("HG11").
gemmi::El element(const Card& card) {
  if (is_letter(card[76]) || is_letter(card[77])) return gemmi::find_element(card.at(76));
  if (!is_letter(card[12])) return gemmi::find_element(std::string(1, card[13]).c_str());
  const bool is_long_hydrogen = (card[12] == 'H' || card[12] == 'h') && card[15] != ' ';
  const gemmi::El two = gemmi::find_element(card.at(12));
  if (two != gemmi::El::X && !is_long_hydrogen) return two;
  return gemmi::find_element(std::string(1, card[12]).c_str());
}

/// "2+", or "+2" as some write it.
int formal_charge(const Card& card) {
  char digit = card[78], sign = card[79];
  if (is_digit(sign)) std::swap(digit, sign);
  if (!is_digit(digit)) return 0;
  return sign == '-' ? '0' - digit : digit - '0';
}

ParsedAtom parse_atom(const Card& card) {
  if (card.length() < 54) card.fail("the atom record ends before its coordinates");
  ParsedAtom atom;
  atom.element = static_cast<unsigned int>(gemmi::Element(element(card)).atomic_number());
  atom.charge = formal_charge(card);
  atom.name = card.field(12, 4);
  for (int i = 0; i < 3; ++i) atom.xyz[i] = card.number(30 + 8 * i, 8, "coordinate");
  VXResidue& residue = atom.residue;
  const gemmi::SeqId seq = gemmi::pdb_impl::read_seq_id(card.at(22));
  residue.SetName(card.field(17, 3));
  residue.SetChainId(card.field(20, 2));
  residue.SetNumber(seq.num.has_value() ? *seq.num : 0);
  residue.SetInsertCode(seq.icode);
  residue.SetAlternateLocation(card[16]);
  residue.SetSerialNumber(gemmi::pdb_impl::read_serial(card.at(6)));
  residue.SetOccupancy(card.number(54, 6, "occupancy", 1.0f));
  residue.SetBFactor(card.number(60, 6, "B factor", 0.0f));
  return atom;
}

/// Bonds from an atom to up to four others, by serial number.
class Connections {
 public:
  void add(const Card& card) {
    const int from = gemmi::pdb_impl::read_serial(card.at(6));
    for (int column = 11; column < 31; column += 5)
      if (!card.field(column, 5).empty())
        pairs_.emplace_back(from, gemmi::pdb_impl::read_serial(card.at(column)));
  }

  /// A bond is listed from both its atoms, or from one; listed twice from one it is double.
  void make_bonds(ParsedMolecule& parsed) {
    std::unordered_map<int, unsigned int> by_serial;
    for (unsigned int i = 0; i < parsed.atoms.size(); ++i)
      by_serial.emplace(parsed.atoms[i].residue.GetSerialNumber(), i);
    std::sort(pairs_.begin(), pairs_.end());
    for (auto at = pairs_.begin(); at != pairs_.end();) {
      const auto end = std::find_if(at, pairs_.end(), [at](const auto& pair) { return pair != *at; });
      const auto from = by_serial.find(at->first), to = by_serial.find(at->second);
      if (from != by_serial.end() && to != by_serial.end())
        parsed.bonds.push_back({from->second, to->second, static_cast<unsigned int>(end - at)});
      at = end;
    }
    merge_bonds(parsed);
  }

 private:
  std::vector<std::pair<int, int>> pairs_;
};

}  // namespace

ParsedMolecule parse_pdb(std::string_view text) {
  ParsedMolecule parsed;
  parsed.has_residues = true;
  Connections connections;
  bool in_first_model = true;
  for (long number = 1; !text.empty(); ++number) {
    const std::string_view line = next_line(text);
    const Card card(line, number);
    const auto value = [&line] { return std::string(line.substr(std::min<std::size_t>(line.size(), 6))); };
    if (card.is("ATOM  ") || card.is("HETATM")) {
      if (in_first_model) parsed.atoms.push_back(parse_atom(card));
    } else if (card.is("MODEL ") || card.is("ENDMDL")) {
      in_first_model = in_first_model && parsed.atoms.empty();
    } else if (card.is("CRYST1") || card.is("REMARK")) {
      parsed.records.push_back({card.field(0, 6), value()});
    } else if (card.is("HEADER")) {
      parsed.title = card.field(62, 4);
    } else if (card.is("CONECT")) {
      connections.add(card);
    } else if (card.is("END   ")) {
      break;
    }
  }
  connections.make_bonds(parsed);
  return parsed;
}

}  // namespace VXCore
