#include <vxgrid/grid/contour.h>
#include <vxgrid/processing/contour_levels.h>

#include "verbs.h"

using namespace VXCore;

namespace {

// Of levels from 0 on, and below 0.
constexpr VXColor kBlue(64, 128, 255), kRed(255, 64, 64);

std::vector<float> levels_of(const VXSkewGrid& grid, const ContoursOptions& options,
                             const Settings& settings) {
  const VXFixedGrid<float>& values = *grid.GetImpl().GetImpl().GetFloats().GetGrid(0);
  const unsigned count = static_cast<unsigned>(options.levels),
                 stride = static_cast<unsigned>(options.stride);
  std::vector<float> levels;
  for (const float level : VXIter<const float>(
           options.limit ? VXGetGridContourLevels(values, count, options.descending, *options.limit, stride)
                         : VXGetGridContourLevels(values, count, options.descending, stride)))
    levels.push_back(level);
  if (levels.empty()) throw Failure(options.map, "there are no numbers in it");
  const float first = levels.front();
  if (options.limit && (options.descending ? first <= *options.limit : first >= *options.limit))
    note(settings, text("%s: at most one of its values is %s the limit; the levels are the two at that end",
                        options.map.c_str(), options.descending ? "above" : "below"));
  return levels;
}

/// Contours in place of those that are there. Some formats keep the attributes of the map, some those of the
/// grid within it.
void attach(VXSkewGrid& grid, const std::vector<float>& levels) {
  for (VXGridAbstractBase* each : {static_cast<VXGridAbstractBase*>(&grid),
                                   static_cast<VXGridAbstractBase*>(&grid.GetImpl().GetImpl())}) {
    each->DeleteData(VX_GRID_CONTOUR_LEVELS);
    each->DeleteData(VX_GRID_CONTOUR_COLORS);
    for (const float level : levels) VXAddContour(*each, level, level < 0 ? kRed : kBlue);
  }
}

void print(const std::vector<float>& levels, const ContoursOptions& options, const Settings& settings) {
  if (settings.json) {
    Json json;
    json.open_object();
    json.field("file", options.map);
    json.list("levels", levels);
    json.close_object();
    json.print();
    return;
  }
  Table table({">number", ">level"});
  if (options.tsv) std::printf("number\tlevel\n");
  for (size_t i = 0; i < levels.size(); ++i) {
    const std::string number = std::to_string(i + 1), level = shortest(levels[i]);
    if (options.tsv)
      std::printf("%s\t%s\n", number.c_str(), level.c_str());
    else
      table.add({number, level});
  }
  if (!options.tsv) table.print();
}

}  // namespace

void contours(const ContoursOptions& options, const Settings& settings) {
  if (options.attach) require_attributes(options.output, "contours");
  VXSkewGrid grid = read_map(options.map, settings);
  const std::vector<float> levels = levels_of(grid, options, settings);
  if (options.attach) {
    fit_to_format(options.output, options.map, grid, settings);
    attach(grid, levels);
    write_map(options.output, grid);
    note(settings, text("%s: a copy of %s with %zu contours", options.output.c_str(), options.map.c_str(),
                        levels.size()));
  }
  print(levels, options, settings);
}
