#include "model_grid.h"

#include <algorithm>
#include <cmath>

#include <vxgrid/host/mol_geometry.h>
#include <vxgrid/processing/make_grid.h>
#include <vxgrid/processing/regularize.h>

#include "map_values.h"

using namespace VXCore;

namespace {

/// Points of a box of these edges, by the most generous of the rules that size grids around molecules.
/// Infinite when an axis has more than a grid can hold.
double points(const double* edges, double spacing) {
  double product = 1;
  for (int axis = 0; axis < 3; ++axis) {
    const double dim = std::floor(edges[axis] / spacing) + 3;
    product *= dim <= 16777216 ? dim : INFINITY;
  }
  return product;
}

/// A spacing for which the box has no more than kMostPoints, of three digits and no finer than needed.
double fitting_spacing(const double* edges, double too_fine) {
  double low = too_fine, high = 2 * std::max({edges[0], edges[1], edges[2]});
  while (high > 1.0001 * low) {
    const double middle = std::sqrt(low * high);
    (points(edges, middle) > kMostPoints ? low : high) = middle;
  }
  const double unit = std::pow(10.0, std::floor(std::log10(high)) - 2);
  return std::ceil(high / unit) * unit;
}

}  // namespace

void require_heavy_atoms(const std::string& file, const VXMolBase& model) {
  if (!VXIter<VXAtomBase>(model.GetAtoms(VXIsHeavy())))
    throw Failure(file, "there are no atoms but hydrogens");
}

void require_bearable_box(const std::string& file, const VXMolBase& model, float margin, float spacing) {
  float centre[3], extents[3] = {};
  VXGetCenterAndExtents(model, centre, extents);
  double edges[3];
  std::transform(extents, extents + 3, edges, [margin](double extent) { return extent + 2 * margin; });
  const double wanted = points(edges, spacing);
  if (wanted > kMostPoints)
    throw Failure(file,
                  text("a box of %.4g x %.4g x %.4g Å at a spacing of %g Å holds more than %.0f grid "
                       "points; a spacing of %.3g Å fits",
                       edges[0], edges[1], edges[2], spacing, kMostPoints, fitting_spacing(edges, spacing)));
}

VXScalarGrid regular_map(const std::string& file, const VXSkewGrid& grid) {
  require_lattice(file, grid);
  float centre[3], extents[3] = {};
  VXGetCenterAndExtents(grid, centre, extents);
  double count = 1;
  for (const float extent : extents) count *= (extent + 1e-5) / grid.GetSpacing() + 1;
  if (count > 16.0 * grid.GetSize() + 1e6)
    throw Failure(file, text("its %u points would become %.3g on a regular grid of its spacing, %g Å",
                             grid.GetSize(), count, grid.GetSpacing()));
  const LibraryLog log;
  VXScalarGrid regular;
  if (!VXMakeRegularGrid(regular, grid, 0.0f))
    throw Failure(file, log.reason(file, "cannot be brought onto a regular grid"));
  return regular;
}
