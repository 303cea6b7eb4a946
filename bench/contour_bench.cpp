// Ten contour levels of 256^3 values, against a sort of a copy of them all: of a map (noise, and peaks of
// atoms in a fiftieth of it), and of one that is 0 but for a fifth of it, as behind a mask.

#include <benchmark/benchmark.h>

#include <memory>
#include <random>

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/processing/contour_levels.h>

#include "tests/processing/plain_contour_levels.h"

using namespace VXCore;

namespace {

constexpr unsigned kLevels = 10;

VXScalarGrid make_grid(unsigned filled_percent) {
  VXScalarGrid grid;
  grid.SetDim(256, 256, 256);
  std::mt19937 random(1);
  std::normal_distribution<float> noise(0, 0.3f), peak(1.5f, 1.0f);
  for (unsigned i = 0; i < grid.GetSize(); ++i)
    if (random() % 100 < filled_percent) grid[i] = noise(random) + (random() % 50 ? 0.0f : peak(random));
  return grid;
}

const VXScalarGrid& grid_of(bool masked) {
  static const VXScalarGrid grids[] = {make_grid(100), make_grid(20)};
  return grids[masked];
}

void ours(benchmark::State& state, bool masked) {
  const VXScalarGrid& grid = grid_of(masked);
  for (auto _ : state) {
    const std::unique_ptr<VXContourLevelIter> walk(VXGetGridContourLevels(grid, kLevels, false, 1));
    benchmark::DoNotOptimize(**walk);
  }
}

void sort(benchmark::State& state, bool masked) {
  const VXScalarGrid& grid = grid_of(masked);
  for (auto _ : state)
    benchmark::DoNotOptimize(plain_contour_levels(grid, kLevels, false, std::nullopt, 1).data());
}

BENCHMARK_CAPTURE(ours, map, false)->Name("contour_levels/map/vxgrid")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(sort, map, false)->Name("contour_levels/map/sort")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ours, masked, true)->Name("contour_levels/masked/vxgrid")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(sort, masked, true)->Name("contour_levels/masked/sort")->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
