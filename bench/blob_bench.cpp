// A blob of about 10^6 points in the middle of a map of 256^3, full of holes at its border and among 36,000
// others. scipy labels the same map (versus.py).

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/host/error_handler.h>
#include <vxgrid/processing/skeletonize.h>

#include "tests/processing/plain_blob.h"

using namespace VXCore;

namespace {

constexpr int kDim = 256;
constexpr float kLevel = 0.5f;

/// Ripples of 12 points, and a hump in the middle that lifts them over the level.
float value_at(int x, int y, int z) {
  const auto ripple = [](int i) { return std::sin(0.53f * static_cast<float>(i)); };
  const float dx = static_cast<float>(x - kDim / 2), dy = static_cast<float>(y - kDim / 2),
              dz = static_cast<float>(z - kDim / 2);
  const float hump = std::exp(-(dx * dx + dy * dy + dz * dz) / (2 * 48.0f * 48.0f));
  return 0.6f * ripple(x) * ripple(y) * ripple(z) + 1.2f * hump;
}

const VXScalarGrid& map() {
  static const VXScalarGrid made = [] {
    VXScalarGrid grid(kDim, kDim, kDim, 0, 0, 0, 0.5f, "", nullptr);
    float* value = grid.GetValues();
    for (int z = 0; z < kDim; ++z)
      for (int y = 0; y < kDim; ++y)
        for (int x = 0; x < kDim; ++x) *value++ = value_at(x, y, z);
    return grid;
  }();
  return made;
}

constexpr unsigned int kSeed = (kDim / 2 * kDim + kDim / 2) * kDim + kDim / 2;

template <class Extract>
void blob(benchmark::State& state, Extract extract) {
  VXThrow.SetLevel(VXErrorLevel::Warning);
  VXScalarGrid grid(map());
  unsigned int points = 0;
  for (auto _ : state) {
    state.PauseTiming();
    std::memcpy(grid.GetValues(), map().GetValues(), 4ul * grid.GetSize());
    state.ResumeTiming();
    extract(grid);
    benchmark::ClobberMemory();
  }
  for (unsigned int i = 0; i < grid.GetSize(); ++i) points += grid[i] != 0;
  state.counters["points"] = points;
  state.SetBytesProcessed(state.iterations() * 4 * grid.GetSize());
}

const auto vxgrid = [](VXScalarGrid& grid) { VXExtractBlob(grid, kSeed, kLevel); };
const auto plain = [](VXScalarGrid& grid) { plain_extract_blob(grid, kSeed, kLevel); };

BENCHMARK_CAPTURE(blob, vxgrid, vxgrid)->Name("blob/vxgrid")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(blob, plain, plain)->Name("blob/plain")->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
