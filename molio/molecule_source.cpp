#include "molecule_source.inl"

#include <algorithm>
#include <filesystem>
#include <utility>
#include <vector>

#include <vxgrid/host/error_handler.h>

namespace VXCore {
namespace {

constexpr std::size_t kBlock = 65536;

/// Why a file did not open.
std::string open_fault(const std::string& filename) {
  std::error_code error;
  const auto status = std::filesystem::status(filename, error);
  if (!std::filesystem::exists(status)) return "there is no such file";
  if (std::filesystem::is_directory(status)) return "this is a folder";
  return "the file cannot be read";
}

/// What is compressed may unpack to records of 250 times the size of the file, which real coordinates are far
/// from.
std::size_t longest_record(const std::string& filename) {
  std::error_code error;
  const auto size = std::filesystem::file_size(filename, error);
  return error || size > (1ul << 50) ? ~0ul : size * 250 + (1ul << 20);
}

bool is_blank(std::string_view line) { return line.find_first_not_of(" \t\r\n") == line.npos; }

bool starts_with(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

bool is_mol2_head(std::string_view line) {
  constexpr std::string_view kMark = "@<TRIPOS>";
  return starts_with(line, kMark) &&
         trimmed(line.substr(kMark.size(), line.find_last_not_of("\r\n") + 1 - kMark.size())) == "MOLECULE";
}

void fill(VXGraphMol& mol, const ParsedMolecule& parsed) {
  mol.Clear();
  mol.SetTitle(parsed.title);
  std::vector<VXAtomBase*> atoms;
  atoms.reserve(parsed.atoms.size());
  for (const ParsedAtom& from : parsed.atoms) {
    VXAtomBase* atom = mol.AddAtom(from.element);
    atom->SetName(from.name);
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

MoleculeSource::MoleculeSource(const std::string& filename) : file_(VXGetMoleculeFile(filename)) {
  if (file_ == VXMoleculeFile::Unknown)
    throw ParseFault(
        "the extension names no coordinate format; known are pdb, ent, cif, mmcif, sdf, sd, mol, mol2");
  if (!in_.open(filename)) throw ParseFault(open_fault(filename));
  if (in_.eof() && !in_.damaged()) throw ParseFault("the file is empty");
  longest_ = longest_record(filename);
  size_ = static_cast<double>(in_.max_bytes_left());
}

bool MoleculeSource::next() {
  if (at_end_) return false;
  line_ += std::exchange(lines_, 0);
  start_ += std::exchange(length_, 0);
  is_ended_ = has_content_ = false;
  try {
    find_end();
  } catch (const ParseFault& fault) {
    fault_ = fault;
    at_end_ = true;
  }
  const bool found = has_content_ || is_ended_ || fault_;
  number_ += found;
  return found;
}

void MoleculeSource::read(VXGraphMol& mol, VXAlternates alternates) const {
  if (fault_) throw *fault_;
  if (!has_content_) throw ParseFault("the record is empty", line_);
  ParsedMolecule parsed = file_ == VXMoleculeFile::PDB     ? parse_pdb(record().text)
                          : file_ == VXMoleculeFile::mmCIF ? parse_mmcif(record().text)
                          : file_ == VXMoleculeFile::SDF   ? parse_sdf(record())
                                                           : parse_mol2(record());
  if (parsed.atoms.empty()) throw ParseFault("there are no atoms in it", has_records() ? line_ : 0);
  if (alternates == VXAlternates::Best) keep_best_alternates(parsed);
  fill(mol, parsed);
}

double MoleculeSource::share_read() const {
  return 1 - std::min(1.0, static_cast<double>(in_.max_bytes_left()) / size_);
}

Record MoleculeSource::record() const {
  return {std::string_view(buffer_).substr(start_, length_), line_, is_ended_};
}

/// The line that starts `at` bytes into the record, with its line end; empty at the end of the file.
std::string_view MoleculeSource::line_at(std::size_t at) {
  for (std::size_t from = at;;) {
    const std::size_t end = buffer_.find('\n', start_ + from);
    if (end != buffer_.npos) return std::string_view(buffer_).substr(start_ + at, end + 1 - start_ - at);
    from = buffer_.size() - start_;
    if (!read_more()) return std::string_view(buffer_).substr(start_ + at);
  }
}

/// Drops what lies before the record and reads on; false at the end of the file.
bool MoleculeSource::read_more() {
  buffer_.erase(0, start_);
  start_ = 0;
  const std::size_t have = buffer_.size();
  if (have > longest_) throw ParseFault("the compressed content is more than 250 times as long as the file");
  buffer_.resize(have + std::max(kBlock, have));
  buffer_.resize(have + in_.read(&buffer_[have], buffer_.size() - have));
  return buffer_.size() > have;
}

void MoleculeSource::find_end() {
  if (has_records()) {
    find_end_of_record();
  } else {
    while (read_more()) {
    }
    length_ = buffer_.size();
    has_content_ = at_end_ = true;
  }
  if (at_end_ && in_.damaged()) throw ParseFault("the compressed content is cut short or damaged");
}

/// Of an SDF or MOL2 file. The mark "$$$$" belongs to the record that it ends.
void MoleculeSource::find_end_of_record() {
  const bool is_sdf = file_ == VXMoleculeFile::SDF;
  bool has_head = false;
  while (!is_ended_) {
    const std::string_view line = line_at(length_);
    at_end_ = line.empty();
    const bool is_head = !is_sdf && is_mol2_head(line);
    if (at_end_ || (has_head && is_head)) return;
    has_head = has_head || is_head;
    is_ended_ = is_sdf && starts_with(line, "$$$$");
    has_content_ = has_content_ || !(is_ended_ || is_blank(line));
    length_ += line.size();
    ++lines_;
  }
}

void warn_of_fault(const char* caller, const std::string& about, const std::exception& fault) {
  const auto* const parse_fault = dynamic_cast<const ParseFault*>(&fault);
  const long line = parse_fault ? parse_fault->line() : 0;
  const std::string where = line > 0 ? ", line " + std::to_string(line) : "";
  VXThrow.Warning(std::string(caller) + ": " + about + where + ": " + one_line(fault.what()));
}

}  // namespace VXCore
