#pragma once

#include <cstddef>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

#include <vxgrid/host/base.h>
#include <vxgrid/host/export.h>

namespace VXCore {

class VXAtomBase;
class VXBondBase;
class VXMolBase;

/// Atoms, bonds, coordinates and residue data of a molecule in flat arrays. Private to the molecule's
/// sources.
struct MolData;

/// A walk over items that somebody else owns. Made on the heap; whoever gets one deletes it, or hands it to
/// a VXIter. Ends where operator bool turns false; only then may * and -> not be used.
template <class T>
class VXIterBase {
 public:
  virtual ~VXIterBase() = default;
  explicit virtual operator bool() const = 0;
  virtual T& operator*() const = 0;
  virtual VXIterBase& operator++() = 0;
  T* operator->() const { return &**this; }
};

/// Owns a VXIterBase; a null one is an empty walk. Either of
///
///     for (VXIter<VXAtomBase> atom = mol.GetAtoms(); atom; ++atom) atom->SetRadius(1.5);
///     for (VXAtomBase& atom : VXIter<VXAtomBase>(mol.GetAtoms())) atom.SetRadius(1.5);
template <class T>
class VXIter {
 public:
  VXIter(VXIterBase<T>* walk) : walk_(walk) {}

  explicit operator bool() const { return walk_ && *walk_; }
  T& operator*() const { return **walk_; }
  T* operator->() const { return &**walk_; }
  VXIter& operator++() {
    ++*walk_;
    return *this;
  }

  struct Step {
    using iterator_category = std::input_iterator_tag;
    using value_type = T;
    using difference_type = std::ptrdiff_t;
    using pointer = T*;
    using reference = T&;

    VXIter* iter;
    T& operator*() const { return **iter; }
    Step& operator++() {
      ++*iter;
      return *this;
    }
    /// Against end() alone, which has no walk.
    bool operator!=(const Step&) const { return static_cast<bool>(*iter); }
  };
  Step begin() { return {this}; }
  Step end() { return {nullptr}; }

 private:
  std::unique_ptr<VXIterBase<T>> walk_;
};

/// A condition on an item: a function, a lambda or one of the functors of residue.h.
template <class T>
using VXUnaryPredicate = std::function<bool(const T&)>;

/// An atom lives in its molecule, at the same address until it is deleted.
class VXGRID_API VXAtomBase : public VXBase {
 public:
  VXAtomBase(const VXAtomBase&) = delete;
  VXAtomBase& operator=(const VXAtomBase&) = delete;

  const void* GetDataType() const override;
  bool IsDataType(const void* type) const override;

  /// Its place in arrays by atom index. Deleting other atoms leaves it alone, VXMolBase::Sweep does not.
  unsigned int GetIdx() const { return idx_; }
  /// 1 is hydrogen, deuterium too; 0 stands for what is no element.
  unsigned int GetAtomicNum() const { return atomic_num_; }
  void SetAtomicNum(unsigned int number) { atomic_num_ = number; }
  int GetFormalCharge() const { return formal_charge_; }
  void SetFormalCharge(int charge) { formal_charge_ = charge; }
  /// As its file names it ("CA"); empty until set.
  const std::string& GetName() const { return name_; }
  void SetName(std::string_view name) { name_ = name; }
  /// In Å; 0 until set.
  double GetRadius() const { return radius_; }
  void SetRadius(double radius) { radius_ = radius; }
  /// The bonded neighbours, in the order in which the bonds were made.
  VXIterBase<VXAtomBase>* GetAtoms() const;

 private:
  friend struct MolData;
  VXAtomBase() = default;

  MolData* owner_ = nullptr;
  std::string name_;
  double radius_ = 0.0;
  unsigned int idx_ = 0;
  unsigned int atomic_num_ = 0;
  int formal_charge_ = 0;
  // Ends of the chain of bonds through VXBondBase::next_, so that no atom needs a list of its own.
  unsigned int first_bond_ = ~0u;
  unsigned int last_bond_ = ~0u;
};

class VXGRID_API VXBondBase : public VXBase {
 public:
  VXBondBase(const VXBondBase&) = delete;
  VXBondBase& operator=(const VXBondBase&) = delete;

  const void* GetDataType() const override;
  bool IsDataType(const void* type) const override;

  /// Stays while other bonds go, as that of an atom does.
  unsigned int GetIdx() const { return idx_; }
  VXAtomBase* GetBgn() const;
  VXAtomBase* GetEnd() const;
  unsigned int GetOrder() const { return order_; }
  void SetOrder(unsigned int order) { order_ = order; }

 private:
  friend struct MolData;
  VXBondBase() = default;

  MolData* owner_ = nullptr;
  unsigned int idx_ = 0;
  unsigned int order_ = 1;
  unsigned int ends_[2] = {0, 0};      // indices of the begin and the end atom
  unsigned int next_[2] = {~0u, ~0u};  // next bond of the begin and of the end atom
};

/// What all molecules share. Atoms have indices; deleting one leaves a gap, so that arrays by atom index are
/// sized by GetMaxAtomIdx, which may exceed NumAtoms. Iterators run by rising index. An atom of another
/// molecule, or a null one, is refused by every operation that takes an atom.
class VXGRID_API VXMolBase : public VXBase {
 public:
  VXMolBase(const VXMolBase&) = delete;
  ~VXMolBase() override;

