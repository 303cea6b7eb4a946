#pragma once

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <vxgrid/host/molecule.h>
#include <vxgrid/host/pdb_data.h>
#include <vxgrid/host/residue.h>

namespace VXCore {

/// The content of a molecule: items by index, and one flat array a property, so that a copy is a few vector
/// copies. Not for callers of the library.
struct MolData {
  static constexpr unsigned int kNone = ~0u;

  /// Items at fixed addresses, reached by index; null in a gap.
  template <class T>
  class Pool {
   public:
    std::vector<T*> items;
    unsigned int count = 0;  // without the gaps

    unsigned int size() const { return static_cast<unsigned int>(items.size()); }
    /// Makes room for n more in one block.
    void expect(unsigned int n) {
      if (n > left_) add_block(std::max(n, std::clamp(size(), 8u, 4096u)));
    }
    T* add() {
      expect(1);
      T* item = next_++;
      --left_;
      item->idx_ = size();
      items.push_back(item);
      ++count;
      return item;
    }
    void add_gap() { items.push_back(nullptr); }
    void remove(T* item) {
      item->VXBase::Clear();
      item->owner_ = nullptr;
      items[item->idx_] = nullptr;
      --count;
      while (!items.empty() && !items.back()) items.pop_back();
    }
    void sweep() {
      unsigned int n = 0;
      for (T* item : items)
        if (item) {
          item->idx_ = n;
          items[n++] = item;
        }
      items.resize(n);
    }

   private:
    void add_block(unsigned int n) {
      blocks_.emplace_back(new T[n]);
      next_ = blocks_.back().get();
      left_ = n;
    }

    std::vector<std::unique_ptr<T[]>> blocks_;
    T* next_ = nullptr;  // unused items of the last block
    unsigned int left_ = 0;
  };

  explicit MolData(bool conformers) : many_confs(conformers) {}
  MolData(const MolData& other, bool conformers);
  MolData(const MolData&) = delete;
  MolData& operator=(const MolData&) = delete;

  /// Of a null or deleted atom: null.
  static MolData* owner(const VXAtomBase* atom) { return atom ? atom->owner_ : nullptr; }
  bool owns(const VXAtomBase* atom) const { return atom && atom->owner_ == this; }

  VXAtomBase* add_atom(unsigned int atomic_number);
  VXBondBase* add_bond(unsigned int begin, unsigned int end, unsigned int order);
  void remove_atom(VXAtomBase* atom);
  void sweep();
  /// Coordinates of a conformer from three floats an index; gaps keep their zeros. False when there is no
  /// such conformer or no atom.
  bool set_coords(unsigned int conf, const float* xyz);

  /// Appends the atoms of another molecule for which the condition holds (all, when it is empty), and the
  /// bonds between them.
  void append(const MolData& other, const VXUnaryPredicate<VXAtomBase>& condition);
  /// The bond of `atom` that follows `bond` in its chain, or its first bond for kNone.
  unsigned int next_bond(const VXAtomBase* atom, unsigned int bond) const;
  /// The atom at the other end of a bond.
  VXAtomBase* neighbour(const VXAtomBase* atom, unsigned int bond) const;

  Pool<VXAtomBase> atoms;
  Pool<VXBondBase> bonds;
  std::vector<std::vector<float>> confs{1};  // three floats an atom index each; one at least
  bool many_confs;                           // may there be more?
  bool has_coords = false;
  std::vector<VXResidue> residues;  // by atom index; both empty without residue data
  std::vector<char> has_residue;
  std::vector<VXPDBDataPair> pdb_data;
  std::string title;
  unsigned int dimension = 3;

 private:
  void copy_atom(VXAtomBase& to, const VXAtomBase& from);
  void copy_bond(VXBondBase& to, const VXBondBase& from);
  void link(VXBondBase* bond, int end);
  void unlink(VXBondBase* bond, int end);
  void fit_arrays();
};

}  // namespace VXCore
