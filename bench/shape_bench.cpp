// Shapes of 10,000 molecules of an SDF file, as the command measures them, beside reading them alone. The
// file repeats the ligands of the real data (27), or the three sample ligands. Items are molecules.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <utility>
#include <vector>

#include <molio/molecule_reader.h>

#include "tools/molecule_shape.h"

using namespace VXCore;

namespace {

constexpr int kMolecules = 10000;

/// Records of all SDF files of the folder.
std::vector<std::string> records_in(const std::filesystem::path& folder) {
  std::vector<std::string> records;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
    if (entry.path().extension() != ".sdf") continue;
    std::ifstream in(entry.path());
    std::string record;
    for (std::string line; std::getline(in, line);) {
      record += line + '\n';
      if (line == "$$$$") records.push_back(std::exchange(record, ""));
    }
  }
  return records;
}

/// The file, gone when the process ends.
struct LargeFile {
  LargeFile() {
    const char* data = std::getenv("VXGRID_TEST_DATA");
    std::vector<std::string> records = records_in(data ? std::filesystem::path(data) / "ligands"
                                                       : VXGRID_SOURCE_DIR "/../shared/data/ligands");
    if (records.empty()) records = records_in(VXGRID_SOURCE_DIR "/examples/data");
    std::ofstream out(name);
    for (size_t i = 0; i < kMolecules; ++i) out << records[i % records.size()];
  }
  ~LargeFile() { std::filesystem::remove(name); }

  std::string name =
      std::filesystem::temp_directory_path() / ("shape_bench." + std::to_string(getpid()) + ".sdf");
};

template <class Work>
void go_through(benchmark::State& state, Work work) {
  static const LargeFile file;
  for (auto _ : state) {
    VXMoleculeReader reader(file.name);
    VXGraphMol mol;
    while (reader.Next())
      if (reader.Read(mol)) work(mol);
  }
  state.SetItemsProcessed(state.iterations() * kMolecules);
}

void shape(benchmark::State& state) {
  ShapeMaker maker;
  MoleculeShape found;
  go_through(state, [&](VXGraphMol& mol) {
    if (!maker.measure(mol, found)) state.SkipWithError("a molecule without a shape");
    benchmark::DoNotOptimize(found);
  });
}

void reading(benchmark::State& state) {
  go_through(state, [](VXGraphMol& mol) { benchmark::DoNotOptimize(mol.NumAtoms()); });
}

}  // namespace

BENCHMARK(shape)->Name("shape_sdf/vxgrid")->Unit(benchmark::kMillisecond);
BENCHMARK(reading)->Name("shape_sdf/reading")->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
