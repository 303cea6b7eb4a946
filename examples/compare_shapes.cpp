// How alike are the shapes of ligands that are posed in one frame? The first molecule of a file against each
// of the others.
//
//     compare_shapes LIGANDS.sdf
//
// Each heavy atom is a Gaussian with the volume of its van der Waals sphere. Two molecules overlap by V(A,
// B), the sum of the integrals of all products of an atom of A with one of B, and the similarity is V(A, B) /
// (V(A, A) + V(B, B) - V(A, B)): 1 for equal shapes, 0 for molecules that do not meet.

#include <cstdio>
#include <string>
#include <vector>

#include <molio/molecule_reader.h>
#include <vxgrid/vxgrid.h>

using namespace VXCore;

std::vector<Gsphere> spheres_of(const VXMolBase& mol) {
  constexpr float kPrefactor = 2.7f;
  std::vector<Gsphere> spheres;
  for (const VXAtomBase& atom : VXIter<VXAtomBase>(mol.GetAtoms(VXIsHeavy()))) {
    const double radius = VXGetBondiVdWRadius(atom.GetAtomicNum());
    if (radius == 0) continue;  // no element
    float xyz[3];
    mol.GetCoords(&atom, xyz);
    const float width = static_cast<float>(VXGetWidth(VXGetKappa(kPrefactor), radius));
    spheres.push_back({width, xyz[0], xyz[1], xyz[2], kPrefactor, 0, 0, 0});
  }
  return spheres;
}

double overlap(const std::vector<Gsphere>& a, const std::vector<Gsphere>& b) {
  double sum = 0, volume = 0;
  for (const Gsphere& from : a)
    for (const Gsphere& to : b) {
      vi_vol_sg_intersect(&volume, &from, &to);
      sum += volume;
    }
  return sum;
}

int main(int argc, char** argv) {
  if (argc != 2) return 1;
  VXMoleculeReader reader(argv[1]);
  VXGraphMol mol;
  if (!reader.Next() || !reader.Read(mol)) return 1;
  const std::string name = mol.GetTitle();
  const std::vector<Gsphere> first = spheres_of(mol);
  const double own = overlap(first, first);
  while (reader.Next()) {
    if (!reader.Read(mol)) continue;  // has said why
    const std::vector<Gsphere> other = spheres_of(mol);
    const double shared = overlap(first, other);
    std::printf("%s %s  overlap %.1f A^3, similarity %.3f\n", name.c_str(), mol.GetTitle(), shared,
                shared / (own + overlap(other, other) - shared));
  }
  return 0;
}
