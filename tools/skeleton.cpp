#include <algorithm>

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/processing/skeletonize.h>
#include <vxgrid/processing/thinning.h>

#include "map_values.h"
#include "model_grid.h"
#include "verbs.h"

using namespace VXCore;

namespace {

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
  const FileFormat& format = output_format(options.output);
  if (format.id == Format::Grasp)
    throw Failure(options.output,
                  text("the %s format interpolates, which leaves nothing of lines", format.title));
  VXSkewGrid grid = read_map(options.map, settings);
  require_lattice(options.map, grid);
  const float level = level_in_map(options.map, grid, options.level);
  int rounds = 0;
  unsigned before = 0;
  if (options.spacing > 0 || (format.id == Format::CCP4 && !has_crystal_cell(grid))) {
    if (options.spacing == 0)
      note(settings, options.map + ": " + VXChangeInFile(format.code, grid.GetImpl().GetImpl()));
    VXScalarGrid regular = regular_map(options.map, grid, options.spacing);
    before = count_from(regular.GetValues(), regular.GetSize(), level);
    rounds = VXSkeletonizeGrid(regular, level);
    grid = VXMakePlainSkewGrid(std::move(regular));
    hold_samples(grid, format);
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
  renew_statistics(grid);
  write_map(options.output, grid, format);

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
