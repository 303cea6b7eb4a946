// How close the volume of the full Gaussian expansion comes to the volume of the union of hard spheres.
//
//     gaussian_accuracy FILE... -- VMIN...
//
// A line for every vmin, without and with hydrogens: terms a molecule, molecules a second on one core (tables
// made anew wherever the radii change), median and worst difference in percent. Radii are those that the
// expansion takes (after Bondi); the union is cut into rows 0.02 Å apart.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <molio/molecule_reader.h>
#include <vxgrid/gaussian/gaussian_expansion.h>
#include <vxgrid/host/radii.h>

#include "tests/gaussian/union_volume.h"

using namespace VXCore;

namespace {

constexpr double kRowStep = 0.02;  // Å

std::vector<VXGraphMol> read(int n, char** files) {
  std::vector<VXGraphMol> molecules;
  for (int i = 0; i < n; ++i) {
    VXMoleculeReader reader(files[i]);
    VXGraphMol mol;
    while (reader.Next())
      if (reader.Read(mol)) molecules.push_back(mol);
  }
  for (VXGraphMol& mol : molecules) VXAssignBondiVdWRadii(mol);
  return molecules;
}

double hard_volume(const VXGraphMol& mol, bool hydrogens) {
  std::vector<Ball> balls;
  for (const VXAtomBase& atom : VXIter<VXAtomBase>(mol.GetAtoms())) {
    float at[3];
    mol.GetCoords(&atom, at);
    if (hydrogens || atom.GetAtomicNum() != 1) balls.push_back({at[0], at[1], at[2], atom.GetRadius()});
  }
  return union_volume(balls, kRowStep);
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t n = values.size();
  return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

/// Molecules a second over half a second of passes.
double rate(Gaussian& gaussian, const std::vector<VXGraphMol>& molecules, int no_hydrogens) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point start = Clock::now();
  double seconds = 0, done = 0;
  while (seconds < 0.5) {
    float volume;
    for (const VXGraphMol& mol : molecules) gaussian.vx_calculate_volume_base(mol, &volume, no_hydrogens);
    done += static_cast<double>(molecules.size());
    seconds = std::chrono::duration<double>(Clock::now() - start).count();
  }
  return done / seconds;
}

void report(const std::vector<VXGraphMol>& molecules, const std::vector<double>& hard, float vmin,
            int no_hydrogens) {
  Gaussian gaussian;
  gaussian.vmin = vmin;
  std::vector<double> signed_percent, percent;
  double terms = 0;
  for (std::size_t i = 0; i < molecules.size(); ++i) {
    Gsphere* list;
    int n = 0;
    gaussian.make_full_gaussian_rep_base(molecules[i], no_hydrogens, &list, &n);
    double volume = 0;
    for (int k = 0; k < n; ++k) volume += list[k].volume;
    signed_percent.push_back(100 * (volume / hard[i] - 1));
    percent.push_back(std::fabs(signed_percent.back()));
    terms += n;
  }
  const double count = static_cast<double>(molecules.size());
  std::printf("%-9s %10g %8.0f %8.0f %8.2f %8.2f %8.2f\n", no_hydrogens ? "without" : "with", vmin,
              terms / count, rate(gaussian, molecules, no_hydrogens), median(signed_percent), median(percent),
              *std::max_element(percent.begin(), percent.end()));
}

}  // namespace

int main(int argc, char** argv) {
  int files = 1;
  while (files < argc && std::strcmp(argv[files], "--") != 0) ++files;
  const std::vector<VXGraphMol> molecules = read(files - 1, argv + 1);
  if (molecules.empty() || files + 1 >= argc) {
    std::fprintf(stderr, "usage: gaussian_accuracy FILE... -- VMIN...\n");
    return 2;
  }
  std::printf("%zu molecules; volumes against the union of hard spheres, differences in percent\n",
              molecules.size());
  std::printf("%-9s %10s %8s %8s %8s %8s %8s\n", "hydrogens", "vmin", "terms", "mol/s", "bias", "median",
              "worst");
  for (const int no_hydrogens : {1, 0}) {
    std::vector<double> hard;
    for (const VXGraphMol& mol : molecules) hard.push_back(hard_volume(mol, !no_hydrogens));
    for (int i = files + 1; i < argc; ++i)
      report(molecules, hard, std::strtof(argv[i], nullptr), no_hydrogens);
  }
}
