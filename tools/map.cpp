#include "verbs.h"

using namespace VXCore;

void map(const MapVerbOptions& options, const Settings& settings) {
  require_map_extension(options.output);
  const MtzMap made = make_map(options.data, options.map, settings);
  write_map(options.output, made.grid);

  const VXZemoGrid& grid = made.grid.GetImpl().GetImpl();
  const float rms = grid.GetData<float>("ARMS"), lowest = grid.GetData<float>("AMIN");
  const float highest = grid.GetData<float>("AMAX");
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
