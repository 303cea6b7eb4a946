#include <CLI/App.hpp>

#include "input.h"
#include "verbs.h"

using namespace VXCore;

namespace {

struct Options {
  std::string data, output;
  MapOptions map;
};

void run(const Options& options, const Settings& settings) {
  const MtzMap map = make_map(options.data, options.map, settings);
  write_map(options.output, map.grid);

  const VXZemoGrid& grid = map.grid.GetImpl().GetImpl();
  const float rms = grid.GetData<float>("ARMS"), lowest = grid.GetData<float>("AMIN");
  const float highest = grid.GetData<float>("AMAX");
  const unsigned dims[] = {map.grid.GetXDim(), map.grid.GetYDim(), map.grid.GetZDim()};
  if (settings.json) {
    Json json;
    json.open_object();
    json.field("file", options.output);
    json.field("type", options.map.type);
    json.list("columns", map.labels);
    json.list("dimensions", dims);
    json.field("min", lowest);
    json.field("max", highest);
    json.field("rms", rms);
    json.close_object();
    json.print();
  } else {
    std::printf("%s: %s from %s, %u x %u x %u points, min %.4f, max %.4f, rms %.4f e/Å³\n",
                options.output.c_str(), options.map.type.c_str(), join(map.labels, ", ").c_str(), dims[0],
                dims[1], dims[2], lowest, highest, rms);
  }
}

}  // namespace

void add_map(CLI::App& app, Settings& settings) {
  auto options = std::make_shared<Options>();
  CLI::App* verb = add_verb(app, settings, "map", "make a map from reflections",
                            "map data.mtz -o difference.map --type Fdelwt");
  verb->add_option("DATA", options->data, "reflections: .mtz, also .mtz.gz")->required();
  verb->add_option("-o,--output", options->output, "map to write; its extension gives the format")
      ->required();
  options->map.add_to(verb);
  verb->callback([options, &settings] { run(*options, settings); });
}
