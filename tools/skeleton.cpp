#include <algorithm>
#include <cmath>

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/processing/make_grid.h>
#include <vxgrid/processing/regularize.h>
#include <vxgrid/processing/skeletonize.h>
#include <vxgrid/processing/thinning.h>

#include "map_values.h"
#include "model_grid.h"
#include "verbs.h"

using namespace VXCore;

namespace {

/// The box of a map on a regular lattice of another spacing. Its samples stand at multiples of the spacing,
/// an odd number on each axis, so that a CCP4 file holds them as they are.
VXScalarGrid resampled(const std::string& file, const VXSkewGrid& grid, float spacing) {
  float centre[3], extents[3] = {};
  VXGetCenterAndExtents(grid, centre, extents);
  const float box[] = {extents[0], extents[1], extents[2]};
  double points = 1;
  for (int axis = 0; axis < 3; ++axis) {
    const float half = std::floor(0.5f * extents[axis] / spacing);
    if (half < 1)
      throw Failure(file, text("a spacing of %g Å leaves one plane of its box of %.4g x %.4g x %.4g Å",
                               spacing, box[0], box[1], box[2]));
    centre[axis] = std::round(centre[axis] / spacing) * spacing;
    extents[axis] = 2 * half * spacing;
    points *= 2.0 * half + 1;
  }
  if (!(points <= kMostPoints))
    throw Failure(file, text("a spacing of %g Å makes %.3g grid points of its %u; %.0f are the most", spacing,
                             points, grid.GetSize(), kMostPoints));
  const LibraryLog log;
  VXScalarGrid regular;
  const auto [x, y, z] = whole_periods(grid);
  if (!VXMakeRegularSubGrid(regular, grid, centre, extents, spacing, x && y && z))
    throw Failure(file, log.reason(file, "cannot be resampled"));
  return regular;
}

/// Gives a regular grid a cell of its own, twice as large, in which a CCP4 file holds its samples as they
/// are.
void give_cell(VXSkewGrid& grid) {
  const unsigned dims[] = {grid.GetXDim(), grid.GetYDim(), grid.GetZDim()};
  const float step = 2 * grid.GetSpacing(), mid[] = {grid.GetXMid(), grid.GetYMid(), grid.GetZMid()};
  grid.SetUnitCell(step * static_cast<float>(dims[0]), step * static_cast<float>(dims[1]),
                   step * static_cast<float>(dims[2]), 90, 90, 90, 2 * dims[0], 2 * dims[1], 2 * dims[2]);
  grid.SetSpaceGroup(1);
  grid.SetMid(mid[0], mid[1], mid[2]);
}

unsigned count_from(const float* values, unsigned count, float level) {
  return static_cast<unsigned>(
      std::count_if(values, values + count, [level](float v) { return v >= level; }));
}

/// A map keeps its lattice, whatever its axes.
int skeletonize(VXSkewGrid& grid, float level) {
  float* const values = grid.GetValues();
  std::replace_if(
      values, values + grid.GetSize(), [level](float value) { return value < level; }, 0.0f);
  return VXThinGrid(grid);
}

}  // namespace

void skeleton(const SkeletonOptions& options, const Settings& settings) {
  require_map_extension(options.output);
  VXSkewGrid grid = read_map(options.map, settings);
  require_lattice(options.map, grid);
  const float level = level_in_map(options.map, grid, options.level);
  int rounds = 0;
  unsigned before = 0;
  if (options.spacing > 0) {
    VXScalarGrid regular = resampled(options.map, grid, options.spacing);
    before = count_from(regular.GetValues(), regular.GetSize(), level);
    rounds = VXSkeletonizeGrid(regular, level);
    grid = regular;
    give_cell(grid);
  } else {
    fit_to_format(options.output, options.map, grid, settings);
    before = count_from(grid.GetValues(), grid.GetSize(), level);
    rounds = skeletonize(grid, level);
  }
  const unsigned points = count_from(grid.GetValues(), grid.GetSize(), 1);
  // One point in ten is usual. The last direction of the thinning may take whole lines.
  if (points < before / 200)
    note(settings, text("%s: %u of %u points are left; another level or spacing may keep more of the lines",
                        options.map.c_str(), points, before));
  renew_statistics(grid.GetImpl().GetImpl());
  write_map(options.output, grid);

  const unsigned dims[] = {grid.GetXDim(), grid.GetYDim(), grid.GetZDim()};
  if (!settings.json) {
    std::printf("%s: %u x %u x %u points, %u on the skeleton at level %.5g, %d rounds\n",
                options.output.c_str(), dims[0], dims[1], dims[2], points, level, rounds);
    return;
  }
  Json json;
  json.open_object();
  json.field("file", options.output);
  json.list("dimensions", dims);
  json.field("level", level);
  json.field("rounds", rounds);
  json.field("points", points);
  json.close_object();
  json.print();
}
