#include <vxgrid/molgrid/contact_grid.h>

#include <algorithm>
#include <cstddef>

#include <vxgrid/host/bit_vector.h>
#include <vxgrid/host/mol_geometry.h>
#include <vxgrid/host/radii.h>
#include <vxgrid/molgrid/molecular_grid.h>

namespace VXCore {
namespace {

void prepare(VXGraphMol& mol, bool no_hydrogens) {
  VXAssignBondiVdWRadii(mol);
  if (no_hydrogens) VXSuppressHydrogens(mol, false, false, true);
}

/// Three floats per atom index.
std::vector<float> coords_of(const VXMolBase& mol) {
  std::vector<float> coords(std::size_t{3} * mol.GetMaxAtomIdx());
  mol.GetCoords(coords.data());
  return coords;
}

std::unique_ptr<VXScalarGrid> grid_in_box(const float* center, const float* extents, float spacing) {
  float box[6];
  for (int axis = 0; axis < 3; ++axis) {
    box[axis] = center[axis] - extents[axis] / 2;
    box[axis + 3] = center[axis] + extents[axis] / 2;
  }
  return std::make_unique<VXScalarGrid>(box, spacing, nullptr);
}

/// The bonds of a molecule as neighbour lists by atom index, in the order in which the bonds were made.
class Neighbours {
 public:
  explicit Neighbours(const VXMolBase& mol) : first_(std::size_t{mol.GetMaxAtomIdx()} + 1) {
    for (const VXBondBase& bond : VXIter<VXBondBase>(mol.GetBonds()))
      for (const unsigned int end : {bond.GetBgn()->GetIdx(), bond.GetEnd()->GetIdx()}) ++first_[end];
    unsigned int total = 0;
    for (unsigned int& first : first_) first = total += first;
    neighbours_.resize(total);
    // From the back, so that each start comes down to the first of its run.
    std::vector<const VXBondBase*> bonds;
    bonds.reserve(total / 2);
    for (const VXBondBase& bond : VXIter<VXBondBase>(mol.GetBonds())) bonds.push_back(&bond);
    for (auto bond = bonds.rbegin(); bond != bonds.rend(); ++bond) {
      const unsigned int begin = (*bond)->GetBgn()->GetIdx(), end = (*bond)->GetEnd()->GetIdx();
      neighbours_[--first_[begin]] = end;
      neighbours_[--first_[end]] = begin;
    }
  }
  const unsigned int* begin(unsigned int atom) const { return neighbours_.data() + first_[atom]; }
  const unsigned int* end(unsigned int atom) const { return neighbours_.data() + first_[atom + 1]; }

 private:
  std::vector<unsigned int> first_, neighbours_;
};

/// The atoms within some bonds of one, itself first, nearer ones before others.
class BondSearch {
 public:
  explicit BondSearch(const VXMolBase& mol) : neighbours_(mol), visited_(mol.GetMaxAtomIdx()) {}

  const std::vector<unsigned int>& Find(unsigned int atom, unsigned int depth) {
    for (const unsigned int near : near_) visited_.SetBitOff(near);
    near_.assign(1, atom);
    visited_.SetBitOn(atom);
    // Each level is the tail that the one before has added.
    for (std::size_t from = 0, to = 1; depth > 0 && from < to; --depth, from = to, to = near_.size())
      for (std::size_t i = from; i < to; ++i)
        for (auto next = neighbours_.begin(near_[i]); next != neighbours_.end(near_[i]); ++next)
          if (!visited_.IsBitOn(*next)) {
            visited_.SetBitOn(*next);
            near_.push_back(*next);
          }
    return near_;
  }

 private:
  Neighbours neighbours_;
  VXBitVector visited_;
  std::vector<unsigned int> near_;
};

/// Where the points of one axis of a grid lie between the points of another grid.
struct AxisCells {
  struct Cell {
    unsigned int index;
    float t;
    bool inside;
  };

