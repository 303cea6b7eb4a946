// How close the volume of the full Gaussian expansion comes to the volume of the union of hard spheres.
//
//     gaussian_accuracy FILE... -- VMIN...
//
// A line for every level, the full one with every vmin, without and with hydrogens: terms a molecule,
// molecules a second on one core (tables made anew wherever the radii change), median of the differences with
// and without their sign and the largest one, in percent. Radii are after Bondi; the union is cut into rows
// 0.02 Å apart.

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

#include "union_volume.h"

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
template <class Make>
double rate(const std::vector<VXGraphMol>& molecules, Make make) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point start = Clock::now();
  double seconds = 0, done = 0;
  while (seconds < 0.5) {
    Gsphere* list;
    int n;
    for (const VXGraphMol& mol : molecules) make(mol, &list, &n);
    done += static_cast<double>(molecules.size());
    seconds = std::chrono::duration<double>(Clock::now() - start).count();
  }
  return done / seconds;
}

/// One line: a list of Gaussians for each molecule, made by `make`, against the hard volumes.
template <class Make>
void report(const char* hydrogens, const char* what, const std::vector<VXGraphMol>& molecules,
            const std::vector<double>& hard, Make make) {
  std::vector<double> signed_percent, percent;
  double terms = 0;
  for (std::size_t i = 0; i < molecules.size(); ++i) {
    Gsphere* list;
    int n = 0;
    make(molecules[i], &list, &n);
    double volume = 0;
    for (int k = 0; k < n; ++k)
      volume += list[k].order % 2 ? -std::fabs(list[k].volume) : std::fabs(list[k].volume);
    signed_percent.push_back(100 * (volume / hard[i] - 1));
    percent.push_back(std::fabs(signed_percent.back()));
    terms += n;
  }
  std::printf("%-9s %10s %8.0f %8.0f %8.2f %8.2f %8.2f\n", hydrogens, what,
              terms / static_cast<double>(molecules.size()), rate(molecules, make), median(signed_percent),
              median(percent), *std::max_element(percent.begin(), percent.end()));
}

/// The two lower levels, then the full one for each vmin.
void report_all(const std::vector<VXGraphMol>& molecules, int no_hydrogens, int n, char** vmins) {
  const char* const hydrogens = no_hydrogens ? "without" : "with";
  std::vector<double> hard;
  for (const VXGraphMol& mol : molecules) hard.push_back(hard_volume(mol, !no_hydrogens));
  for (const int bonds : {0, 1}) {
    Gaussian gaussian;
    report(hydrogens, bonds ? "bonds" : "atoms", molecules, hard, [&](const auto& mol, auto... out) {
      gaussian.make_atomic_gaussian_rep_base(mol, bonds, no_hydrogens, out...);
    });
  }
  for (int i = 0; i < n; ++i) {
    Gaussian gaussian;
    gaussian.vmin = std::strtof(vmins[i], nullptr);
    report(hydrogens, vmins[i], molecules, hard, [&](const auto& mol, auto... out) {
      gaussian.make_full_gaussian_rep_base(mol, no_hydrogens, out...);
    });
  }
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
  std::printf("%-9s %10s %8s %8s %8s %8s %8s\n", "hydrogens", "level", "terms", "mol/s", "bias", "median",
              "worst");
  for (const int no_hydrogens : {1, 0})
    report_all(molecules, no_hydrogens, argc - files - 1, argv + files + 1);
}
