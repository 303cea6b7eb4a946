#pragma once

#include <memory>
#include <string>

#include <vxgrid/host/base.h>

namespace VXCore {

class VXMolBase;
class VXReflectionImpl;
class VXScalarGrid;
class VXSkewGrid;
namespace VXXtal {
class VXSymmetry;
}

/// Column codes of VXReflection::GetColumn and its kin. Centric and RFree hold ints, the others floats.
namespace VXReflectionColumn {
enum Code : unsigned int {
  Phase,      ///< observed or best phase, degrees
  PhaseCalc,  ///< calculated phase, degrees
  Fobs,       ///< observed amplitude
  Fcalc,      ///< calculated amplitude
  Phiwt,      ///< phase of Fwt, degrees
  Phidelwt,   ///< phase of Fdelwt, degrees
  Fwt,        ///< precomputed map amplitude
  Fdelwt,     ///< precomputed difference-map amplitude
  Sigma,      ///< standard uncertainty of Fobs
  FOM,        ///< figure of merit
  Centric,    ///< centric flag
  RFree,      ///< free-R flag
  Stolsq      ///< (sin theta / lambda)^2, Å^-2
};
}

/// Map types: which amplitude and phase make the coefficients of a map.
///
/// type             amplitude                            phase
/// Fo               Fobs                                 Phase
/// Fc               Fcalc                                PhaseCalc
/// TwoFoFc          Fobs + Fobs - Fcalc, in float        PhaseCalc
/// FoFc             Fobs - Fcalc, in float               PhaseCalc
/// ThreeFoTwoFc     3 Fobs - 2 Fcalc, in double          PhaseCalc
/// FiveFoThreeFc    5 Fobs - 3 Fcalc, in double          PhaseCalc
/// TwoFoFcSigmaA    the A coefficient as it stands       Phase
/// FoFcSigmaA       the B coefficient as it stands       Phase
/// FoFo             Fobs * Fobs                          Phase
/// FoFOM            FOM * Fobs                           Phase
/// Fwt              Fwt                                  Phiwt
/// Fdelwt           Fdelwt                               Phidelwt
/// FcDifference and every other code                     Fobs, Phase
///
/// No SigmaA weights are computed: types 6 and 7 use the columns A and B just as they are. An MTZ file
/// takes type 12 as a map of calculated amplitudes that is marked as a difference map.
namespace VXMTZMapType {
enum Code : unsigned int {
  Fo,
  Fc,
  TwoFoFc,
  FoFc,
  ThreeFoTwoFc,
  FiveFoThreeFc,
  TwoFoFcSigmaA,
  FoFcSigmaA,
  FoFo,
  FoFOM,
  Fwt,
  Fdelwt,
  FcDifference,
  None
};
}

/// A reflection data set: Miller indices with parallel columns of GetCount() values, a title, space group
/// and cell, and the resolution as attributes. A column is there or not, which tells what the set has.
///
/// Fill a set in this order: SetCount, SetHKL, the columns, SetSymmetry. Setters of columns copy; a count
/// other than GetCount() gives false and changes nothing (SetHKL and SetABCD do not compare it); null
/// values take the column away and give false. Getters copy GetCount() values in storage order; false when
/// the column is not there. Element access runs in sorted order once Sort has been called; it gives false
/// when the column is not there or the index is greater than GetCount(). The index GetCount() itself is
/// accepted: it reaches one spare element behind the column.
class VXGRID_API VXReflection : public VXBase {
 public:
  VXReflection();
  VXReflection(const VXReflection& other);
  VXReflection& operator=(const VXReflection& other);
  ~VXReflection() override;

  /// Back to the state after construction.
  void Clear() override;
  const void* GetDataType() const override;
  bool IsDataType(const void* type) const override;
  VXReflection* CreateCopy() const override;

  unsigned int GetCount() const;
  /// Resizes every column that is there; new elements are for the caller to fill.
  bool SetCount(unsigned int count);
  bool SetTitle(const char* title);
  bool SetTitle(const std::string& title);
  const std::string& GetTitle() const;
  const VXXtal::VXSymmetry& GetSymmetry() const;
  bool SetSymmetry(const VXXtal::VXSymmetry& symmetry);

  bool SetHKL(const int* h, const int* k, const int* l, unsigned int count);
  bool GetHKL(int* h, int* k, int* l) const;
  bool SetHKLElement(int h, int k, int l, unsigned int index);
  bool GetHKLElement(int& h, int& k, int& l, unsigned int index) const;
  /// Hendrickson-Lattman coefficients.
  bool SetABCD(const float* a, const float* b, const float* c, const float* d, unsigned int count);
  bool GetABCD(float* a, float* b, float* c, float* d) const;
  bool SetABCDElement(float a, float b, float c, float d, unsigned int index);
  bool GetABCDElement(float& a, float& b, float& c, float& d, unsigned int index) const;