  AxisCells(unsigned int dim, float mid, float spacing, unsigned int source_dim, float source_mid,
            float source_spacing)
      : cells(dim) {
    const auto at = [](unsigned int i, unsigned int n, float h, float middle) {
      return (static_cast<float>(i) - static_cast<float>(n - 1) * 0.5f) * h + middle;
    };
    const float low = at(0, source_dim, source_spacing, source_mid);
    for (unsigned int i = 0; i < dim; ++i) {
      const float f = (at(i, dim, spacing, mid) - low) / source_spacing;
      if (!(f >= 0.0f && f < static_cast<float>(source_dim - 1))) continue;
      const unsigned int index = static_cast<unsigned int>(f);
      cells[i] = {index, f - static_cast<float>(index), true};
    }
  }
  std::vector<Cell> cells;  // a point that is not inside reads 0
};

/// The contact of a density v with another one, u, at the same place.
float contact_of(float v, float u) {
  const float sum = u + v;
  if (v + u == 0.0f) return 0.0f;
  const float a = u / sum, b = v / sum;
  return 2.0f * v * (b > a ? a : b);
}

/// Replaces each value of `grid` by its contact with the trilinear value of `other` at its place.
void contact_of_grids(VXScalarGrid& grid, const VXScalarGrid& other) {
  if (grid.GetSize() == 0 || other.GetSize() == 0) return;
  const float h = grid.GetSpacing(), source_h = other.GetSpacing();
  const AxisCells xs(grid.GetXDim(), grid.GetXMid(), h, other.GetXDim(), other.GetXMid(), source_h);
  const AxisCells ys(grid.GetYDim(), grid.GetYMid(), h, other.GetYDim(), other.GetYMid(), source_h);
  const AxisCells zs(grid.GetZDim(), grid.GetZMid(), h, other.GetZDim(), other.GetZMid(), source_h);
  const auto mix = [](float low, float high, float t) { return low + (high - low) * t; };

  const std::size_t row = other.GetXDim(), plane = row * other.GetYDim();
  float* value = grid.GetValues();
  for (const AxisCells::Cell& z : zs.cells)
    for (const AxisCells::Cell& y : ys.cells) {
      const float* const corner = other.GetValues() + z.index * plane + y.index * row;
      for (const AxisCells::Cell& x : xs.cells) {
        float there = 0.0f;
        if (x.inside && y.inside && z.inside) {
          const float* const c = corner + x.index;
          const float near = mix(mix(c[0], c[1], x.t), mix(c[row], c[row + 1], x.t), y.t);
          const float* const d = c + plane;
          const float far = mix(mix(d[0], d[1], x.t), mix(d[row], d[row + 1], x.t), y.t);
          there = mix(near, far, z.t);
        }
        *value = contact_of(*value, there);
        ++value;
      }
    }
}

bool contact_of_densities(VXScalarGrid& grid, const VXMolBase& mol1, const VXMolBase& mol2, bool no_hydrogens,
                          float spacing) {
  VXGraphMol first(mol1), second(mol2);
  prepare(first, no_hydrogens);
  prepare(second, no_hydrogens);
  VXScalarGrid other;
  if (!VXMakeMolecularGaussianGrid(grid, first, spacing) ||
      !VXMakeMolecularGaussianGrid(other, second, spacing))
    return false;
  contact_of_grids(grid, other);
  return true;
}

}  // namespace

VXContactGridImpl::VXContactGridImpl(const VXMolBase& mol, bool no_hydrogens, float spacing)
    : mol_(mol), potentials_(kPotentials) {
  float center[3], extents[3];
  VXGetCenterAndExtents(mol, center, extents);
  prepare(mol_, no_hydrogens);
  MakeGrids(center, extents, spacing);
}

VXContactGridImpl::VXContactGridImpl(const float* center, const float* extents, const VXMolBase& mol,
                                     bool no_hydrogens, float spacing)
    : mol_(mol), potentials_(kPotentials) {
  prepare(mol_, no_hydrogens);
  MakeGrids(center, extents, spacing);
}

VXContactGridImpl::VXContactGridImpl(const VXContactGridImpl& other)
    : mol_(other.mol_),
      target_(std::make_unique<VXScalarGrid>(*other.target_)),
      contact_(std::make_unique<VXScalarGrid>(*other.contact_)),
      coords_(other.coords_) {
  for (const auto& potential : other.potentials_)
    potentials_.push_back(potential ? std::make_unique<GaussPot>(*potential) : nullptr);
}

VXContactGridImpl::~VXContactGridImpl() = default;

void VXContactGridImpl::MakeGrids(const float* center, const float* extents, float spacing) {
  target_ = grid_in_box(center, extents, spacing);
  contact_ = grid_in_box(center, extents, spacing);
  MakeTargetGrid();
}

const GaussPot* VXContactGridImpl::GetPotential(const VXAtomBase* atom) {
  auto& potential = potentials_[std::min(atom->GetAtomicNum(), kPotentials - 1)];
  if (!potential) {
    potential = std::make_unique<GaussPot>();
    potential->Set(static_cast<float>(atom->GetRadius()));
  }
  return potential.get();
}

void VXContactGridImpl::MakeTargetGrid() {
  coords_ = coords_of(mol_);
  for (const VXAtomBase& atom : VXIter<VXAtomBase>(mol_.GetAtoms())) {
    const GaussPot& pot = *GetPotential(&atom);
    const float* const at = &coords_[std::size_t{3} * atom.GetIdx()];
    MapRadialPotentialToGrid<float>(*target_, pot, AddMappingFunctor(), at[0], at[1], at[2], pot.range);
  }
}

void VXContactGridImpl::MakeContactGrid(const VXMolBase& other) {
  const std::vector<float> coords = coords_of(other);
  contact_->Realloc();  // zeros, which cost nothing where no atom comes
  for (const VXAtomBase& atom : VXIter<VXAtomBase>(other.GetAtoms())) {
    const GaussPot& pot = *GetPotential(&atom);
    const float* const at = &coords[std::size_t{3} * atom.GetIdx()];
    MapContactPotential(*contact_, *target_, pot, at[0], at[1], at[2], pot.range);
  }
}

void VXContactGridImpl::MakeContactGrid(unsigned int bond_depth) {
  std::vector<const GaussPot*> potentials(mol_.GetMaxAtomIdx());
  for (const VXAtomBase& atom : VXIter<VXAtomBase>(mol_.GetAtoms()))
    potentials[atom.GetIdx()] = GetPotential(&atom);
  const auto map = [&](const std::vector<unsigned int>& atoms, auto functor) {
    for (const unsigned int idx : atoms) {
      const GaussPot& pot = *potentials[idx];
      const float* const at = &coords_[std::size_t{3} * idx];
      MapRadialPotentialToGrid<float>(*target_, pot, functor, at[0], at[1], at[2], pot.range);
    }
  };

  BondSearch search(mol_);
  for (unsigned int idx = 0; idx < potentials.size(); ++idx) {
    if (!potentials[idx]) continue;  // a gap
    const std::vector<unsigned int>& near = search.Find(idx, bond_depth);
    const GaussPot& pot = *potentials[idx];
    const float* const at = &coords_[std::size_t{3} * idx];
    map(near, SubtractMappingFunctor());
    MapContactPotential(*contact_, *target_, pot, at[0], at[1], at[2], pot.range);
    map(near, AddMappingFunctor());
  }
}

bool VXMakeContactGrid(VXScalarGrid& grid, const VXMolBase& mol, bool no_hydrogens, float spacing) {
  VXContactGridImpl impl(mol, no_hydrogens, spacing);
  impl.MakeContactGrid(4);
  grid = impl.ReleaseContactGrid();
  return true;
}

bool VXMakeContactGrid(VXScalarGrid& grid, const VXMolBase& mol1, const VXMolBase& mol2, bool no_hydrogens,
                       float spacing, int method) {
  if (method == 0) return contact_of_densities(grid, mol1, mol2, no_hydrogens, spacing);
  float center[3], extents[3];
  VXGetCenterAndExtents(mol1, center, extents);
  for (float& extent : extents) extent += 1.0f;
  VXContactGridImpl impl(center, extents, mol1, no_hydrogens, spacing);
  impl.MakeContactGrid(mol2);
  grid = impl.ReleaseContactGrid();
  return true;
}

}  // namespace VXCore
