// Trilinear values at scattered points of a map of 200 x 192 x 180, against gemmi and, in python, scipy
// (versus.py). gemmi's grid is periodic and takes fractional coordinates, which it gets ready-made.

#include <benchmark/benchmark.h>

#include <cstring>
#include <gemmi/grid.hpp>
#include <random>
#include <vector>

#include <vxgrid/host/large_array.h>
#include <vxgrid/processing/interpolation.h>

namespace {

constexpr int kDim[3] = {200, 192, 180};
constexpr float kSpacing = 0.5f;
constexpr int kPoints = 1000000;

struct Input {
  Input() : values(std::size_t{200} * 192 * 180, VXHost::VXLargeArray<float>::Uninitialised), grid{} {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> unit(0, 1);
    for (float& v : values) v = unit(random);
    grid.floats = values.data();
    grid.xdim = kDim[0];
    grid.ydim = kDim[1];
    grid.zdim = kDim[2];
    grid.spacing = kSpacing;
    grid.inverse_spacing = 1 / kSpacing;
    peer.set_size(kDim[0], kDim[1], kDim[2]);
    std::memcpy(peer.data.data(), values.data(), 4 * values.size());
    for (int i = 0; i < kPoints; ++i)
      for (const int dim : kDim) {
        const float cells = unit(random) * static_cast<float>(dim - 1);
        points.push_back((cells - static_cast<float>(dim - 1) / 2) * kSpacing);
        fractions.push_back(cells / static_cast<float>(dim));
      }
  }
  VXHost::VXLargeArray<float> values;
  VXCore::GridStruct grid;
  gemmi::Grid<float> peer;
  std::vector<float> points;
  std::vector<double> fractions;
};

Input& input() {
  static Input it;
  return it;
}

void points_vxgrid(benchmark::State& state, int kind) {
  Input& in = input();
  std::vector<float> out(kPoints);
  for (auto _ : state) {
    VXCore::vi_map_to_atoms_from_grid(in.points.data(), kPoints, out.data(), in.grid, kind);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kPoints);
}

template <class Value>
void points_gemmi(benchmark::State& state, Value value) {
  Input& in = input();
  std::vector<float> out(kPoints);
  for (auto _ : state) {
    for (std::size_t i = 0; i < kPoints; ++i)
      out[i] = value(
          in.peer, gemmi::Fractional(in.fractions[3 * i], in.fractions[3 * i + 1], in.fractions[3 * i + 2]));
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kPoints);
}

const auto trilinear = [](const gemmi::Grid<float>& grid, const gemmi::Fractional& at) {
  return grid.interpolate_value(at);
};

BENCHMARK_CAPTURE(points_vxgrid, trilinear, 2)
    ->Name("trilinear_points/vxgrid")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(points_gemmi, trilinear, trilinear)
    ->Name("trilinear_points/gemmi")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(points_vxgrid, quadratic, 3)
    ->Name("quadratic_points/vxgrid")
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
