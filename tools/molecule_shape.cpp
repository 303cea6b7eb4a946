#include "molecule_shape.h"

#include <algorithm>
#include <cmath>

#include <vxgrid/gaussian/shape_multipoles.h>
#include <vxgrid/host/mol_geometry.h>
#include <vxgrid/host/radii.h>

using namespace VXCore;

namespace {

// Of the pairs of radii that a file may show, so many keep their tables.
constexpr size_t kMostExpansions = 64;

/// Sums of moments are floats about the origin: 20 Å away from it they lose three digits.
void move_to_origin(VXMolBase& mol) {
  float centre[3], extents[3];
  VXGetCenterAndExtents(mol, centre, extents);
  for (float& c : centre) c = -c;
  VXTranslate(mol, centre);
}

}  // namespace

void ShapeMaker::Radii::add(double radius) {
  least = std::min(least, radius);
  most = std::max(most, radius);
  ++count;
}

bool ShapeMaker::measure(VXMolBase& mol, MoleculeShape& shape) {
  VXAssignBondiVdWRadii(mol);
  move_to_origin(mol);
  shape.atoms = mol.NumAtoms();
  const auto [all, heavy] = measure_lower_levels(mol, shape);
  const bool has_hydrogens = heavy.count < all.count;
  if (has_hydrogens) {
    float volume = 0;
    expansion_for(all).vx_calculate_volume_with_hydrogens(mol, &volume);
    if (volume == 0) return false;
    shape.all[MoleculeShape::Full] = static_cast<double>(volume);
  }

  float multipoles[1 + MoleculeShape::kSecond + MoleculeShape::kThird];
  Gsphere* spheres = nullptr;
  int n = 0;
  if (expansion_for(heavy).vx_make_gaussian_representation_no_hydrogens(mol, &spheres, &n)) {
    float centre[3], rotation[9];
    vx_CalcShapeMultipoles(n, spheres, multipoles, centre, rotation);
  } else {
    if (!has_hydrogens) return false;
    multipoles[0] = 0;
    std::fill(multipoles + 1, std::end(multipoles), std::nanf(""));
  }
  shape.heavy[MoleculeShape::Full] = static_cast<double>(multipoles[0]);
  if (!has_hydrogens) std::copy_n(shape.heavy, MoleculeShape::kLevels, shape.all);
  std::copy_n(multipoles + 1, MoleculeShape::kSecond, shape.second);
  std::copy_n(multipoles + 1 + MoleculeShape::kSecond, MoleculeShape::kThird, shape.third);
  return true;
}

/// Volumes of atoms and bonds. A sphere is the same with hydrogens about it and without, so one list does for
/// both: first the atoms that have a radius, then the bonds between these.
std::pair<ShapeMaker::Radii, ShapeMaker::Radii> ShapeMaker::measure_lower_levels(const VXMolBase& mol,
                                                                                 MoleculeShape& shape) {
  const VXIsHeavy is_heavy;
  const auto has_sphere = [](const VXAtomBase& atom) { return atom.GetRadius() > 0; };
  Radii radii, heavy_radii;
  double all = 0, heavy = 0;
  Gsphere* sphere = nullptr;
  int n = 0;
  lower_levels_.vx_make_bond_gaussian_representation_with_hydrogens(mol, &sphere, &n);
  for (const VXAtomBase& atom : VXIter<VXAtomBase>(mol.GetAtoms())) {
    const double volume = has_sphere(atom) ? static_cast<double>((sphere++)->volume) : 0;
    all += volume;
    radii.add(atom.GetRadius());
    if (!is_heavy(atom)) continue;
    heavy += volume;
    heavy_radii.add(atom.GetRadius());
  }
  shape.all[MoleculeShape::Atoms] = all;
  shape.heavy[MoleculeShape::Atoms] = heavy;
  for (const VXBondBase& bond : VXIter<VXBondBase>(mol.GetBonds())) {
    const VXAtomBase &begin = *bond.GetBgn(), &end = *bond.GetEnd();
    if (!has_sphere(begin) || !has_sphere(end)) continue;
    const double volume = static_cast<double>((sphere++)->volume);
    all -= volume;
    if (is_heavy(begin) && is_heavy(end)) heavy -= volume;
  }
  shape.all[MoleculeShape::Bonds] = all;
  shape.heavy[MoleculeShape::Bonds] = heavy;
  return {radii, heavy_radii};
}

Gaussian& ShapeMaker::expansion_for(const Radii& radii) {
  const std::pair<double, double> key(radii.least, radii.most);
  if (expansions_.size() == kMostExpansions && !expansions_.count(key)) expansions_.clear();
  return expansions_[key];
}
