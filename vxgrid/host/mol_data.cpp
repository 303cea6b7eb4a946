#include <vxgrid/host/mol_data.inl>

#include <algorithm>

namespace VXCore {

MolData::MolData(const MolData& other, bool conformers)
    : confs(other.confs.begin(), conformers ? other.confs.end() : other.confs.begin() + 1),
      many_confs(conformers),
      has_coords(other.has_coords),
      residues(other.residues),
      has_residue(other.has_residue),
      pdb_data(other.pdb_data),
      title(other.title),
      dimension(other.dimension) {
  // Indices stay, so the chains of bonds hold as they are.
  atoms.expect(other.atoms.count);
  atoms.items.reserve(other.atoms.size());
  for (const VXAtomBase* from : other.atoms.items) {
    if (!from) {
      atoms.add_gap();
      continue;
    }
    VXAtomBase* to = atoms.add();
    copy_atom(*to, *from);
    to->first_bond_ = from->first_bond_;
    to->last_bond_ = from->last_bond_;
  }
  bonds.expect(other.bonds.count);
  bonds.items.reserve(other.bonds.size());
  for (const VXBondBase* from : other.bonds.items) {
    if (!from) {
      bonds.add_gap();
      continue;
    }
    VXBondBase* to = bonds.add();
    copy_bond(*to, *from);
    for (int end = 0; end < 2; ++end) {
      to->ends_[end] = from->ends_[end];
      to->next_[end] = from->next_[end];
    }
  }
}

void MolData::copy_atom(VXAtomBase& to, const VXAtomBase& from) {
  if (from.GetBaseImpl()) VXCopyBaseData(to, from);
  to.owner_ = this;
  to.name_ = from.name_;
  to.radius_ = from.radius_;
  to.atomic_num_ = from.atomic_num_;
  to.formal_charge_ = from.formal_charge_;
}

void MolData::copy_bond(VXBondBase& to, const VXBondBase& from) {
  if (from.GetBaseImpl()) VXCopyBaseData(to, from);
  to.owner_ = this;
  to.order_ = from.order_;
}

VXAtomBase* MolData::add_atom(unsigned int atomic_number) {
  VXAtomBase* atom = atoms.add();
  atom->owner_ = this;
  atom->atomic_num_ = atomic_number;
  fit_arrays();
  return atom;
}

VXBondBase* MolData::add_bond(unsigned int begin, unsigned int end, unsigned int order) {
  VXBondBase* bond = bonds.add();
  bond->owner_ = this;
  bond->order_ = order;
  bond->ends_[0] = begin;
  bond->ends_[1] = end;
  link(bond, 0);
  link(bond, 1);
  return bond;
}

void MolData::link(VXBondBase* bond, int end) {
  VXAtomBase* atom = atoms.items[bond->ends_[end]];
  if (atom->last_bond_ == kNone) {
    atom->first_bond_ = bond->idx_;
  } else {
    VXBondBase* last = bonds.items[atom->last_bond_];
    last->next_[last->ends_[0] == atom->idx_ ? 0 : 1] = bond->idx_;
  }
  atom->last_bond_ = bond->idx_;
}

void MolData::unlink(VXBondBase* bond, int end) {
  VXAtomBase* atom = atoms.items[bond->ends_[end]];
  unsigned int before = kNone;
  for (unsigned int i = atom->first_bond_; i != bond->idx_; i = next_bond(atom, i)) before = i;
  const unsigned int after = bond->next_[end];
  if (before == kNone) {
    atom->first_bond_ = after;
  } else {
    VXBondBase* previous = bonds.items[before];
    previous->next_[previous->ends_[0] == atom->idx_ ? 0 : 1] = after;
  }
  if (atom->last_bond_ == bond->idx_) atom->last_bond_ = before;
}

unsigned int MolData::next_bond(const VXAtomBase* atom, unsigned int bond) const {
  if (bond == kNone) return atom->first_bond_;
  const VXBondBase* at = bonds.items[bond];
  return at->next_[at->ends_[0] == atom->idx_ ? 0 : 1];
}

VXAtomBase* MolData::neighbour(const VXAtomBase* atom, unsigned int bond) const {
  const VXBondBase* at = bonds.items[bond];
  return atoms.items[at->ends_[at->ends_[0] == atom->idx_ ? 1 : 0]];
}

void MolData::remove_atom(VXAtomBase* atom) {
  while (atom->first_bond_ != kNone) {
    VXBondBase* bond = bonds.items[atom->first_bond_];
    unlink(bond, 0);
    unlink(bond, 1);
    bonds.remove(bond);
  }
  const std::size_t idx = atom->idx_;
  for (auto& xyz : confs) std::fill_n(xyz.begin() + 3 * idx, 3, 0.0f);
  if (!residues.empty()) {
    residues[idx] = VXResidue();
    has_residue[idx] = 0;
  }
  atoms.remove(atom);
  fit_arrays();
}

void MolData::fit_arrays() {
  has_coords = has_coords && atoms.count > 0;
  for (auto& xyz : confs) xyz.resize(std::size_t{3} * atoms.size());
  if (residues.empty()) return;
  residues.resize(atoms.size());
  has_residue.resize(atoms.size());
}

void MolData::sweep() {
  if (bonds.count != bonds.size()) {
    // New numbers for the bonds in the chains, while the old ones still lead to them.
    std::vector<unsigned int> number(bonds.size(), kNone);
    unsigned int n = 0;
    for (const VXBondBase* bond : bonds.items)
      if (bond) number[bond->idx_] = n++;
    const auto renumber = [&number](unsigned int& bond) {
      if (bond != kNone) bond = number[bond];
    };
    for (VXAtomBase* atom : atoms.items)
      if (atom) {
        renumber(atom->first_bond_);
        renumber(atom->last_bond_);
      }
    for (VXBondBase* bond : bonds.items)
      if (bond) {
        renumber(bond->next_[0]);
        renumber(bond->next_[1]);
      }
    bonds.sweep();
  }
  if (atoms.count == atoms.size()) return;

  unsigned int n = 0;
  std::vector<unsigned int> number(atoms.size(), kNone);
  for (const VXAtomBase* atom : atoms.items) {
    if (!atom) continue;
    const std::size_t from = atom->idx_;
    number[from] = n;
    for (auto& xyz : confs) std::copy_n(xyz.begin() + 3 * from, 3, xyz.begin() + std::size_t{3} * n);
    if (!residues.empty()) {
      residues[n] = residues[from];
      has_residue[n] = has_residue[from];
    }
    ++n;
  }
  for (VXBondBase* bond : bonds.items)
    for (unsigned int& end : bond->ends_) end = number[end];
  atoms.sweep();
  fit_arrays();
}

bool MolData::set_coords(unsigned int conf, const float* xyz) {
  if (conf >= confs.size() || atoms.count == 0) return false;
  for (const VXAtomBase* atom : atoms.items)
    if (atom) {
      const std::size_t at = std::size_t{3} * atom->idx_;
      std::copy_n(xyz + at, 3, confs[conf].data() + at);
    }
  has_coords = true;
  return true;
}

void MolData::append(const MolData& other, const VXUnaryPredicate<VXAtomBase>& condition) {
  if (&other == this) return append(MolData(other, true), condition);

  std::vector<unsigned int> chosen;  // indices in `other`
  chosen.reserve(condition ? 0 : other.atoms.count);
  for (const VXAtomBase* atom : other.atoms.items)
    if (atom && (!condition || condition(*atom))) chosen.push_back(atom->idx_);
  if (chosen.empty()) return;

  const unsigned int first = atoms.size();
  const auto n = static_cast<unsigned int>(chosen.size());
  atoms.expect(n);
  for (const unsigned int idx : chosen) copy_atom(*atoms.add(), *other.atoms.items[idx]);
  if (!other.residues.empty() && residues.empty()) {
    residues.resize(atoms.size());
    has_residue.resize(atoms.size());
  }
  fit_arrays();
  has_coords = has_coords || other.has_coords;
  for (std::size_t c = 0; c < confs.size(); ++c) {
    const std::vector<float>& from = other.confs[c < other.confs.size() ? c : 0];
    float* to = confs[c].data() + std::size_t{3} * first;
    for (const unsigned int idx : chosen) to = std::copy_n(from.data() + std::size_t{3} * idx, 3, to);
  }
  if (!other.residues.empty())
    for (unsigned int i = 0; i < n; ++i) {
      residues[first + i] = other.residues[chosen[i]];
      has_residue[first + i] = other.has_residue[chosen[i]];
    }

  if (other.bonds.count == 0) return;
  std::vector<unsigned int> number(other.atoms.size(), kNone);
  for (unsigned int i = 0; i < n; ++i) number[chosen[i]] = first + i;
  for (const VXBondBase* bond : other.bonds.items) {
    if (!bond) continue;
    const unsigned int begin = number[bond->ends_[0]], end = number[bond->ends_[1]];
    if (begin != kNone && end != kNone) copy_bond(*add_bond(begin, end, bond->order_), *bond);
  }
}

}  // namespace VXCore
