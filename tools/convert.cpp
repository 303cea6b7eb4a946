#include "model_grid.h"
#include "verbs.h"

using namespace VXCore;

void convert(const ConvertOptions& options, const Settings& settings) {
  require_map_extension(options.output);
  VXSkewGrid grid = read_map(options.input, settings);
  fit_to_format(options.output, options.input, grid, settings);
  write_map(options.output, grid);
  report_map(options.output, grid, settings);
}
