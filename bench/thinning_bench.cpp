// Thinning of 128^3 grids, 10 % and 29 % filled with blobs some ten points across.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/processing/thinning.h>

#include "tests/processing/plain_thinning.h"

using namespace VXCore;

namespace {

constexpr int kDim = 128, kSize = kDim * kDim * kDim;

/// Noise of 16 bits, summed over boxes of 9^3 points three times, periodic; whole numbers, so that versus.py
/// makes the same.
std::vector<std::uint64_t> smooth_noise() {
  std::vector<std::uint64_t> values(kSize), sums(kSize);
  for (std::uint32_t i = 0; i < kSize; ++i) {
    std::uint32_t bits = i * 2654435761u;
    bits = (bits ^ bits >> 15) * 2246822519u;
    bits = (bits ^ bits >> 13) * 3266489917u;
    values[i] = bits >> 16;
  }
  for (int pass = 0; pass < 3; ++pass)
    for (const int stride : {1, kDim, kDim * kDim}) {
      for (int i = 0; i < kSize; ++i) {
        const int at = i / stride % kDim, first = i - at * stride;
        sums[i] = 0;
        for (int step = -4; step <= 4; ++step) sums[i] += values[first + (at + step + kDim) % kDim * stride];
      }
      values.swap(sums);
    }
  return values;
}

/// The object: the largest `percent` % of the noise.
VXScalarGrid blobs(int percent) {
  static const std::vector<std::uint64_t> noise = smooth_noise();
  std::vector<std::uint64_t> ranked = noise;
  const auto limit = ranked.end() - kSize / 100 * percent;
  std::nth_element(ranked.begin(), limit, ranked.end());
  VXScalarGrid grid(kDim, kDim, kDim, 0, 0, 0, 1, "", nullptr);
  for (int i = 0; i < kSize; ++i) grid[i] = noise[i] >= *limit;
  return grid;
}

template <class Thin>
void thinning(benchmark::State& state, int percent, Thin thin) {
  const VXScalarGrid object = blobs(percent);
  VXScalarGrid grid;
  int rounds = 0;
  for (auto _ : state) {
    state.PauseTiming();
    grid = object;
    state.ResumeTiming();
    rounds = thin(grid);
  }
  const auto points = [](const VXScalarGrid& of) {
    return std::count(of.GetValues(), of.GetValues() + kSize, 1.0f);
  };
  state.SetItemsProcessed(state.iterations() * points(object));
  state.counters["rounds"] = rounds;
  state.counters["left"] = static_cast<double>(points(grid));
}

int thin(VXScalarGrid& grid) { return VXThinGrid(grid); }
int thin_plainly(VXScalarGrid& grid) { return plain_thinning(grid); }

}  // namespace

BENCHMARK_CAPTURE(thinning, , 10, thin)->Name("thinning/10/vxgrid")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(thinning, , 10, thin_plainly)->Name("thinning/10/plain")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(thinning, , 29, thin)->Name("thinning/29/vxgrid")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(thinning, , 29, thin_plainly)->Name("thinning/29/plain")->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
