// GRASP and DelPhi maps against fread into new memory and fwrite of the same bytes. "grid" is the writer of
// grids, which first interpolates all samples.

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <vxgrid/formats/grasp.h>
#include <vxgrid/formats/gridio.h>

namespace {

using namespace VXCore;

constexpr std::size_t kFileBytes = 1098662;
constexpr unsigned int kSamples = kGraspDim * kGraspDim * kGraspDim;

const VXScalarGrid& source() {
  static const VXScalarGrid grid = [] {
    VXScalarGrid made(kGraspDim, kGraspDim, kGraspDim, 1, 2, 3, 0.5f, "", nullptr);
    for (unsigned int e = 0; e < kSamples; ++e) made.GetValues()[e] = static_cast<float>(e % 1000) * 0.01f;
    return made;
  }();
  return grid;
}

// A map file that goes away at the end.
struct ScratchMap {
  const std::filesystem::path path =
      std::filesystem::temp_directory_path() / (std::to_string(getpid()) + "bench.phi");
  ScratchMap() {
    if (!VXWriteGrid(path.string(), source())) std::abort();
  }
  ~ScratchMap() { std::filesystem::remove(path); }
};

void read_ours(benchmark::State& state) {
  const ScratchMap file;
  for (auto _ : state) {
    VXZemoGrid grid;
    if (!VXReadGrid(file.path.string(), grid)) std::abort();
    benchmark::DoNotOptimize(grid.GetValues());
  }
}

void read_bare(benchmark::State& state) {
  const ScratchMap map;
  for (auto _ : state) {
    const std::unique_ptr<char, decltype(&std::free)> bytes(static_cast<char*>(std::malloc(kFileBytes)),
                                                            std::free);
    FILE* const file = std::fopen(map.path.c_str(), "rb");
    if (std::fread(bytes.get(), 1, kFileBytes, file) != kFileBytes) std::abort();
    std::fclose(file);
    benchmark::DoNotOptimize(bytes.get());
  }
}

void write_map(benchmark::State& state) {
  const ScratchMap file;
  const float mid[3] = {1, 2, 3};
  for (auto _ : state) {
    VXHost::vxofstream out(file.path.string());
    if (!VXWriteDelphiMap(out, source().GetValues(), 2, mid) || !out.close()) std::abort();
  }
}

void write_grid(benchmark::State& state) {
  const ScratchMap file;
  for (auto _ : state)
    if (!VXWriteGrid(file.path.string(), source())) std::abort();
}

void write_bare(benchmark::State& state) {
  const ScratchMap map;
  const std::vector<char> bytes(kFileBytes);
  for (auto _ : state) {
    FILE* const file = std::fopen(map.path.c_str(), "wb");
    if (std::fwrite(bytes.data(), 1, kFileBytes, file) != kFileBytes || std::fclose(file) != 0) std::abort();
  }
}

}  // namespace

BENCHMARK(read_ours)->Name("grasp_read/vxgrid")->Unit(benchmark::kMicrosecond);
BENCHMARK(read_bare)->Name("grasp_read/fread")->Unit(benchmark::kMicrosecond);
BENCHMARK(write_map)->Name("grasp_write/map/vxgrid")->Unit(benchmark::kMicrosecond);
BENCHMARK(write_bare)->Name("grasp_write/map/fwrite")->Unit(benchmark::kMicrosecond);
BENCHMARK(write_grid)->Name("grasp_write/grid/vxgrid")->Unit(benchmark::kMicrosecond);
BENCHMARK(write_bare)->Name("grasp_write/grid/fwrite")->Unit(benchmark::kMicrosecond);

int main(int argc, char** argv) {
  // Each map gets new pages, as the first one of a program does; otherwise malloc would keep those of the
  // last.
  mallopt(M_MMAP_THRESHOLD, 1 << 18);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
