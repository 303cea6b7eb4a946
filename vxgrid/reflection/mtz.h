#pragma once

#include <memory>
#include <string>
#include <vector>

#include <vxgrid/host/export.h>

namespace VXHost {
class vxistream;
class vxostream;
}  // namespace VXHost

namespace VXCore {

class VXReflection;
class VXSkewGrid;

/// The labels under which a reader of MTZ files looks for the columns of a reflection set, one a role:
///
///  0 "H"      3 "FP"   6 "PHIC"    9 "HLA"   12 "HLD"         15 "DELFWT" (fdelwt)
///  1 "K"      4 "FC"   7 "SIGFP"  10 "HLB"   13 "FreeR_flag"  16 "PHWT" (phiwt)
///  2 "L"      5 "PHI"  8 "FOM"    11 "HLC"   14 "FWT"         17 "PHDELWT" (phidelwt)
class VXGRID_API VXMTZColumnNames {
 public:
  enum Role : unsigned int {
    H,
    K,
    L,
    Fobs,
    Fcalc,
    Phase,
    PhaseCalc,
    Sigma,
    FOM,
    HLA,
    HLB,
    HLC,
    HLD,
    FreeFlag,
    Fwt,
    Fdelwt,
    Phiwt,
    Phidelwt,
    RoleCount
  };

  VXMTZColumnNames();
  /// False for an index of 18 or more.
  bool SetColumnName(unsigned int index, const std::string& label);
  /// Empty for an index of 18 or more.
  const std::string& GetColumnName(unsigned int index) const;
  const std::vector<std::string>& GetColumnNames() const { return names_; }

 private:
  std::vector<std::string> names_;
};

struct VXMTZColumnsPrivate;

/// The labels that a user chooses for the maps of a file. SigmaA names the column of the standard
/// uncertainties: the word is part of the interface.
class VXGRID_API VXMTZColumns {
 public:
  VXMTZColumns();
  VXMTZColumns(const VXMTZColumns& other);
  VXMTZColumns& operator=(const VXMTZColumns& other);
  ~VXMTZColumns();

  const std::string& GetFdelwt() const;    ///< "DELFWT"
  const std::string& GetPhidelwt() const;  ///< "PHDELWT"
  const std::string& GetFwt() const;       ///< "FWT"
  const std::string& GetPhiwt() const;     ///< "PHWT"
  const std::string& GetFobs() const;      ///< "FP"
  const std::string& GetPhi() const;       ///< empty
  const std::string& GetFc() const;        ///< "FC"
  const std::string& GetPhic() const;      ///< "PHIC"
  const std::string& GetSigmaA() const;    ///< "SIGF"
  void SetFdelwt(const std::string& label);
  void SetPhidelwt(const std::string& label);
  void SetFwt(const std::string& label);
  void SetPhiwt(const std::string& label);
  void SetFobs(const std::string& label);
  void SetPhi(const std::string& label);
  void SetFc(const std::string& label);
  void SetPhic(const std::string& label);
  void SetSigmaA(const std::string& label);

 private:
  std::unique_ptr<VXMTZColumnsPrivate> impl_;
};

struct VXMTZPrivate;

/// An MTZ file, .mtz or .mtz.gz, open for making maps; several maps may be made in turn.
class VXGRID_API VXMTZ {
 public:
  /// A name with another extension gives an invalid object in silence, a file that does not open one Error.
  explicit VXMTZ(const std::string& filename);
  /// The same of a stream at its start, whatever it is called. The stream has to live as long as the object.
  VXMTZ(VXHost::vxistream& in, const std::string& filename);
  VXMTZ(const VXMTZ&) = delete;
  VXMTZ& operator=(const VXMTZ&) = delete;
  ~VXMTZ();

  /// The file has at least one column.
  bool IsValid() const;
  /// Labels are compared exactly, in letter case too.
  bool FindColumn(const std::string& label) const;
  /// True when all are there, or none is asked for. The first one that is missing is reported as an Error,
  /// after a list of what the file has.
  bool FindColumns(const std::vector<std::string>& labels) const;
  /// Lists the labels, on standard error or on a stream.
  void PrintColumns() const;
  void PrintColumns(VXHost::vxostream& out) const;

  /// Labels by MTZ column type, in file order: amplitudes F G J K, phases P, uncertainties L M Q, flags I.
  const std::vector<std::string>& GetAmplitudes() const;
  const std::vector<std::string>& GetPhases() const;
  const std::vector<std::string>& GetSigmaA() const;
  const std::vector<std::string>& GetFreeR() const;

  /// Chooses labels by the names that refinement programs use. True when the four weighted columns of one
  /// group are there (FWT PHWT DELFWT PHDELWT or 2FOFCWT PH2FOFCWT FOFCWT PHFOFCWT); labels of amplitudes,
  /// calculated phases and uncertainties are chosen in either case, and one that is not found stays.
  bool AutoGetColumns(VXMTZColumns& columns) const;

  /// Makes the map of a type (VXMTZMapType) over the whole cell, in units of its sigma; the sigma and the
  /// statistics before normalisation are attributes of the inner grid, "ARMS", "AMIN", "AMAX", "AMEAN".
  /// With autoopen the labels are chosen by AutoGetColumns (types 0, 1, 2, 6, 10 and 11 only), else those
  /// of `columns` count. With checkonly the file is only looked at, and the grid stays.
  bool MakeMap(VXSkewGrid& grid, unsigned int maptype, VXMTZColumns& columns, bool autoopen,
               bool checkonly) const;
  bool MakeMap(VXSkewGrid& grid, unsigned int maptype) const;

 private:
  std::unique_ptr<VXMTZPrivate> impl_;
};

/// Appends the labels and the one-letter types of a file's columns; true when there was one.
VXGRID_API bool VXGetMTZFileColumnNamesAndTypes(VXHost::vxistream& in, std::vector<std::string>& names,
                                                std::vector<char>& types);

/// Reads the columns that have the given labels, with cell, space group and resolution. False, with the set
/// cleared, for a stream that is no MTZ file, has no H, K, L or ends before its data do. A file shorter than
/// its first record, and one without columns or reflections, gives true and an empty set.
///
/// The intensity rule: a column of type J or K under the label of fobs or fcalc is stored as its square root,
/// but for fobs the square root is that of the amplitude column; without one it is that of the word before
/// the row. Name an amplitude column.
VXGRID_API bool VXReadReflectionMTZ(VXHost::vxistream& in, VXReflection& set, const VXMTZColumnNames& names);

/// A map from an MTZ file in one call, with columns chosen by AutoGetColumns.
VXGRID_API bool VXReadMTZ(const std::string& filename, VXSkewGrid& grid, unsigned int maptype);

}  // namespace VXCore