  const void* GetDataType() const override;
  bool IsDataType(const void* type) const override;
  VXMolBase* CreateCopy() const override = 0;

  /// Takes atoms (with their indices), bonds, coordinates, residue and PDB data, title and attributes. From
  /// a molecule with conformers, one without takes the first.
  VXMolBase& operator=(const VXMolBase& other);
  /// Appends the atoms and bonds of another molecule with all their data, without its gaps. Title,
  /// attributes and PDB data of this one stay. Each conformer here is continued by the one of the same
  /// number there, or by the first where there is none.
  virtual VXMolBase& operator+=(const VXMolBase& other);

  /// True when there is an atom.
  explicit virtual operator bool() const;
  virtual unsigned int NumAtoms() const;
  virtual unsigned int NumBonds() const;
  /// One more than the largest atom index in use, 0 without atoms.
  virtual unsigned int GetMaxAtomIdx() const;

  virtual VXIterBase<VXAtomBase>* GetAtoms() const;
  /// Those for which the condition holds.
  virtual VXIterBase<VXAtomBase>* GetAtoms(const VXUnaryPredicate<VXAtomBase>& condition) const;
  virtual VXIterBase<VXBondBase>* GetBonds() const;

  virtual VXAtomBase* AddAtom(unsigned int atomic_number);
  /// Null when the two are one atom. A second bond between the same atoms is a bond of its own.
  virtual VXBondBase* AddBond(VXAtomBase* begin, VXAtomBase* end, unsigned int order = 1);
  /// Deletes an atom with its bonds; iterators that stand on it may go on.
  virtual bool DeleteAtom(VXAtomBase* atom);
  /// Closes the gaps: atoms keep their order and get the indices 0, 1, 2, ...
  virtual void Sweep();
  /// Back to a new molecule without atoms, title, attributes and PDB data.
  void Clear() override;

  /// x, y, z in Å of one atom; zeros for an atom that has none.
  virtual bool GetCoords(const VXAtomBase* atom, float* xyz) const;
  /// Three floats per atom index, GetMaxAtomIdx times; zeros in gaps. False, with nothing written, when no
  /// atom has got coordinates.
  virtual bool GetCoords(float* xyz) const;
  virtual bool SetCoords(const VXAtomBase* atom, const float* xyz);
  /// All atoms from such an array.
  virtual bool SetCoords(const float* xyz);
  /// The coordinates themselves, three floats an atom index, of the first conformer: to write there is to set
  /// them. Null without atoms; good until atoms come or go, or the molecule is assigned to.
  float* GetCoordsBlock();
  /// 3 for coordinates in space; what is set, whatever the coordinates are.
  virtual unsigned int GetDimension() const;
  virtual void SetDimension(unsigned int dimension);

  virtual const char* GetTitle() const;
  virtual void SetTitle(const std::string& title);

  /// For the sources of the molecule library.
  const MolData& Data() const { return *data_; }
  MolData& Data() { return *data_; }

 protected:
  explicit VXMolBase(bool conformers);
  VXMolBase(const VXMolBase& other, bool conformers);

 private:
  friend VXGRID_API bool VXSubsetMol(VXMolBase& dst, const VXMolBase& src,
                                     const VXUnaryPredicate<VXAtomBase>& condition);

  std::unique_ptr<MolData> data_;
};

/// A molecule with one set of coordinates.
class VXGRID_API VXGraphMol : public VXMolBase {
 public:
  VXGraphMol() : VXMolBase(false) {}
  VXGraphMol(const VXGraphMol& other) : VXMolBase(other, false) {}
  VXGraphMol(const VXMolBase& other) : VXMolBase(other, false) {}
  VXGraphMol& operator=(const VXGraphMol& other) {
    VXMolBase::operator=(other);
    return *this;
  }
  using VXMolBase::operator=;

  const void* GetDataType() const override;
  bool IsDataType(const void* type) const override;
  VXGraphMol* CreateCopy() const override { return new VXGraphMol(*this); }
};

/// Copies the atoms of `src` for which the condition holds, in order and without gaps, and the bonds between
/// them, with all their data, into `dst`, whose former content goes. The title comes along; what belongs to
/// the molecule as a whole (attributes, PDB data) does not. False when no atom was chosen.
VXGRID_API bool VXSubsetMol(VXMolBase& dst, const VXMolBase& src,
                            const VXUnaryPredicate<VXAtomBase>& condition);

/// Removes every explicit hydrogen. The flags ask to keep special ones (polar, stereo, isotopic); no atom
/// here is marked as such, so they change nothing.
VXGRID_API void VXSuppressHydrogens(VXMolBase& mol, bool keep_polar = false, bool keep_stereo = false,
                                    bool keep_isotopes = true);

/// Formal charges are what the file or the caller gave: each atom keeps its own and none is guessed.
VXGRID_API bool VXAssignFormalCharges(VXMolBase& mol);

/// True for every atom but hydrogens.
struct VXIsHeavy {
  bool operator()(const VXAtomBase& atom) const { return atom.GetAtomicNum() != 1; }
};

/// True for hydrogens.
struct VXIsHydrogen {
  bool operator()(const VXAtomBase& atom) const { return atom.GetAtomicNum() == 1; }
};

}  // namespace VXCore
