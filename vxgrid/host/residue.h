#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <vxgrid/host/molecule.h>

namespace VXCore {

/// What a coordinate file says of the residue of an atom, and of the atom itself beside its place. Names and
/// chain ids have at most 15 characters, longer ones are cut; so a residue is one flat record.
class VXGRID_API VXResidue {
 public:
  std::string GetName() const { return name_.str(); }
  void SetName(std::string_view name) { name_.set(name); }
  std::string GetChainId() const { return chain_.str(); }
  void SetChainId(std::string_view chain) { chain_.set(chain); }
  int GetNumber() const { return number_; }
  void SetNumber(int number) { number_ = number; }
  /// A blank when there is none; likewise the alternate location.
  char GetInsertCode() const { return insert_code_; }
  void SetInsertCode(char code) { insert_code_ = code; }
  char GetAlternateLocation() const { return alternate_location_; }
  void SetAlternateLocation(char location) { alternate_location_ = location; }
  /// Isotropic, in Å^2; 0 until set.
  float GetBFactor() const { return b_iso_; }
  void SetBFactor(float b_iso) { b_iso_ = b_iso; }
  /// 0 until set.
  float GetOccupancy() const { return occ_; }
  void SetOccupancy(float occ) { occ_ = occ; }
  /// The number of the atom in its file.
  int GetSerialNumber() const { return serial_; }
  void SetSerialNumber(int serial) { serial_ = serial; }
  /// The symmetry image from which the atom came, counted from 1; 0 for the atoms of the file.
  int GetImage() const { return image_; }
  void SetImage(int image) { image_ = image; }

  /// Compares the identity fields in `mask`, a sum of VXResidueField.
  bool IsSame(const VXResidue& other, unsigned int mask) const;
  /// Of the identity fields.
  std::size_t Hash() const;

 private:
  struct ShortText {
    char text[16] = {};
    std::string str() const { return text; }
    void set(std::string_view from);
    bool operator==(const ShortText& other) const;
  };

  ShortText name_, chain_;
  int number_ = 0;
  int serial_ = 0;
  int image_ = 0;
  float b_iso_ = 0.0f;
  float occ_ = 0.0f;
  char insert_code_ = ' ';
  char alternate_location_ = ' ';
};

/// The fields by which residues are told apart, as bits of a mask.
enum VXResidueField : unsigned int {
  VXResidueName = 1,
  VXResidueNumber = 2,
  VXResidueChain = 4,
  VXResidueInsertCode = 8,
  VXResidueAllFields = 15
};

/// Same name, number, chain and insertion code.
VXGRID_API bool VXSameResidue(const VXResidue& a, const VXResidue& b);
VXGRID_API bool VXSameResidue(const VXAtomBase* a, const VXAtomBase* b);

/// The residue data of an atom, valid until residue data of the molecule change or atoms are added; a
/// default residue for an atom without.
VXGRID_API const VXResidue& VXAtomGetResidue(const VXAtomBase* atom);
VXGRID_API void VXAtomSetResidue(VXAtomBase* atom, const VXResidue& residue);

/// True when the atom has residue data.
VXGRID_API bool VXHasResidue(const VXAtomBase* atom);
/// True when any atom has.
VXGRID_API bool VXHasResidues(const VXMolBase& mol);

/// The different residues of a molecule, in the order of their first atoms; the data of each are those of
/// its first atom. The form with Impl gives the bare iterator, which the caller deletes.
VXGRID_API VXIterBase<VXResidue>* VXGetResiduesImpl(const VXMolBase& mol);
inline VXIter<VXResidue> VXGetResidues(const VXMolBase& mol) { return VXGetResiduesImpl(mol); }

/// The atoms of a residue, wherever in the molecule they stand.
VXGRID_API VXIterBase<VXAtomBase>* VXGetResidueAtomsImpl(const VXMolBase& mol, const VXResidue& residue,
                                                         unsigned int mask = VXResidueAllFields);
inline VXIter<VXAtomBase> VXGetResidueAtoms(const VXMolBase& mol, const VXResidue& residue,
                                            unsigned int mask = VXResidueAllFields) {
  return VXGetResidueAtomsImpl(mol, residue, mask);
}

/// True for the atoms that have residue data and belong to a residue.
struct VXAtomIsInResidue {
  explicit VXAtomIsInResidue(const VXResidue& of, unsigned int by = VXResidueAllFields)
      : residue(of), mask(by) {}
  bool operator()(const VXAtomBase& atom) const {
    return VXHasResidue(&atom) && VXAtomGetResidue(&atom).IsSame(residue, mask);
  }

  VXResidue residue;
  unsigned int mask;
};

}  // namespace VXCore
