#pragma once

#include <vector>

#include <vxgrid/realspace/density.h>
#include <vxgrid/xtal/scatter_table.h>

namespace VXCore {

/// The density of one atom: five Gaussians and the distance up to which they are mapped.
struct AtomTerms {
  AtomTerms(const VXScatterData& row, double bfactor, double occupancy);

  /// The sum of the terms, each worked out in double and rounded to float, at a squared distance in Å².
  float Density(double d2) const;

  ScatterPotential term[5];
  double radius;  ///< the largest of the five; a radius that is not a number does not count
};

/// Adds atoms to the values of a skew grid.
class AtomMapper {
 public:
  /// `values` are nx * ny * nz floats, x fastest; they are added to and have to outlive the mapper.
  AtomMapper(const XYZToIJK& map, const unsigned int* dims, float* values);

  /// Adds `atom`, at xyz in Å, to the points within its radius, as VXScatterToGrid tells. A position or a
  /// radius that is not finite adds nothing.
  void Add(const AtomTerms& atom, const float* xyz);

 private:
  struct Range {
    int first, last;
  };
  struct Points;
  bool FindRanges(double radius, const float* xyz, Range* ranges) const;
  void AddBox(const AtomTerms& atom, const float* xyz, const Range* ranges);
  void Flush(const AtomTerms& atom, Points& points);

  XYZToIJK map_;
  int dims_[3];
  double step_[3];
  float* values_;
  /// Products of the orientation element (row, axis) and the place of each index along the axis. Padded, so
  /// that a whole vector may be read from any index.
  std::vector<float> product_[3][3];
};

}  // namespace VXCore
