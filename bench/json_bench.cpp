// A grid of 10^6 values as a JSON document, written and read, against the bare RapidJSON: its writer on the
// same doubles into a string buffer, and a parse and walk of the same text into an array of floats, with its
// default flags and with those that give the nearest double always, as ours does.

#include <benchmark/benchmark.h>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstdlib>
#include <random>
#include <vector>

#include <vxgrid/exchange/grid_json.h>
#include <vxgrid/host/text.h>

namespace {

using namespace VXCore;

constexpr int kEdge = 100;

// A map of sigma 1.
const VXScalarGrid& example_grid() {
  static const VXScalarGrid grid = [] {
    VXScalarGrid made(kEdge, kEdge, kEdge, 0, 0, 0, 0.5f, "map", nullptr);
    std::mt19937 random(1);
    std::normal_distribution<float> normal;
    for (unsigned int i = 0; i < made.GetSize(); ++i) made[i] = normal(random);
    return made;
  }();
  return grid;
}

const std::string& example_text() {
  static const std::string text = VXGridToJSON(example_grid(), 0);
  return text;
}

void set_items(benchmark::State& state) {
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * example_grid().GetSize()));
}

void write_ours(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(VXGridToJSON(example_grid(), 0));
  set_items(state);
}

void write_bare(benchmark::State& state) {
  std::vector<double> values;
  for (unsigned int i = 0; i < example_grid().GetSize(); ++i)
    values.push_back(VXTruncate(static_cast<double>(example_grid()[i]), 100000000));
  for (auto _ : state) {
    rapidjson::StringBuffer buffer;
    VXJSONWriter writer(buffer);
    writer.StartArray();
    for (const double value : values) writer.Double(value);
    writer.EndArray();
    benchmark::DoNotOptimize(buffer.GetString());
  }
  set_items(state);
}

void read_ours(benchmark::State& state) {
  for (auto _ : state) {
    VXScalarGrid grid;
    if (!VXJSONToGrid(grid, example_text())) std::abort();
    benchmark::DoNotOptimize(grid.GetValues());
  }
  set_items(state);
}

template <unsigned flags>
void read_bare(benchmark::State& state) {
  for (auto _ : state) {
    rapidjson::Document document;
    document.Parse<flags>(example_text().c_str());
    const auto values = document["values"].GetArray();
    std::vector<float> out;
    out.reserve(values.Size());
    for (const auto& value : values) out.push_back(static_cast<float>(value.GetDouble()));
    benchmark::DoNotOptimize(out.data());
  }
  set_items(state);
}

BENCHMARK(write_ours)->Name("json_write/vxgrid")->Unit(benchmark::kMillisecond);
BENCHMARK(write_bare)->Name("json_write/rapidjson")->Unit(benchmark::kMillisecond);
BENCHMARK(read_ours)->Name("json_read/vxgrid")->Unit(benchmark::kMillisecond);
BENCHMARK(read_bare<rapidjson::kParseDefaultFlags>)
    ->Name("json_read/rapidjson")
    ->Unit(benchmark::kMillisecond);
BENCHMARK(read_bare<rapidjson::kParseFullPrecisionFlag>)
    ->Name("json_read/rapidjson_exact")
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
