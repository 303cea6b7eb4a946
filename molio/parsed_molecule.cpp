#include "parsed_molecule.inl"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <map>
#include <numeric>
#include <tuple>
#include <utility>

namespace VXCore {
namespace {

/// The letters of one residue: which belong together because they share an atom name, and their occupancies.
class Letters {
 public:
  Letters() { std::iota(group_.begin(), group_.end(), static_cast<unsigned char>(0)); }

  void add(const ParsedAtom& atom) {
    const unsigned char letter = letter_of(atom);
    float& best = seen_[letter] ? occ_[letter] : (occ_[letter] = atom.residue.GetOccupancy());
    best = std::max(best, atom.residue.GetOccupancy());
    seen_[letter] = true;
    const auto [at, is_new] = by_name_.try_emplace(atom.name, letter);
    if (!is_new) join(at->second, letter);
  }
  bool is_best(const ParsedAtom& atom) {
    const unsigned char letter = letter_of(atom);
    for (int other = 0; other < 256; ++other)
      if (seen_[other] && find(static_cast<unsigned char>(other)) == find(letter) &&
          std::make_pair(-occ_[other], other) < std::make_pair(-occ_[letter], static_cast<int>(letter)))
        return false;
    return true;
  }

 private:
  static unsigned char letter_of(const ParsedAtom& atom) {
    return static_cast<unsigned char>(atom.residue.GetAlternateLocation());
  }
  unsigned char find(unsigned char letter) const {
    while (group_[letter] != letter) letter = group_[letter];
    return letter;
  }
  void join(unsigned char a, unsigned char b) { group_[find(a)] = find(b); }

  std::array<unsigned char, 256> group_;
  std::array<float, 256> occ_{};
  std::array<bool, 256> seen_{};
  std::map<std::string, unsigned char> by_name_;
};

/// False when the text is not one number and nothing else.
template <class Number>
bool convert(std::string_view text, Number& value) {
  const char* first = text.data() + (!text.empty() && text[0] == '+');
  const char* last = text.data() + text.size();
  const auto [end, error] = std::from_chars(first, last, value);
  return error == std::errc() && end == last;
}

/// Takes out the atoms that are not to stay, and the bonds that they had.
void remove_atoms(ParsedMolecule& parsed, const std::vector<char>& stays) {
  constexpr unsigned int kGone = ~0u;
  std::vector<unsigned int> number(stays.size(), kGone);
  unsigned int n = 0;
  for (std::size_t i = 0; i < stays.size(); ++i)
    if (stays[i]) {
      number[i] = n;
      if (n != i) parsed.atoms[n] = std::move(parsed.atoms[i]);
      ++n;
    }
  parsed.atoms.resize(n);
  for (ParsedBond& bond : parsed.bonds) {
    bond.begin = number[bond.begin];
    bond.end = number[bond.end];
  }
  parsed.bonds.erase(std::remove_if(parsed.bonds.begin(), parsed.bonds.end(),
                                    [](const ParsedBond& b) { return b.begin == kGone || b.end == kGone; }),
                     parsed.bonds.end());
}

}  // namespace

void keep_best_alternates(ParsedMolecule& parsed) {
  // A residue is a place in a chain here: alternates may differ in name.
  using Place = std::tuple<std::string, int, char>;
  const auto place = [](const ParsedAtom& atom) {
    return Place(atom.residue.GetChainId(), atom.residue.GetNumber(), atom.residue.GetInsertCode());
  };
  const auto is_alternate = [](const ParsedAtom& atom) { return atom.residue.GetAlternateLocation() != ' '; };

  std::map<Place, Letters> residues;
  for (const ParsedAtom& atom : parsed.atoms)
    if (is_alternate(atom)) residues[place(atom)].add(atom);
  if (residues.empty()) return;
  std::vector<char> stays;
  stays.reserve(parsed.atoms.size());
  for (const ParsedAtom& atom : parsed.atoms)
    stays.push_back(!is_alternate(atom) || residues[place(atom)].is_best(atom));
  remove_atoms(parsed, stays);
}

void merge_bonds(ParsedMolecule& parsed) {
  std::vector<ParsedBond>& bonds = parsed.bonds;
  for (ParsedBond& bond : bonds)
    if (bond.begin > bond.end) std::swap(bond.begin, bond.end);
  std::sort(bonds.begin(), bonds.end(), [](const ParsedBond& a, const ParsedBond& b) {
    return std::tie(a.begin, a.end, b.order) < std::tie(b.begin, b.end, a.order);
  });
  bonds.erase(std::unique(bonds.begin(), bonds.end(),
                          [](const ParsedBond& a, const ParsedBond& b) {
                            return a.begin == b.begin && a.end == b.end;
                          }),
              bonds.end());
  bonds.erase(
      std::remove_if(bonds.begin(), bonds.end(), [](const ParsedBond& b) { return b.begin == b.end; }),
      bonds.end());
}

std::string_view next_line(std::string_view& text) {
  const std::size_t end = std::min(text.find('\n'), text.size());
  std::string_view line = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return line;
}

std::string_view trimmed(std::string_view text) {
  const auto is_blank = [](char c) { return c == ' ' || c == '\t'; };
  while (!text.empty() && is_blank(text.front())) text.remove_prefix(1);
  while (!text.empty() && is_blank(text.back())) text.remove_suffix(1);
  return text;
}

float finite_number(std::string_view text, const char* what, long line) {
  float value = 0;
  if (convert(text, value) && std::isfinite(value)) return value;
  throw ParseFault(std::string(what) + " \"" + std::string(text) + "\" is not a finite number", line);
}

int whole_number(std::string_view text, const char* what, long line) {
  int value = 0;
  if (convert(text, value)) return value;
  throw ParseFault(std::string(what) + " \"" + std::string(text) + "\" is not a whole number below 2^31",
                   line);
}

}  // namespace VXCore
