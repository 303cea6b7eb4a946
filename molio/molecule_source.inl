#pragma once

#include <exception>
#include <optional>
#include <string>
#include <string_view>

#include <molio/read_molecule.h>
#include <vxgrid/host/stream.h>

#include "parsed_molecule.inl"

namespace VXCore {

/// The records of a coordinate file, one in memory at a time. What goes wrong is thrown as ParseFault, or as
/// the libraries behind the parsers throw it.
class MoleculeSource {
 public:
  explicit MoleculeSource(const std::string& filename);

  bool next();
  void read(VXGraphMol& mol, VXAlternates alternates) const;
  unsigned long number() const { return number_; }
  /// True when the file can hold more molecules than one.
  bool has_records() const { return file_ == VXMoleculeFile::SDF || file_ == VXMoleculeFile::MOL2; }
  double share_read() const;

 private:
  Record record() const;
  std::string_view line_at(std::size_t at);
  bool read_more();
  void find_end();
  void find_end_of_record();

  VXHost::vxifstream in_;
  VXMoleculeFile file_;
  std::string buffer_;
  std::size_t start_ = 0;    // of the record, in the buffer
  std::size_t length_ = 0;   // of the record
  long lines_ = 0;           // of the record, where the file has several
  std::size_t longest_ = 0;  // that a record of this file may be
  double size_ = 0;          // of the file, in the measure of vxistream::max_bytes_left
  unsigned long number_ = 0;
  long line_ = 1;             // of the file, where the record starts
  bool is_ended_ = false;     // by its end mark
  bool has_content_ = false;  // other than blank lines and the end mark
  bool at_end_ = false;       // nothing comes behind this record
  std::optional<ParseFault> fault_;
};

/// One Warning in the name of the caller about "FILE, molecule 3" or the like.
void warn_of_fault(const char* caller, const std::string& about, const std::exception& fault);

}  // namespace VXCore
