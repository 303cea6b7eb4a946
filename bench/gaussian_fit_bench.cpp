// Gaussians from the density of 2,000 carbon atoms at 0.5 Å, packed as in a protein. "first" is the fit of
// one Gaussian, nearly all of it the correlation with three widths; "further" are 100 more, per Gaussian,
// beside the time of that first fit.

#include <chrono>
#include <random>

#include <benchmark/benchmark.h>

#include <vxgrid/gaussian/gaussian_container.h>
#include <vxgrid/grid/zemogrid.h>
#include <vxgrid/host/molecule.h>
#include <vxgrid/molgrid/gaussian_fit.h>
#include <vxgrid/molgrid/molecular_grid.h>

using namespace VXCore;

namespace {

// 0.05 atoms per cubic Å, none closer to another than 1.5 Å.
VXGraphMol globule() {
  std::mt19937 random(11);
  std::uniform_real_distribution<float> along(-21.2f, 21.2f);
  std::vector<float> placed;
  VXGraphMol mol;
  while (placed.size() < 3 * 2000) {
    const float p[3] = {along(random), along(random), along(random)};
    bool fits = p[0] * p[0] + p[1] * p[1] + p[2] * p[2] < 21.2f * 21.2f;
    for (std::size_t i = 0; fits && i < placed.size(); i += 3) {
      const float x = p[0] - placed[i], y = p[1] - placed[i + 1], z = p[2] - placed[i + 2];
      fits = x * x + y * y + z * z > 1.5f * 1.5f;
    }
    if (!fits) continue;
    placed.insert(placed.end(), p, p + 3);
    mol.SetCoords(mol.AddAtom(6), p);
  }
  return mol;
}

VXZemoGrid& density() {
  static VXZemoGrid grid = [] {
    VXZemoGrid made;
    VXMakeMolecularGaussianGrid(made, globule(), 0.5f);
    return made;
  }();
  return grid;
}

double seconds_of_fit(unsigned int count) {
  VXGaussianContainer found;
  const auto start = std::chrono::steady_clock::now();
  VXMakeGaussianRepresentation(found, density(), 0.0f, 3, count);
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
  if (found.NumGaussians() != count) return 1e9;
  return taken.count();
}

void first(benchmark::State& state) {
  for (auto _ : state) state.SetIterationTime(seconds_of_fit(1));
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * density().GetSize());
}

void further(benchmark::State& state) {
  for (auto _ : state) state.SetIterationTime(seconds_of_fit(101) - seconds_of_fit(1));
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * 100);
}

void whole_first(benchmark::State& state) {
  for (auto _ : state) state.SetIterationTime(seconds_of_fit(1));
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}

}  // namespace

BENCHMARK(first)->Name("gaussian_fit/first/vxgrid")->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(further)->Name("gaussian_fit/further/vxgrid")->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(whole_first)->Name("gaussian_fit/further/first")->UseManualTime()->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
