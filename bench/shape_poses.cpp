// How far the shape of a molecule, as the command measures it, hangs on its pose.
//
//     shape_poses FILE...
//
// A line a molecule: the largest relative differences over 1,000 random turns and shifts (up to 50 Å) of its
// volume, its second moments (of the largest one) and its third moments (of the largest one).

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>

#include <molio/molecule_reader.h>
#include <vxgrid/host/mol_geometry.h>

#include "tools/molecule_shape.h"

using namespace VXCore;

namespace {

constexpr int kPoses = 1000;

std::mt19937 generator(1);

/// Row-major, from a random unit quaternion.
void random_turn(float* m) {
  std::normal_distribution<double> normal;
  double q[4], norm = 0;
  for (double& c : q) {
    c = normal(generator);
    norm += c * c;
  }
  for (double& c : q) c /= std::sqrt(norm);
  const double w = q[0], x = q[1], y = q[2], z = q[3];
  const double rows[9] = {1 - 2 * (y * y + z * z), 2 * (x * y - w * z),     2 * (x * z + w * y),
                          2 * (x * y + w * z),     1 - 2 * (x * x + z * z), 2 * (y * z - w * x),
                          2 * (x * z - w * y),     2 * (y * z + w * x),     1 - 2 * (x * x + y * y)};
  std::copy_n(rows, 9, m);
}

template <int n>
float largest_of(const float (&values)[n]) {
  float largest = 0;
  for (const float v : values) largest = std::max(largest, std::fabs(v));
  return largest;
}

template <int n>
double difference(const float (&values)[n], const float (&reference)[n]) {
  double largest = 0;
  for (int i = 0; i < n; ++i) largest = std::max<double>(largest, std::fabs(values[i] - reference[i]));
  return largest / largest_of(reference);
}

}  // namespace

int main(int argc, char** argv) {
  std::uniform_real_distribution<float> shift(-50, 50);
  ShapeMaker maker;
  std::printf("%9s %9s %9s  title\n", "volume", "second", "third");
  for (int file = 1; file < argc; ++file) {
    VXMoleculeReader reader(argv[file]);
    VXGraphMol mol;
    while (reader.Next()) {
      MoleculeShape reference, shape;
      if (!reader.Read(mol) || !maker.measure(mol, reference)) continue;
      double volume = 0, second = 0, third = 0;
      for (int pose = 0; pose < kPoses; ++pose) {
        float turn[9], by[3];
        random_turn(turn);
        for (float& b : by) b = shift(generator);
        VXGraphMol posed(mol);
        VXRotate(posed, turn);
        VXTranslate(posed, by);
        maker.measure(posed, shape);
        const double full = reference.heavy[MoleculeShape::Full];
        volume = std::max(volume, std::fabs(shape.heavy[MoleculeShape::Full] / full - 1));
        second = std::max(second, difference(shape.second, reference.second));
        third = std::max(third, difference(shape.third, reference.third));
      }
      std::printf("%9.1e %9.1e %9.1e  %s\n", volume, second, third, mol.GetTitle());
    }
  }
}
