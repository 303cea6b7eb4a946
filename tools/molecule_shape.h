#pragma once

#include <cmath>
#include <map>
#include <utility>

#include <vxgrid/gaussian/gaussian_expansion.h>
#include <vxgrid/host/molecule.h>

/// A molecule in numbers: volumes in Å³ by levels, and the moments of its heavy atoms in full.
struct MoleculeShape {
  enum Level { Atoms, Bonds, Full, kLevels };
  static constexpr int kSecond = 3, kThird = 10;

  unsigned atoms = 0;     // hydrogens too
  double heavy[kLevels];  // without hydrogens
  double all[kLevels];    // with them
  float second[kSecond];  // Å², along the principal axes
  float third[kThird];    // Å³, in their frame: xxx yyy zzz xxy xxz xyy yyz xzz yzz xyz
};

/// Measures one molecule after another, by van der Waals radii after Bondi.
class ShapeMaker {
 public:
  /// Gives the molecule the radii and moves its middle to the origin. False when none of its atoms has a
  /// radius, or its expansion passes all bounds. A molecule of hydrogens alone has heavy volumes of 0 and
  /// moments that are not numbers.
  bool measure(VXCore::VXMolBase& mol, MoleculeShape& shape);

 private:
  struct Radii {
    double least = INFINITY, most = 0;
    unsigned count = 0;

    void add(double radius);
  };

  /// Returns the radii of all atoms, and those of the heavy ones.
  std::pair<Radii, Radii> measure_lower_levels(const VXCore::VXMolBase& mol, MoleculeShape& shape);
  VXCore::Gaussian& expansion_for(const Radii& radii);

  VXCore::Gaussian lower_levels_;
  // An expansion keeps its tables while the smallest and the largest radius stay: one for each such pair.
  std::map<std::pair<double, double>, VXCore::Gaussian> expansions_;
};
