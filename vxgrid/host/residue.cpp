#include <vxgrid/host/residue.h>

#include <algorithm>
#include <cstring>
#include <string_view>
#include <unordered_set>
#include <vector>

#include <vxgrid/host/mol_data.inl>

namespace VXCore {
namespace {

class ResidueIter : public VXIterBase<VXResidue> {
 public:
  explicit ResidueIter(std::vector<VXResidue> residues) : residues_(std::move(residues)) {}
  explicit operator bool() const override { return at_ < residues_.size(); }
  VXResidue& operator*() const override { return residues_[at_]; }
  ResidueIter& operator++() override {
    ++at_;
    return *this;
  }

 private:
  mutable std::vector<VXResidue> residues_;  // the caller may change what it looks at
  std::size_t at_ = 0;
};

struct HashIdentity {
  std::size_t operator()(const VXResidue* r) const { return r->Hash(); }
};
struct SameIdentity {
  bool operator()(const VXResidue* a, const VXResidue* b) const { return VXSameResidue(*a, *b); }
};

}  // namespace

void VXResidue::ShortText::set(std::string_view from) {
  *this = ShortText();
  std::copy_n(from.data(), std::min({from.size(), from.find('\0'), sizeof text - 1}), text);
}

bool VXResidue::ShortText::operator==(const ShortText& other) const {
  return std::memcmp(text, other.text, sizeof text) == 0;
}

bool VXResidue::IsSame(const VXResidue& other, unsigned int mask) const {
  return (!(mask & VXResidueNumber) || number_ == other.number_) &&
         (!(mask & VXResidueInsertCode) || insert_code_ == other.insert_code_) &&
         (!(mask & VXResidueName) || name_ == other.name_) &&
         (!(mask & VXResidueChain) || chain_ == other.chain_);
}

std::size_t VXResidue::Hash() const {
  const std::hash<std::string_view> hash;
  return hash({name_.text, sizeof name_.text}) * 31 + hash({chain_.text, sizeof chain_.text}) * 37 +
         static_cast<std::size_t>(number_) * 1000003 + static_cast<std::size_t>(insert_code_);
}

bool VXSameResidue(const VXResidue& a, const VXResidue& b) { return a.IsSame(b, VXResidueAllFields); }

bool VXSameResidue(const VXAtomBase* a, const VXAtomBase* b) {
  return VXSameResidue(VXAtomGetResidue(a), VXAtomGetResidue(b));
}

const VXResidue& VXAtomGetResidue(const VXAtomBase* atom) {
  static const VXResidue none;
  const MolData* data = MolData::owner(atom);
  return data && !data->residues.empty() ? data->residues[atom->GetIdx()] : none;
}

void VXAtomSetResidue(VXAtomBase* atom, const VXResidue& residue) {
  MolData* data = MolData::owner(atom);
  if (!data) return;
  const VXResidue value = residue;  // it may be one of those that move now
  data->residues.resize(data->atoms.size());
  data->has_residue.resize(data->atoms.size());
  data->residues[atom->GetIdx()] = value;
  data->has_residue[atom->GetIdx()] = 1;
}

bool VXHasResidue(const VXAtomBase* atom) {
  const MolData* data = MolData::owner(atom);
  return data && !data->residues.empty() && data->has_residue[atom->GetIdx()];
}

bool VXHasResidues(const VXMolBase& mol) {
  const std::vector<char>& has = mol.Data().has_residue;
  return std::find(has.begin(), has.end(), 1) != has.end();
}

VXIterBase<VXResidue>* VXGetResiduesImpl(const VXMolBase& mol) {
  const MolData& data = mol.Data();
  std::unordered_set<const VXResidue*, HashIdentity, SameIdentity> seen;
  std::vector<VXResidue> residues;
  const VXResidue* last = nullptr;
  for (std::size_t i = 0; i < data.residues.size(); ++i) {
    const VXResidue* residue = &data.residues[i];
    if (!data.has_residue[i] || (last && VXSameResidue(*last, *residue))) continue;
    last = residue;
    if (seen.insert(residue).second) residues.push_back(*residue);
  }
  return new ResidueIter(std::move(residues));
}

VXIterBase<VXAtomBase>* VXGetResidueAtomsImpl(const VXMolBase& mol, const VXResidue& residue,
                                              unsigned int mask) {
  return mol.GetAtoms(VXAtomIsInResidue(residue, mask));
}

}  // namespace VXCore
