#include <vxgrid/host/molecule.h>

#include <algorithm>
#include <utility>

#include <vxgrid/host/conformers.h>
#include <vxgrid/host/mol_data.inl>

namespace VXCore {
namespace {

/// A walk over a pool by rising index, past gaps and what the condition refuses. It looks at the pool at
/// every step, so items may go while it runs.
template <class T>
class PoolIter : public VXIterBase<T> {
 public:
  PoolIter(const MolData::Pool<T>& pool, VXUnaryPredicate<T> condition)
      : pool_(pool), condition_(std::move(condition)) {
    find();
  }
  explicit operator bool() const override { return idx_ < pool_.size(); }
  T& operator*() const override { return *pool_.items[idx_]; }
  PoolIter& operator++() override {
    ++idx_;
    find();
    return *this;
  }

 private:
  void find() {
    for (; idx_ < pool_.size(); ++idx_) {
      const T* item = pool_.items[idx_];
      if (item && (!condition_ || condition_(*item))) return;
    }
  }

  const MolData::Pool<T>& pool_;
  VXUnaryPredicate<T> condition_;
  unsigned int idx_ = 0;
};

class NeighbourIter : public VXIterBase<VXAtomBase> {
 public:
  NeighbourIter(const MolData& data, const VXAtomBase* atom)
      : data_(data), atom_(atom), bond_(data.next_bond(atom, MolData::kNone)) {}
  explicit operator bool() const override { return bond_ != MolData::kNone; }
  VXAtomBase& operator*() const override { return *data_.neighbour(atom_, bond_); }
  NeighbourIter& operator++() override {
    bond_ = data_.next_bond(atom_, bond_);
    return *this;
  }

