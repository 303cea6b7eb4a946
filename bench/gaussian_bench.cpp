// The full Gaussian expansion of a molecule and its volume: imatinib, 37 heavy atoms, as it is read from a
// file, so without radii. One object for all, its tables reused. RDKit's volume on a grid is a peer in
// versus.py.

#include <benchmark/benchmark.h>

#include <molio/read_molecule.h>
#include <vxgrid/gaussian/gaussian_expansion.h>

using namespace VXCore;

namespace {

void volume(benchmark::State& state) {
  VXGraphMol mol;
  if (!VXReadMolecule(VXGRID_SOURCE_DIR "/bench/imatinib.sdf", mol)) state.SkipWithError("no molecule");
  Gaussian gaussian;
  float sum = 0;
  for (auto _ : state) {
    gaussian.vx_calculate_volume_no_hydrogens(mol, &sum);
    benchmark::DoNotOptimize(sum);
  }
  if (sum < 390 || sum > 410) state.SkipWithError("wrong volume");
  state.SetItemsProcessed(state.iterations());
}

}  // namespace

BENCHMARK(volume)->Name("gaussian_volume/vxgrid")->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
