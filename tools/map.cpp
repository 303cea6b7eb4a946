#include <algorithm>

#include "verbs.h"

using namespace VXCore;

namespace {

/// From units of sigma into electrons/Å³. CCP4 maps are written so by themselves.
void undo_normalisation(VXSkewGrid& grid) {
  VXZemoGrid& inner = grid.GetImpl().GetImpl();
  const auto sigma = inner.GetData<float>("SIGMA");
  float* const values = grid.GetValues();
  std::transform(values, values + grid.GetSize(), values, [sigma](float value) { return value * sigma; });
  for (VXGridAbstractBase* each :
       {static_cast<VXGridAbstractBase*>(&grid), static_cast<VXGridAbstractBase*>(&inner)})
    for (const char* name : {"SIGMA", "vx_no_norm"}) each->DeleteData(name);
}

}  // namespace

void map(const MapVerbOptions& options, const Settings& settings) {
  const FileFormat& format = output_format(options.output);
  InputFile input(options.data);
  MtzMap made = make_map(options.data, input, options.map, settings);
  const VXZemoGrid& grid = made.grid.GetImpl().GetImpl();
  const float rms = grid.GetData<float>("ARMS"), lowest = grid.GetData<float>("AMIN");
  const float highest = grid.GetData<float>("AMAX");
  if (format.id != Format::CCP4) undo_normalisation(made.grid);
  fit_to_format(options.output, options.data, made.grid, settings);
  write_map(options.output, made.grid);
  const unsigned dims[] = {made.grid.GetXDim(), made.grid.GetYDim(), made.grid.GetZDim()};
  if (settings.json) {
    Json json;
    json.open_object();
    json.field("file", options.output);
    json.field("type", options.map.type_or_default());
    json.list("columns", made.labels);
    json.list("dimensions", dims);
    json.field("min", lowest);
    json.field("max", highest);
    json.field("rms", rms);
    json.close_object();
    json.print();
  } else {
    std::printf("%s: %s from %s, %u x %u x %u points, min %.4f, max %.4f, rms %.4f e/Å³\n",
                options.output.c_str(), options.map.type_or_default().c_str(),
                join(made.labels, ", ").c_str(), dims[0], dims[1], dims[2], lowest, highest, rms);
  }
}
