#pragma once

#include <cstdint>
#include <string>

#include <vxgrid/host/export.h>
#include <vxgrid/xtal/symmetry.h>

namespace VXCore {

class VXMolBase;
class VXSkewGrid;
struct FFTMap;

/// The data of a VXReflection, which documents the operations.
///
/// The fields are for reading; the operations change them. A column is a block from malloc, or null when the
/// set does not have it, and holds at least nref + 1 elements: the one behind the last is spare (0 at first),
/// since element access accepts the index nref.
class VXGRID_API VXReflectionImpl {
 public:
  std::string title;
  std::uint32_t nref = 0;
  VXXtal::VXSymmetry symmetry;
  int* h = nullptr;
  int* k = nullptr;
  int* l = nullptr;
  float* phase = nullptr;
  float* phase_calc = nullptr;
  float* fobs = nullptr;
  float* fcalc = nullptr;
  float* sigma = nullptr;
  float* fom = nullptr;
  int* centric = nullptr;
  int* rfree = nullptr;
  float* hla = nullptr;
  float* hlb = nullptr;
  float* hlc = nullptr;
  float* hld = nullptr;
  float* stolsq = nullptr;
  std::uint32_t* sort_index = nullptr;  ///< from sorted to storage order; null until Sort
  float* fwt = nullptr;
  float* fdelwt = nullptr;
  float* phiwt = nullptr;
  float* phidelwt = nullptr;
  bool expanded = false;               ///< Expand does nothing when set; nothing sets it
  std::uint32_t unexpanded_count = 0;  ///< nref before the last Expand

  VXReflectionImpl() = default;
  VXReflectionImpl(const VXReflectionImpl& other);
  VXReflectionImpl& operator=(const VXReflectionImpl& other);
  ~VXReflectionImpl();

  void Clear();
  void ReleaseColumns();
  unsigned int GetCount() const { return nref; }
  bool SetCount(unsigned int count);
  bool SetTitle(const std::string& text);
  const std::string& GetTitle() const { return title; }
  const VXXtal::VXSymmetry& GetSymmetry() const { return symmetry; }
  bool SetSymmetry(const VXXtal::VXSymmetry& value);

// Set<X>, Get<X>, Set<X>Element and Get<X>Element of one column.
#define VX_COLUMN(X, T, field)                                                                 \
  bool Set##X(const T* values, unsigned int count) { return SetValues(field, values, count); } \
  bool Get##X(T* out) const { return GetValues(field, out); }                                  \
  bool Set##X##Element(T value, unsigned int index) { return SetValue(field, value, index); }  \
  bool Get##X##Element(T& value, unsigned int index) const { return GetValue(field, value, index); }
  VX_COLUMN(Phase, float, phase)
  VX_COLUMN(PhaseCalc, float, phase_calc)
  VX_COLUMN(Fobs, float, fobs)
  VX_COLUMN(Fcalc, float, fcalc)
  VX_COLUMN(Phiwt, float, phiwt)
  VX_COLUMN(Phidelwt, float, phidelwt)
  VX_COLUMN(Fwt, float, fwt)
  VX_COLUMN(Fdelwt, float, fdelwt)
  VX_COLUMN(Sigma, float, sigma)
  VX_COLUMN(FOM, float, fom)
  VX_COLUMN(Centric, int, centric)
  VX_COLUMN(RFree, int, rfree)
  VX_COLUMN(Stolsq, float, stolsq)
#undef VX_COLUMN

  bool SetHKL(const int* new_h, const int* new_k, const int* new_l, unsigned int count);
  bool GetHKL(int* out_h, int* out_k, int* out_l) const;
  bool SetHKLElement(int new_h, int new_k, int new_l, unsigned int index);
  bool GetHKLElement(int& out_h, int& out_k, int& out_l, unsigned int index) const;
  bool SetABCD(const float* a, const float* b, const float* c, const float* d, unsigned int count);
  bool GetABCD(float* a, float* b, float* c, float* d) const;
  bool SetABCDElement(float a, float b, float c, float d, unsigned int index);
  bool GetABCDElement(float& a, float& b, float& c, float& d, unsigned int index) const;

  bool Sort();
  /// Copies one reflection inside the set, all columns; nothing when an index is greater than nref.
  void copy_element(unsigned int dst, unsigned int src);

  bool ValidateMaptype(int maptype) const;
  bool GetAB(float& a, float& b, unsigned int index, int maptype) const;
  bool GetAmpPhase(float& amp, float& phase_deg, unsigned int index, int maptype) const;

  bool CalcResolution();
  bool Expand();

  bool SFCalc(const VXMolBase& model);

  bool MakeMap(VXSkewGrid& grid, unsigned int maptype) const&;
  /// MakeMap of a set that is not needed any more: its columns go as soon as the spectrum holds them.
  bool MakeMap(VXSkewGrid& grid, unsigned int maptype) &&;
  /// Puts each reflection and its Friedel mate where the half spectrum of `map` has room for them. Indices
  /// wrap at the array's size; a later reflection overwrites an earlier one at the same place. Reflections
  /// without amplitude or phase are left out.
  void FillGrid(FFTMap* map, int maptype) const;
  /// The same on two full arrays with h fastest, (l * ny + k) * nx + h: reflections are brought to h >= 0,
  /// the mate is written for h = 0 alone, and what falls outside the arrays is left out.
  void FillGrid(float* re, float* im, int nx, int ny, int nz, int maptype) const;

  /// The four operations of a column, on its field of this record: those of the named families.
  template <class T>
  bool SetValues(T*& column, const T* values, unsigned int count);
  template <class T>
  bool GetValues(const T* column, T* out) const;
  template <class T>
  bool SetValue(T* column, T value, unsigned int index);
  template <class T>
  bool GetValue(const T* column, T& value, unsigned int index) const;

 private:
  bool FindElement(unsigned int& index) const;
};

}  // namespace VXCore
