#pragma once

#include <memory>
#include <string>

#include <vxgrid/host/molecule.h>

namespace VXCore {

class MoleculeSource;

/// Reads the molecules of a coordinate file one after another; a file of a million takes the memory of one.
///
///     VXMoleculeReader reader("ligands.sdf.gz");
///     VXGraphMol mol;
///     while (reader.Next())
///       if (reader.Read(mol)) use(mol);
///
/// Records are those of SDF ("$$$$" ends one) and MOL2 files ("@<TRIPOS>MOLECULE" starts one). A PDB or mmCIF
/// file is one record with all its models and blocks, of which the first model is read, with the best
/// alternates. What a molecule gets from its record is told at VXReadMolecule, which reads the first.
class VXGRID_API VXMoleculeReader {
 public:
  /// A file that does not open, is empty or has an unknown extension gives one Warning, and no records.
  explicit VXMoleculeReader(const std::string& filename);
  ~VXMoleculeReader();
  VXMoleculeReader(const VXMoleculeReader&) = delete;
  VXMoleculeReader& operator=(const VXMoleculeReader&) = delete;

  /// True when the file opened.
  explicit operator bool() const { return source_ != nullptr; }

  /// Goes to the next record, whether its content makes sense or not; false behind the last one. Where
  /// compressed content is cut short or damaged stands the last record, which cannot be read.
  bool Next();

  /// Reads the record that Next went to. False, with one Warning (file, number of the record, line of the
  /// file where known, fault) and the molecule as it was, when it is empty, cut short, holds no atoms, or
  /// says what makes no sense.
  bool Read(VXGraphMol& mol);

  /// Of the record that Next went to, from 1; 0 before the first.
  unsigned long GetNumber() const;

  /// How much of the file has been read, from 0 to 1.
  double GetShareRead() const;

 private:
  std::string filename_;
  std::unique_ptr<MoleculeSource> source_;
};

}  // namespace VXCore
