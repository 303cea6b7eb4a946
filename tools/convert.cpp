#include <vxgrid/grid/grid_format.h>
#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/host/text.h>
#include <vxgrid/processing/make_grid.h>
#include <vxgrid/processing/regularize.h>

#include "verbs.h"

using namespace VXCore;

namespace {

/// Refuses a lattice whose spacing makes a regular grid out of proportion.
void require_bearable_grid(const std::string& file, const VXSkewGrid& grid) {
  float centre[3], extents[3] = {};
  VXGetCenterAndExtents(grid, centre, extents);
  double points = 1;
  for (const float extent : extents) points *= (extent + 1e-5) / grid.GetSpacing() + 1;
  if (points > 16.0 * grid.GetSize() + 1e6)
    throw Failure(file, text("its %u points would become %.3g on a regular grid of its spacing, %g Å",
                             grid.GetSize(), points, grid.GetSpacing()));
}

unsigned format_of(const std::string& file) {
  return VXGetGridFileType(VXGetFileExtension(file.c_str()).c_str());
}

}  // namespace

void convert(const ConvertOptions& options, const Settings& settings) {
  require_map_extension(options.output);
  const VXSkewGrid grid = read_map(options.input, settings);
  const VXGridAbstractBase* written = &grid;
  VXScalarGrid regular;
  if (format_of(options.output) == VXGridFormatCCP4 || grid.IsRegular()) {
    write_map(options.output, grid);
  } else {
    // Only CCP4 maps hold oblique axes and three step lengths.
    require_bearable_grid(options.input, grid);
    const LibraryLog log;
    if (!VXMakeRegularGrid(regular, grid, 0.0f))
      throw Failure(options.input, log.reason(options.input, "cannot be brought onto a regular grid"));
    note(settings, options.input + ": brought onto a regular grid, which is all that the format of " +
                       options.output + " holds");
    write_map(options.output, regular);
    written = &regular;
  }

  const unsigned dims[] = {written->GetXDim(), written->GetYDim(), written->GetZDim()};
  const char* format = VXGetGridFormatString(format_of(options.output));
  if (settings.json) {
    Json json;
    json.open_object();
    json.field("file", options.output);
    json.field("format", format);
    json.list("dimensions", dims);
    json.close_object();
    json.print();
  } else {
    std::printf("%s: %s, %u x %u x %u points\n", options.output.c_str(), format, dims[0], dims[1], dims[2]);
  }
}
