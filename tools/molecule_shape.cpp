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

/// Volumes as they stand in the list.
double sum_of_volumes(const Gsphere* spheres, int n) {
  double sum = 0;
  for (int i = 0; i < n; ++i) sum += spheres[i].volume;
  return sum;
}

bool has_hydrogens(const VXMolBase& mol) {
  for (const VXAtomBase& atom : VXIter<VXAtomBase>(mol.GetAtoms()))
    if (atom.GetAtomicNum() == 1) return true;
  return false;
}

}  // namespace

bool ShapeMaker::measure(VXMolBase& mol, MoleculeShape& shape) {
  VXAssignBondiVdWRadii(mol);
  move_to_origin(mol);
  shape.atoms = mol.NumAtoms();
  const bool twice = has_hydrogens(mol);
  if (twice && !measure_part(mol, false, shape.all, nullptr)) return false;
  float multipoles[1 + MoleculeShape::kSecond + MoleculeShape::kThird];
  if (!measure_part(mol, true, shape.heavy, multipoles)) {
    if (!twice) return false;
    std::fill(std::begin(shape.heavy), std::end(shape.heavy), 0.0);
    std::fill(std::begin(multipoles), std::end(multipoles), std::nanf(""));
  }
  if (!twice) std::copy_n(shape.heavy, MoleculeShape::kLevels, shape.all);
  std::copy_n(multipoles + 1, MoleculeShape::kSecond, shape.second);
  std::copy_n(multipoles + 1 + MoleculeShape::kSecond, MoleculeShape::kThird, shape.third);
  return true;
}

/// Volumes by level, and with `multipoles` those of the full expansion.
bool ShapeMaker::measure_part(const VXMolBase& mol, bool no_hydrogens, double* volumes, float* multipoles) {
  Gaussian& expansion = expansion_for(mol, no_hydrogens);
  Gsphere* spheres = nullptr;
  int n = 0;
  if (!expansion.make_atomic_gaussian_rep_base(mol, 1, no_hydrogens, &spheres, &n)) return false;
  // The atoms, and then the bonds.
  const auto is_atom = [](const Gsphere& sphere) { return sphere.order == 0; };
  const int atoms = static_cast<int>(std::find_if_not(spheres, spheres + n, is_atom) - spheres);
  volumes[MoleculeShape::Atoms] = sum_of_volumes(spheres, atoms);
  volumes[MoleculeShape::Bonds] = volumes[MoleculeShape::Atoms] - sum_of_volumes(spheres + atoms, n - atoms);
  if (!expansion.make_full_gaussian_rep_base(mol, no_hydrogens, &spheres, &n)) return false;
  volumes[MoleculeShape::Full] = sum_of_volumes(spheres, n);
  float centre[3], rotation[9];
  if (multipoles) vx_CalcShapeMultipoles(n, spheres, multipoles, centre, rotation);
  return true;
}

Gaussian& ShapeMaker::expansion_for(const VXMolBase& mol, bool no_hydrogens) {
  std::pair<double, double> radii(INFINITY, 0);
  for (const VXAtomBase& atom : VXIter<VXAtomBase>(mol.GetAtoms())) {
    if (no_hydrogens && atom.GetAtomicNum() == 1) continue;
    radii.first = std::min(radii.first, atom.GetRadius());
    radii.second = std::max(radii.second, atom.GetRadius());
  }
  if (expansions_.size() == kMostExpansions && !expansions_.count(radii)) expansions_.clear();
  return expansions_[radii];
}
