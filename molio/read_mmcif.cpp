// mmCIF files: gemmi reads the syntax, the tables are taken from it here.

#include <cmath>
#include <string>
#include <unordered_map>
#include <vector>

#include <gemmi/cif.hpp>
#include <gemmi/elem.hpp>
#include <gemmi/numb.hpp>
#include <gemmi/symmetry.hpp>

#include <vxgrid/host/text.h>

#include "parsed_molecule.inl"

namespace VXCore {
namespace {

namespace cif = gemmi::cif;

// Columns of _atom_site; a question mark before a name lets it be missing.
enum AtomColumn {
  X,
  Y,
  Z,
  Symbol,
  Id,
  Occupancy,
  BFactor,
  Charge,
  Model,
  Alternate,
  InsertCode,
  LabelAtom,
  AuthAtom,
  AuthComp,
  LabelComp,
  AuthAsym,
  LabelAsym,
  AuthSeq,
  LabelSeq
};
const std::vector<std::string> kAtomColumns = {"Cartn_x",
                                               "Cartn_y",
                                               "Cartn_z",
                                               "?type_symbol",
                                               "?id",
                                               "?occupancy",
                                               "?B_iso_or_equiv",
                                               "?pdbx_formal_charge",
                                               "?pdbx_PDB_model_num",
                                               "?label_alt_id",
                                               "?pdbx_PDB_ins_code",
                                               "?label_atom_id",
                                               "?auth_atom_id",
                                               "?auth_comp_id",
                                               "?label_comp_id",
                                               "?auth_asym_id",
                                               "?label_asym_id",
                                               "?auth_seq_id",
                                               "?label_seq_id"};

// Columns of _struct_conn; those of the second partner follow those of the first.
enum BondColumn { Type, Asym, Seq, Insert, Atom, Alt, Symmetry, ColumnsPerPartner = 6 };
const std::vector<std::string> kBondColumns = {
    "conn_type_id",        "ptnr1_auth_asym_id",       "ptnr1_auth_seq_id",   "?pdbx_ptnr1_PDB_ins_code",
    "ptnr1_label_atom_id", "?pdbx_ptnr1_label_alt_id", "?ptnr1_symmetry",     "ptnr2_auth_asym_id",
    "ptnr2_auth_seq_id",   "?pdbx_ptnr2_PDB_ins_code", "ptnr2_label_atom_id", "?pdbx_ptnr2_label_alt_id",
    "?ptnr2_symmetry"};

/// One row of _atom_site, which names itself when something is wrong with it.
class AtomRow {
 public:
  AtomRow(cif::Table::Row row, long line, int number) : row_(row), line_(line), number_(number) {}

  /// The text of the first of two columns that has one; empty without.
  std::string text(int column, int other = -1) const {
    for (const int c : {column, other})
      if (c >= 0 && row_.has2(static_cast<std::size_t>(c))) return row_.str(c);
    return {};
  }
  char letter(int column) const {
    const std::string s = text(column);
    return s.empty() ? ' ' : s[0];
  }
  float number(int column, const char* what, float missing) const {
    return row_.has2(static_cast<std::size_t>(column)) ? number(column, what) : missing;
  }
  float number(int column, const char* what) const {
    const auto value = static_cast<float>(cif::as_number(row_[static_cast<std::size_t>(column)]));
    if (!std::isfinite(value)) fail(what, row_[static_cast<std::size_t>(column)]);
    return value;
  }
  int whole(int column, int other, const char* what) const {
    const std::string s = text(column, other);
    if (s.empty()) return 0;
    const double value = cif::as_number(s);
    if (!(std::fabs(value) < 2147483648.0)) fail(what, s);
    return static_cast<int>(value);
  }

 private:
  [[noreturn]] void fail(const char* what, const std::string& text) const {
    throw ParseFault(std::string(what) + " \"" + text + "\" in row " + std::to_string(number_) +
                         " of _atom_site is not a finite number",
                     line_);
  }

