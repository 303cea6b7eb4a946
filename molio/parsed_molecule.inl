#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <vxgrid/host/pdb_data.h>
#include <vxgrid/host/residue.h>

namespace VXCore {

/// What is wrong with a file, and in which line (from 1; 0 where that is not known). Stays within this
/// library.
class ParseFault : public std::runtime_error {
 public:
  ParseFault(const std::string& fault, long line = 0) : std::runtime_error(fault), line_(line) {}
  long line() const { return line_; }

 private:
  long line_;
};

struct ParsedAtom {
  unsigned int element = 0;
  int charge = 0;
  float xyz[3] = {0, 0, 0};
  std::string name;
  VXResidue residue;
};

struct ParsedBond {
  unsigned int begin, end, order;
};

/// A coordinate file as read, before it becomes a molecule.
struct ParsedMolecule {
  std::vector<ParsedAtom> atoms;
  std::vector<ParsedBond> bonds;  // by position in atoms
  std::vector<VXPDBDataPair> records;
  std::string title;
  bool has_residues = false;
};

/// Leaves one of the alternate conformations of each residue.
void keep_best_alternates(ParsedMolecule& parsed);

/// Makes one bond of those that join the same atoms, of the highest order among them; a bond of an atom with
/// itself goes.
void merge_bonds(ParsedMolecule& parsed);

/// The text of one molecule of an SDF or MOL2 file.
struct Record {
  std::string_view text;
  long line;      // of the file, where it starts
  bool is_ended;  // by "$$$$", which is its last line then
};

/// The parsers of whole files and of records throw ParseFault, or whatever the libraries behind them throw.
ParsedMolecule parse_pdb(std::string_view text);
ParsedMolecule parse_mmcif(std::string_view text);
ParsedMolecule parse_sdf(const Record& record);
ParsedMolecule parse_mol2(const Record& record);

/// Takes the next line off the text, without its line end.
std::string_view next_line(std::string_view& text);
std::string_view trimmed(std::string_view text);

/// The number that the whole text says; what else it is goes into the fault ("coordinate "2.5x" is not ...").
float finite_number(std::string_view text, const char* what, long line);
int whole_number(std::string_view text, const char* what, long line);

}  // namespace VXCore
