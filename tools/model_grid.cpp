#include "model_grid.h"

#include <algorithm>
#include <cmath>

#include <vxgrid/host/mol_geometry.h>
#include <vxgrid/processing/make_grid.h>
#include <vxgrid/processing/regularize.h>
#include <vxgrid/formats/regular_size.inl>

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

/// Failure when a map on a regular lattice of its own spacing has points out of proportion.
void require_bearable_size(const std::string& file, const VXSkewGrid& grid) {
  require_lattice(file, grid);
  const LibraryLog log;
  if (!grid.IsRegular() && !regular_size_is_bearable(grid.GetImpl().GetImpl(), ""))
    throw Failure(file, log.reason(file, ""));
}

/// The ends of the box of all samples along x, y or z.
std::pair<double, double> ends(const VXSkewGrid& grid, int axis) {
  float corners[24];
  vx_get_corners_of_grid(corners, grid.GetImpl().GetImpl());
  float low = corners[axis], high = corners[axis];
  for (int corner = 1; corner < 8; ++corner) {
    low = std::min(low, corners[3 * corner + axis]);
    high = std::max(high, corners[3 * corner + axis]);
  }
  return {low, high};
}

/// Whether the last plane of a map along each axis is the first one again, a period further.
bool closes_its_cell(const VXSkewGrid& grid) {
  unsigned x, y, z;
  return grid.GetImpl().GetUnitSpacing(x, y, z) && grid.GetXDim() == x + 1 && grid.GetYDim() == y + 1 &&
         grid.GetZDim() == z + 1;
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
  require_bearable_size(file, grid);
  const LibraryLog log;
  VXScalarGrid regular;
  if (!VXMakeRegularGrid(regular, grid, 0.0f))
    throw Failure(file, log.reason(file, "cannot be brought onto a regular grid"));
  return regular;
}

VXScalarGrid regular_map(const std::string& file, const VXSkewGrid& grid, float spacing) {
  if (spacing == 0) {
    require_bearable_size(file, grid);
    spacing = grid.GetSpacing();
  }
  double box[3];
  float centre[3], extents[3];
  double points = 1;
  for (int axis = 0; axis < 3; ++axis) {
    const auto [low, high] = ends(grid, axis);
    const double first = std::ceil(low / spacing - 1e-3), last = std::floor(high / spacing + 1e-3);
    box[axis] = high - low;
    centre[axis] = static_cast<float>(0.5 * (first + last) * spacing);
    extents[axis] = static_cast<float>((last - first + 0.25) * spacing);  // which is rounded down
    points *= std::max(last - first, 0.0) + 1;
  }
  if (extents[0] < spacing || extents[1] < spacing || extents[2] < spacing)
    throw Failure(file, text("a spacing of %g Å leaves one plane of its box of %.4g x %.4g x %.4g Å", spacing,
                             box[0], box[1], box[2]));
  if (!(points <= kMostPoints))
    throw Failure(file, text("a spacing of %g Å makes %.3g grid points of its %u; %.0f are the most", spacing,
                             points, grid.GetSize(), kMostPoints));
  const LibraryLog log;
  VXScalarGrid regular;
  if (!VXMakeRegularSubGrid(regular, grid, centre, extents, spacing, closes_its_cell(grid)))
    throw Failure(file, log.reason(file, "cannot be resampled"));
  return regular;
}

void hold_samples(VXSkewGrid& grid, const FileFormat& format) {
  if (format.id != Format::CCP4) return;
  const unsigned dims[] = {grid.GetXDim(), grid.GetYDim(), grid.GetZDim()};
  const float step = 2 * grid.GetSpacing();
  grid.SetUnitCell(step * static_cast<float>(dims[0]), step * static_cast<float>(dims[1]),
                   step * static_cast<float>(dims[2]), 90, 90, 90, 2 * dims[0], 2 * dims[1], 2 * dims[2]);
  grid.SetSpaceGroup(1);
}
