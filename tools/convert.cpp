#include <vxgrid/grid/grid_format.h>
#include <vxgrid/host/text.h>

#include "model_grid.h"
#include "verbs.h"

using namespace VXCore;

void convert(const ConvertOptions& options, const Settings& settings) {
  require_map_extension(options.output);
  const VXSkewGrid grid = read_map(options.input, settings);
  const unsigned format = VXGetGridFileType(VXGetFileExtension(options.output.c_str()).c_str());
  if (format == VXGridFormatCCP4 || grid.IsRegular()) {
    write_map(options.output, grid);
    report_map(options.output, grid, settings);
    return;
  }
  // Only CCP4 maps hold oblique axes and three step lengths.
  const VXScalarGrid regular = regular_map(options.input, grid);
  note(settings, options.input + ": brought onto a regular grid, which is all that the format of " +
                     options.output + " holds");
  write_map(options.output, regular);
  report_map(options.output, regular, settings);
}