  cif::Table::Row row_;
  long line_;
  int number_;
};

ParsedAtom parse_atom(const AtomRow& row) {
  ParsedAtom atom;
  atom.element = static_cast<unsigned int>(gemmi::Element(row.text(Symbol)).atomic_number());
  atom.charge = row.whole(Charge, -1, "charge");
  atom.name = row.text(LabelAtom, AuthAtom);
  for (int i = 0; i < 3; ++i) atom.xyz[i] = row.number(X + i, "coordinate");
  VXResidue& residue = atom.residue;
  residue.SetName(row.text(AuthComp, LabelComp));
  residue.SetChainId(row.text(AuthAsym, LabelAsym));
  residue.SetNumber(row.whole(AuthSeq, LabelSeq, "residue number"));
  residue.SetInsertCode(row.letter(InsertCode));
  residue.SetAlternateLocation(row.letter(Alternate));
  residue.SetSerialNumber(row.whole(Id, -1, "id"));
  residue.SetOccupancy(row.number(Occupancy, "occupancy", 1.0f));
  residue.SetBFactor(row.number(BFactor, "B factor", 0.0f));
  return atom;
}

void read_atoms(cif::Block& block, ParsedMolecule& parsed) {
  cif::Table table = block.find("_atom_site.", kAtomColumns);
  if (!table.ok()) throw ParseFault("there is no table _atom_site with Cartn_x, Cartn_y and Cartn_z");
  const long line = table.loop_item ? table.loop_item->line_number : 0;
  const int rows = static_cast<int>(table.length());
  std::string first_model;
  for (int i = 0; i < rows; ++i) {
    const AtomRow row(table[i], line, i + 1);
    const std::string model = row.text(Model);
    if (i == 0) first_model = model;
    if (model == first_model) parsed.atoms.push_back(parse_atom(row));
  }
}

/// What tells an atom apart in _struct_conn.
std::string address(const std::string& asym, const std::string& seq, char insert, const std::string& atom,
                    char alternate) {
  return asym + '\n' + seq + '\n' + insert + '\n' + atom + '\n' + alternate;
}

void read_bonds(cif::Block& block, ParsedMolecule& parsed) {
  cif::Table table = block.find("_struct_conn.", kBondColumns);
  if (table.length() == 0) return;
  std::unordered_map<std::string, unsigned int> atoms;
  for (unsigned int i = 0; i < parsed.atoms.size(); ++i) {
    const VXResidue& residue = parsed.atoms[i].residue;
    atoms.emplace(address(residue.GetChainId(), std::to_string(residue.GetNumber()), residue.GetInsertCode(),
                          parsed.atoms[i].name, residue.GetAlternateLocation()),
                  i);
  }
  for (const auto row : table) {
    const std::string type = row.str(Type);
    const auto text = [&row](int column) {
      return row.has2(std::size_t(column)) ? row.str(column) : std::string();
    };
    if ((type.rfind("coval", 0) != 0 && type != "disulf" && type != "metalc") ||
        text(Symmetry) != text(Symmetry + ColumnsPerPartner))
      continue;
    const auto partner = [&](int from) {
      const auto letter = [&](int column) { return text(column).empty() ? ' ' : text(column)[0]; };
      return atoms.find(address(text(from + Asym), text(from + Seq), letter(from + Insert), text(from + Atom),
                                letter(from + Alt)));
    };
    const auto begin = partner(0), end = partner(ColumnsPerPartner);
    if (begin != atoms.end() && end != atoms.end()) parsed.bonds.push_back({begin->second, end->second, 1});
  }
  merge_bonds(parsed);
}

/// The first value that is given for any of the tags.
std::string first_value(cif::Block& block, const std::vector<const char*>& tags) {
  for (const char* tag : tags)
    for (const std::string& value : block.find_values(tag))
      if (!cif::is_null(value)) return cif::as_string(value);
  return {};
}

/// As printf gives it with "%<width>.<digits>f" in the C locale.
std::string fixed(double number, std::size_t width, int digits) {
  std::string text;
  VXNumberToString(number, text, 'f', digits);
  return std::string(width > text.size() ? width - text.size() : 0, ' ') + text;
}

std::string group_name(cif::Block& block) {
  const std::string name = first_value(
      block, {"_symmetry.space_group_name_H-M", "_space_group.name_H-M_alt", "_space_group.name_H-M_full"});
  if (!name.empty()) return name;
  const double number =
      cif::as_number(first_value(block, {"_symmetry.Int_Tables_number", "_space_group.IT_number"}), 0.0);
  const bool is_number = number >= 1 && number <= 230;
  const gemmi::SpaceGroup* group =
      is_number ? gemmi::find_spacegroup_by_number(static_cast<int>(number)) : nullptr;
  return group ? group->hm : "";
}

/// CRYST1 without its first six characters; empty when the cell is missing or does not fit the record.
std::string crystal_record(cif::Block& block) {
  const char* const tags[] = {"_cell.length_a",    "_cell.length_b",   "_cell.length_c",
                              "_cell.angle_alpha", "_cell.angle_beta", "_cell.angle_gamma"};
  std::string text;
  for (int i = 0; i < 6; ++i) {
    const double value = cif::as_number(first_value(block, {tags[i]}));
    const double limit = i < 3 ? 99999.0 : 180.0;
    if (!(value > 0 && value < limit)) return {};
    text += i < 3 ? fixed(value, 9, 3) : fixed(value, 7, 2);
  }
  std::string group = group_name(block);
  group.resize(11, ' ');
  const double z = cif::as_number(first_value(block, {"_cell.Z_PDB", "_cell.formula_units_Z"}), 0.0);
  return text + ' ' + group + fixed(z >= 0 && z < 10000 ? z : 0.0, 4, 0);
}

void read_records(cif::Block& block, ParsedMolecule& parsed) {
  const std::string resolution = first_value(
      block, {"_refine.ls_d_res_high", "_reflns.d_resolution_high", "_em_3d_reconstruction.resolution"});
  const double d_min = cif::as_number(resolution, 0.0);
  if (d_min > 0 && d_min < 1000)
    parsed.records.push_back({"REMARK", "   2 RESOLUTION. " + fixed(d_min, 7, 2) + " ANGSTROMS."});
  const std::string cell = crystal_record(block);
  if (!cell.empty()) parsed.records.push_back({"CRYST1", cell});
  parsed.title = first_value(block, {"_entry.id"});
}

}  // namespace

ParsedMolecule parse_mmcif(std::string_view text) {
  cif::Document document;
  try {
    // gemmi puts the name before the line number of what it finds wrong.
    document = cif::read_memory(text.data(), text.size(), "line");
  } catch (const tao::pegtl::parse_error& error) {
    throw ParseFault(std::string(error.message()), static_cast<long>(error.positions().front().line));
  }
  ParsedMolecule parsed;
  parsed.has_residues = true;
  for (cif::Block& block : document.blocks) {
    if (!block.has_tag("_atom_site.Cartn_x") && &block != &document.blocks.back()) continue;
    read_atoms(block, parsed);
    read_bonds(block, parsed);
    read_records(block, parsed);
    break;
  }
  return parsed;
}

}  // namespace VXCore