 private:
  const MolData& data_;
  const VXAtomBase* atom_;
  unsigned int bond_;
};

}  // namespace

const void* VXAtomBase::GetDataType() const { return VXGetDataType<VXAtomBase>(); }
bool VXAtomBase::IsDataType(const void* type) const {
  return type == VXGetDataType<VXAtomBase>() || VXBase::IsDataType(type);
}

VXIterBase<VXAtomBase>* VXAtomBase::GetAtoms() const {
  return owner_ ? new NeighbourIter(*owner_, this) : nullptr;
}

const void* VXBondBase::GetDataType() const { return VXGetDataType<VXBondBase>(); }
bool VXBondBase::IsDataType(const void* type) const {
  return type == VXGetDataType<VXBondBase>() || VXBase::IsDataType(type);
}

VXAtomBase* VXBondBase::GetBgn() const { return owner_ ? owner_->atoms.items[ends_[0]] : nullptr; }
VXAtomBase* VXBondBase::GetEnd() const { return owner_ ? owner_->atoms.items[ends_[1]] : nullptr; }

VXMolBase::VXMolBase(bool conformers) : data_(std::make_unique<MolData>(conformers)) {}

VXMolBase::VXMolBase(const VXMolBase& other, bool conformers)
    : VXBase(other), data_(std::make_unique<MolData>(*other.data_, conformers)) {}

VXMolBase::~VXMolBase() = default;

const void* VXMolBase::GetDataType() const { return VXGetDataType<VXMolBase>(); }
bool VXMolBase::IsDataType(const void* type) const {
  return type == VXGetDataType<VXMolBase>() || VXBase::IsDataType(type);
}

VXMolBase& VXMolBase::operator=(const VXMolBase& other) {
  if (this == &other) return *this;
  VXBase::operator=(other);
  data_ = std::make_unique<MolData>(*other.data_, data_->many_confs);
  return *this;
}

VXMolBase& VXMolBase::operator+=(const VXMolBase& other) {
  data_->append(*other.data_, nullptr);
  return *this;
}

VXMolBase::operator bool() const { return data_->atoms.count > 0; }
unsigned int VXMolBase::NumAtoms() const { return data_->atoms.count; }
unsigned int VXMolBase::NumBonds() const { return data_->bonds.count; }
unsigned int VXMolBase::GetMaxAtomIdx() const { return data_->atoms.size(); }

VXIterBase<VXAtomBase>* VXMolBase::GetAtoms() const { return GetAtoms(nullptr); }
VXIterBase<VXAtomBase>* VXMolBase::GetAtoms(const VXUnaryPredicate<VXAtomBase>& condition) const {
  return new PoolIter<VXAtomBase>(data_->atoms, condition);
}
VXIterBase<VXBondBase>* VXMolBase::GetBonds() const {
  return new PoolIter<VXBondBase>(data_->bonds, nullptr);
}

VXAtomBase* VXMolBase::AddAtom(unsigned int atomic_number) { return data_->add_atom(atomic_number); }

VXBondBase* VXMolBase::AddBond(VXAtomBase* begin, VXAtomBase* end, unsigned int order) {
  if (!data_->owns(begin) || !data_->owns(end) || begin == end) return nullptr;
  return data_->add_bond(begin->GetIdx(), end->GetIdx(), order);
}

bool VXMolBase::DeleteAtom(VXAtomBase* atom) {
  if (!data_->owns(atom)) return false;
  data_->remove_atom(atom);
  return true;
}

void VXMolBase::Sweep() { data_->sweep(); }

void VXMolBase::Clear() {
  VXBase::Clear();
  data_ = std::make_unique<MolData>(data_->many_confs);
}

bool VXMolBase::GetCoords(const VXAtomBase* atom, float* xyz) const {
  if (!data_->owns(atom)) return false;
  std::copy_n(data_->confs[0].data() + std::size_t{3} * atom->GetIdx(), 3, xyz);
  return true;
}

bool VXMolBase::GetCoords(float* xyz) const {
  if (!data_->has_coords) return false;
  std::copy(data_->confs[0].begin(), data_->confs[0].end(), xyz);
  return true;
}

bool VXMolBase::SetCoords(const VXAtomBase* atom, const float* xyz) {
  if (!data_->owns(atom)) return false;
  std::copy_n(xyz, 3, data_->confs[0].data() + std::size_t{3} * atom->GetIdx());
  data_->has_coords = true;
  return true;
}

bool VXMolBase::SetCoords(const float* xyz) { return data_->set_coords(0, xyz); }

float* VXMolBase::GetCoordsBlock() {
  data_->has_coords = data_->atoms.count > 0;
  return data_->has_coords ? data_->confs[0].data() : nullptr;
}

unsigned int VXMolBase::GetDimension() const { return data_->dimension; }
void VXMolBase::SetDimension(unsigned int dimension) { data_->dimension = dimension; }

const char* VXMolBase::GetTitle() const { return data_->title.c_str(); }
void VXMolBase::SetTitle(const std::string& title) { data_->title = title; }

const void* VXGraphMol::GetDataType() const { return VXGetDataType<VXGraphMol>(); }
bool VXGraphMol::IsDataType(const void* type) const {
  return type == VXGetDataType<VXGraphMol>() || VXMolBase::IsDataType(type);
}

const void* VXMCMolBase::GetDataType() const { return VXGetDataType<VXMCMolBase>(); }
bool VXMCMolBase::IsDataType(const void* type) const {
  return type == VXGetDataType<VXMCMolBase>() || VXMolBase::IsDataType(type);
}

unsigned int VXMCMolBase::NumConfs() const { return static_cast<unsigned int>(Data().confs.size()); }

bool VXMCMolBase::GetConfCoords(unsigned int conf, float* xyz) const {
  const MolData& data = Data();
  if (conf >= data.confs.size() || !data.has_coords) return false;
  std::copy(data.confs[conf].begin(), data.confs[conf].end(), xyz);
  return true;
}

bool VXMCMolBase::SetConfCoords(unsigned int conf, const float* xyz) { return Data().set_coords(conf, xyz); }

unsigned int VXMCMolBase::NewConf(const float* xyz) {
  Data().confs.emplace_back(std::size_t{3} * GetMaxAtomIdx());
  Data().set_coords(NumConfs() - 1, xyz);
  return NumConfs() - 1;
}

const void* VXMCMol::GetDataType() const { return VXGetDataType<VXMCMol>(); }
bool VXMCMol::IsDataType(const void* type) const {
  return type == VXGetDataType<VXMCMol>() || VXMCMolBase::IsDataType(type);
}

bool VXSubsetMol(VXMolBase& dst, const VXMolBase& src, const VXUnaryPredicate<VXAtomBase>& condition) {
  auto chosen = std::make_unique<MolData>(dst.data_->many_confs);
  if (chosen->many_confs) chosen->confs.resize(src.data_->confs.size());
  chosen->title = src.data_->title;
  chosen->dimension = src.data_->dimension;
  chosen->append(*src.data_, condition);
  dst.Clear();
  dst.data_ = std::move(chosen);
  return static_cast<bool>(dst);
}

void VXSuppressHydrogens(VXMolBase& mol, bool, bool, bool) {
  for (VXIter<VXAtomBase> atom = mol.GetAtoms(VXIsHydrogen()); atom; ++atom) mol.DeleteAtom(&*atom);
}

bool VXAssignFormalCharges(VXMolBase&) { return true; }

}  // namespace VXCore