  /// The other columns, by VXReflectionColumn code. A code of the other element type gives false.
  bool SetColumn(unsigned int column, const float* values, unsigned int count);
  bool SetColumn(unsigned int column, const int* values, unsigned int count);
  bool GetColumn(unsigned int column, float* out) const;
  bool GetColumn(unsigned int column, int* out) const;
  bool SetElement(unsigned int column, float value, unsigned int index);
  bool SetElement(unsigned int column, int value, unsigned int index);
  bool GetElement(unsigned int column, float& value, unsigned int index) const;
  bool GetElement(unsigned int column, int& value, unsigned int index) const;

  /// Orders element access by h, then k, then l, all ascending. False without indices.
  bool Sort();
  /// True when the set has the columns that a map type needs; Errors name what type Fc misses. Types 6 and
  /// 7 are not tested for the phase that they read, and types above 11 never pass.
  bool ValidateMaptype(int maptype) const;
  /// The coefficient of a reflection in storage order, amplitude * (cos, sin) of the phase. False, with a
  /// and b as they were, when amplitude or phase is not a number or not there.
  bool GetAB(float& a, float& b, unsigned int index, int maptype) const;
  /// Amplitude and phase in degrees, not-a-number where there is none. Always true.
  bool GetAmpPhase(float& amp, float& phase, unsigned int index, int maptype) const;

  /// Fills column Stolsq, 1/(4 d^2), from indices and cell; false without group, cell or indices.
  bool CalcResolution();
  /// Adds all symmetry mates behind the reflections, which keep their places. Of a Friedel pair one mate is
  /// listed, in the half with l > 0, or l = 0 and h > 0, or l = h = 0 and k >= 0. Phases of mates lie in
  /// [0, 360). Call it once: a second call expands again. False without group or reflections.
  bool Expand();
  /// Fourier synthesis of the expanded set over the whole cell, in e/Å^3, on a lattice of at least 2.5
  /// points per index limit that repeats its zero planes at the far sides. False, with the grid as it was,
  /// when the set has no reflections, no valid cell or not the columns of the map type.
  bool MakeMap(VXSkewGrid& grid, unsigned int maptype) const&;
  /// The same for `std::move(set).MakeMap(...)`, which needs less memory: the columns are released on the
  /// way.
  bool MakeMap(VXSkewGrid& grid, unsigned int maptype) &&;

  /// Structure factors of a model by direct summation over all atoms of the cell, from tables: amplitudes
  /// into Fcalc, phases in degrees into PhaseCalc and Phase, with
  ///   F(hkl) = sum of occupancy f exp(-B s^2) exp(+2 pi i (hx + ky + lz)),   s^2 = Stolsq.
  ///
  /// Angles are whole degrees, form factors stand in steps of 0.005 of s^2, and B s^2 in steps of 0.0005:
  /// the price of a sum without transcendental functions. VXStructureFactors is the exact one.
  ///
  /// Atoms scatter by element and formal charge; those without residue data, which hold occupancy and B
  /// factor, are left out. Neutral hydrogens and unknown elements scatter as carbon: models are hydrogen-free
  /// here. Stolsq is made by CalcResolution when it is not there. A B factor or a Stolsq below 0 counts as 0
  /// in the tables. Where a number of an atom or Stolsq is not a number, neither are the amplitudes that
  /// it takes part in.
  ///
  /// False, with these columns as they were, for a model without residue data, for a set without group, valid
  /// cell or indices, and when the table of B s^2 would outgrow its index: when the largest B factor times
  /// the largest Stolsq reaches 1,073,741.
  bool SFCalc(const VXMolBase& model);

  /// Resolution limits as 1/d^2 (Å^-2): attributes "reslo", "reshi" and "reso" = 1 / sqrt(hi), in Å.
  bool SetRESO(double lo, double hi);
  /// Attribute "reso", the high-resolution limit in Å; 0 when not set.
  double GetResolution() const;

  VXReflectionImpl* GetImpl() { return impl_.get(); }
  const VXReflectionImpl* GetImpl() const { return impl_.get(); }

 private:
  std::unique_ptr<VXReflectionImpl> impl_;
};

/// "Fo", "Fc", "2Fo-Fc", "Fo-Fc", "3Fo-2Fc", "5Fo-3Fc", "2Fo-Fc(SigmaA)", "Fo-Fc(SigmaA)", "Fo*Fo",
/// "Fo*FOM", "Fwt" and "Fdelwt" are codes 0 to 11; every other text is 13.
VXGRID_API unsigned int VXMTZMapTypeFromString(const std::string& text);
/// The same texts, but for code 7, "Fo-Fc (SigmaA)": it carries a blank that does not go back in. "None"
/// for 13, empty for others.
VXGRID_API std::string VXMTZMapTypeToString(unsigned int maptype);

/// True for a grid of type DifferenceMap, false for a RegularMap. Any other grid counts as a difference map
/// when it is empty or when |min| / |max| exceeds 0.65: a map as deep as it is high.
VXGRID_API bool VXGridIsDifferenceMap(const VXSkewGrid& grid);
VXGRID_API bool VXGridIsDifferenceMap(const VXScalarGrid& grid);

}  // namespace VXCore
