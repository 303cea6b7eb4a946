// A skew map of 160 x 150 x 140 points onto a regular grid of 120^3, per output point, against gemmi
// interpolating at the same places through its unit cell.

#include <benchmark/benchmark.h>

#include <cmath>
#include <gemmi/grid.hpp>
#include <random>

#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/processing/regularize.h>

namespace {

constexpr int kDim[3] = {160, 150, 140};
constexpr float kCell[6] = {80, 75, 70, 80, 95, 110};
constexpr int kOut = 120;
constexpr float kSpacing = 0.4f;

struct Input {
  Input() {
    skew.SetMid(40, 35, 30);
    skew.SetDim(kDim[0] + 1, kDim[1] + 1, kDim[2] + 1);
    skew.SetUnitCell(kCell[0], kCell[1], kCell[2], kCell[3], kCell[4], kCell[5], kDim[0], kDim[1], kDim[2]);
    peer.set_size(kDim[0], kDim[1], kDim[2]);
    peer.set_unit_cell(kCell[0], kCell[1], kCell[2], kCell[3], kCell[4], kCell[5]);
    std::mt19937 random(1);
    std::uniform_real_distribution<float> unit(0, 1);
    for (float& v : peer.data) v = unit(random);
    float* to = skew.GetValues();  // the planes at the far faces repeat those at the near ones
    for (int z = 0; z <= kDim[2]; ++z)
      for (int y = 0; y <= kDim[1]; ++y)
        for (int x = 0; x <= kDim[0]; ++x) *to++ = peer.get_value(x % kDim[0], y % kDim[1], z % kDim[2]);
    skew.ElementToSpatialCoord(0, origin[0], origin[1], origin[2]);
  }
  VXCore::VXSkewGrid skew;
  gemmi::Grid<float> peer;
  float origin[3];
};

Input& input() {
  static Input it;
  return it;
}

void regular_vxgrid(benchmark::State& state, bool reentrant) {
  Input& in = input();
  const float center[3] = {in.skew.GetXMid(), in.skew.GetYMid(), in.skew.GetZMid()};
  const float width = (kOut - 1) * kSpacing, extents[3] = {width, width, width};
  VXCore::VXScalarGrid out;
  for (auto _ : state) {
    if (!VXCore::VXMakeRegularSubGrid(out, in.skew, center, extents, kSpacing, reentrant))
      state.SkipWithError("failed");
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * out.GetSize());
}

void regular_gemmi(benchmark::State& state) {
  Input& in = input();
  const double half = (kOut - 1) * kSpacing / 2;
  std::vector<float> out;
  for (auto _ : state) {
    out.assign(static_cast<std::size_t>(kOut) * kOut * kOut, 0);
    float* to = out.data();
    for (int z = 0; z < kOut; ++z)
      for (int y = 0; y < kOut; ++y)
        for (int x = 0; x < kOut; ++x) {
          const gemmi::Position at(in.skew.GetXMid() - half + x * double{kSpacing} - in.origin[0],
                                   in.skew.GetYMid() - half + y * double{kSpacing} - in.origin[1],
                                   in.skew.GetZMid() - half + z * double{kSpacing} - in.origin[2]);
          *to++ = in.peer.interpolate_value(at);
        }
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kOut * kOut * kOut);
}

BENCHMARK_CAPTURE(regular_vxgrid, clipped, false)
    ->Name("skew_to_regular/vxgrid")
    ->Unit(benchmark::kMillisecond);
BENCHMARK(regular_gemmi)->Name("skew_to_regular/gemmi")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(regular_vxgrid, periodic, true)
    ->Name("skew_to_regular_periodic/vxgrid")
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
