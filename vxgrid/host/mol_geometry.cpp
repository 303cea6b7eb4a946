#include <vxgrid/host/mol_geometry.h>

#include <algorithm>
#include <cmath>

#include <vxgrid/host/radii.h>
#include <vxgrid/host/mol_data.inl>

namespace VXCore {
namespace {

bool is_finite(const float* xyz) {
  return std::isfinite(xyz[0]) && std::isfinite(xyz[1]) && std::isfinite(xyz[2]);
}

/// Grows by the points that count.
struct Box {
  float min[3], max[3];
  bool empty = true;

  void add(const float* xyz) {
    if (!is_finite(xyz)) return;
    for (int i = 0; i < 3; ++i) {
      min[i] = empty ? xyz[i] : std::min(min[i], xyz[i]);
      max[i] = empty ? xyz[i] : std::max(max[i], xyz[i]);
    }
    empty = false;
  }
  bool get(float* center, float* extents) const {
    for (int i = 0; i < 3; ++i) {
      extents[i] = empty ? 0.0f : max[i] - min[i];
      center[i] = empty ? 0.0f : max[i] - extents[i] / 2;
    }
    return !empty;
  }
};

/// Runs move(xyz) on the coordinates of every atom in every conformer.
template <class Move>
void move_atoms(MolData& data, Move move) {
  if (!data.has_coords) return;
  for (auto& xyz : data.confs)
    for (const VXAtomBase* atom : data.atoms.items)
      if (atom) move(xyz.data() + std::size_t{3} * atom->GetIdx());
}

template <class Real>
void rotate(MolData& data, const Real* m) {
  move_atoms(data, [m](float* xyz) {
    const Real x = xyz[0], y = xyz[1], z = xyz[2];
    for (int i = 0; i < 3; ++i)
      xyz[i] = static_cast<float>(m[3 * i] * x + m[3 * i + 1] * y + m[3 * i + 2] * z);
  });
}

template <class Real>
void translate(MolData& data, const Real* v) {
  move_atoms(data, [v](float* xyz) {
    for (int i = 0; i < 3; ++i) xyz[i] = static_cast<float>(xyz[i] + v[i]);
  });
}

}  // namespace

void VXGeom3DGetCenterAndExtents(const float* coords, unsigned int n, float* center, float* extents) {
  Box box;
  for (std::size_t i = 0; i < n; ++i) box.add(coords + 3 * i);
  box.get(center, extents);
}

bool VXGetCenterAndExtents(const VXMolBase& mol, float* center, float* extents) {
  const MolData& data = mol.Data();
  Box box;
  if (data.has_coords)
    for (const VXAtomBase* atom : data.atoms.items)
      if (atom) box.add(data.confs[0].data() + std::size_t{3} * atom->GetIdx());
  return box.get(center, extents);
}

bool VXGetCenterOfMass(const VXMolBase& mol, float* center, bool weighted) {
  const MolData& data = mol.Data();
  double by_mass[4] = {0, 0, 0, 0}, alike[4] = {0, 0, 0, 0};  // sums of x, y, z and of the weights
  if (data.has_coords)
    for (const VXAtomBase* atom : data.atoms.items) {
      if (!atom) continue;
      const float* xyz = data.confs[0].data() + std::size_t{3} * atom->GetIdx();
      if (!is_finite(xyz)) continue;
      const double mass = VXGetAtomicWeight(atom->GetAtomicNum());
      for (int i = 0; i < 3; ++i) {
        by_mass[i] += mass * static_cast<double>(xyz[i]);
        alike[i] += static_cast<double>(xyz[i]);
      }
      by_mass[3] += mass;
      alike[3] += 1;
    }
  const double* sum = weighted && by_mass[3] > 0 ? by_mass : alike;
  for (int i = 0; i < 3; ++i) center[i] = sum[3] > 0 ? static_cast<float>(sum[i] / sum[3]) : 0.0f;
  return sum[3] > 0;
}

void VXRotate(VXMolBase& mol, const float* matrix) { rotate(mol.Data(), matrix); }
void VXRotate(VXMolBase& mol, const double* matrix) { rotate(mol.Data(), matrix); }

void VXTranslate(VXMolBase& mol, const float* vector) { translate(mol.Data(), vector); }
void VXTranslate(VXMolBase& mol, const double* vector) { translate(mol.Data(), vector); }

}  // namespace VXCore
