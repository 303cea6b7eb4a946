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

/// Overlaps of an odd number of pairings count as negative, whatever their sign in the list.
double signed_volume(const Gsphere& sphere) {
  return sphere.order % 2 ? -std::fabs(sphere.volume) : sphere.volume;
}

}  // namespace

bool ShapeMaker::measure(VXMolBase& mol, MoleculeShape& shape) {
  VXAssignBondiVdWRadii(mol);
  move_to_origin(mol);
  shape.atoms = mol.NumAtoms();
  float multipoles[1 + MoleculeShape::kSecond + MoleculeShape::kThird];
  if (!measure_part(mol, false, shape.all, nullptr)) return false;
  if (!measure_part(mol, true, shape.heavy, multipoles)) {
    std::fill(std::begin(shape.heavy), std::end(shape.heavy), 0.0);
    std::fill(std::begin(multipoles), std::end(multipoles), std::nanf(""));
  }
  std::copy_n(multipoles + 1, MoleculeShape::kSecond, shape.second);
  std::copy_n(multipoles + 1 + MoleculeShape::kSecond, MoleculeShape::kThird, shape.third);
  return true;
}

/// Volumes by level, and with `multipoles` those of the full expansion.
bool ShapeMaker::measure_part(const VXMolBase& mol, bool no_hydrogens, double* volumes, float* multipoles) {
  Gaussian& expansion = expansion_for(mol, no_hydrogens);
  std::fill_n(volumes, MoleculeShape::kLevels, 0.0);
  Gsphere* spheres = nullptr;
  int n = 0;
  if (!expansion.make_atomic_gaussian_rep_base(mol, 1, no_hydrogens, &spheres, &n)) return false;
  for (int i = 0; i < n; ++i) {
    if (spheres[i].order == 0) volumes[MoleculeShape::Atoms] += spheres[i].volume;
    volumes[MoleculeShape::Bonds] += signed_volume(spheres[i]);
  }
  if (!expansion.make_full_gaussian_rep_base(mol, no_hydrogens, &spheres, &n)) return false;
  for (int i = 0; i < n; ++i) volumes[MoleculeShape::Full] += signed_volume(spheres[i]);
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
