// CCP4 maps of 240 x 256 x 224 samples: reading in every order of the axes, as a box and as a whole cell that
// is closed on the way, against fread of the bare bytes into new memory and gemmi; writing against fwrite.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <gemmi/ccp4.hpp>
#include <memory>
#include <string>

#include <vxgrid/formats/ccp4.h>
#include <vxgrid/formats/gridio.h>

namespace {

using namespace VXCore;

constexpr int kCount[3] = {240, 256, 224};
constexpr std::size_t kSamples = std::size_t{240} * 256 * 224;
constexpr std::size_t kFileBytes = 1024 + 4 * kSamples;

// One map file that a benchmark makes for itself and takes away at its end.
class ScratchMap {
 public:
  explicit ScratchMap(const char* name)
      : path_(std::filesystem::temp_directory_path() / (std::to_string(getpid()) + name)) {}
  ScratchMap(const char* name, const int axes[3], bool whole_cell) : ScratchMap(name) {
    VXCCP4Map map;
    map.MODE = 2;
    map.MAPC = axes[0], map.MAPR = axes[1], map.MAPS = axes[2];
    map.NC = kCount[axes[0] - 1], map.NR = kCount[axes[1] - 1], map.NS = kCount[axes[2] - 1];
    const int more = whole_cell ? 0 : 16;
    map.NX = kCount[0] + more, map.NY = kCount[1] + more, map.NZ = kCount[2] + more;
    map.a = map.b = map.c = 80;
    map.alpha = map.beta = map.gamma = 90;
    map.ISPG = 1;
    std::copy_n("MAP ", 4, map.MAP);
    map.MACHST = 16708;
    map.SetGridSize(kSamples);
    for (std::size_t i = 0; i < kSamples; ++i) map.data[i] = static_cast<float>(i % 1000) * 0.01f - 3.0f;
    VXHost::vxofstream out(path());
    if (!map.Write(out)) std::abort();
  }
  ~ScratchMap() { std::filesystem::remove(path_); }
  std::string path() const { return path_.string(); }

 private:
  std::filesystem::path path_;
};

void read_ours(benchmark::State& state, const std::string& path) {
  for (auto _ : state) {
    VXZemoGrid grid;
    if (!VXReadGrid(path, grid)) std::abort();
    benchmark::DoNotOptimize(grid.GetValues());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kFileBytes));
}

void read_bare(benchmark::State& state, const std::string& path) {
  for (auto _ : state) {
    const std::unique_ptr<char, decltype(&std::free)> bytes(static_cast<char*>(std::malloc(kFileBytes)),
                                                            std::free);
    FILE* const file = std::fopen(path.c_str(), "rb");
    if (std::fread(bytes.get(), 1, kFileBytes, file) != kFileBytes) std::abort();
    std::fclose(file);
    benchmark::DoNotOptimize(bytes.get());
  }
}

// The same into one buffer whose pages are there already: what the copy out of the page cache takes alone.
void read_bare_reused(benchmark::State& state, const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> bytes(static_cast<char*>(std::calloc(kFileBytes, 1)),
                                                          std::free);
  for (auto _ : state) {
    FILE* const file = std::fopen(path.c_str(), "rb");
    if (std::fread(bytes.get(), 1, kFileBytes, file) != kFileBytes) std::abort();
    std::fclose(file);
    benchmark::DoNotOptimize(bytes.get());
  }
}

void read_gemmi(benchmark::State& state, const std::string& path) {
  for (auto _ : state) {
    gemmi::Ccp4<float> map;
    map.read_ccp4_file(path);
    map.setup(0.0f, gemmi::MapSetup::ReorderOnly);
    benchmark::DoNotOptimize(map.grid.data.data());
  }
}

VXZemoGrid grid_to_write(bool cached) {
  const int axes[3] = {1, 2, 3};
  const ScratchMap file("source.map", axes, false);
  VXZemoGrid grid;
  if (!VXReadGrid(file.path(), grid)) std::abort();
  if (!cached) grid.DeleteData("ARMS");
  return grid;
}

void write_ours(benchmark::State& state, bool cached) {
  const VXZemoGrid grid = grid_to_write(cached);
  const ScratchMap to("written.map");
  for (auto _ : state)
    if (!VXWriteGrid(to.path(), grid)) std::abort();
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kFileBytes));
}

void write_bare(benchmark::State& state) {
  const VXZemoGrid grid = grid_to_write(true);
  const ScratchMap to("written.map");
  const char head[1024] = {};
  for (auto _ : state) {
    FILE* const file = std::fopen(to.path().c_str(), "wb");
    if (std::fwrite(head, 1, sizeof head, file) != sizeof head ||
        std::fwrite(grid.GetValues(), 4, kSamples, file) != kSamples || std::fclose(file) != 0)
      std::abort();
  }
}

void register_all() {
  const struct {
    const char* name;
    int axes[3];
    bool whole_cell;
  } rows[] = {{"xyz", {1, 2, 3}, false}, {"xyz_closed", {1, 2, 3}, true}, {"xzy_closed", {1, 3, 2}, true},
              {"yxz", {2, 1, 3}, false}, {"zxy_closed", {3, 1, 2}, true}, {"yzx_closed", {2, 3, 1}, true},
              {"zyx", {3, 2, 1}, false}};
  const struct {
    const char* name;
    void (*run)(benchmark::State&, const std::string&);
  } sides[] = {
      {"vxgrid", read_ours}, {"fread", read_bare}, {"fread_reused", read_bare_reused}, {"gemmi", read_gemmi}};
  for (const auto& row : rows)
    for (const auto& side : sides)
      benchmark::RegisterBenchmark((std::string("ccp4_read/") + row.name + "/" + side.name).c_str(),
                                   [row, side](benchmark::State& state) {
                                     const ScratchMap file("read.map", row.axes, row.whole_cell);
                                     side.run(state, file.path());
                                   })
          ->Unit(benchmark::kMillisecond);
  for (const bool cached : {true, false}) {
    const std::string path = std::string("ccp4_write/") + (cached ? "cached" : "searched") + "/";
    benchmark::RegisterBenchmark((path + "vxgrid").c_str(), [cached](benchmark::State& state) {
      write_ours(state, cached);
    })->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark((path + "fwrite").c_str(), write_bare)->Unit(benchmark::kMillisecond);
  }
}

}  // namespace

int main(int argc, char** argv) {
  register_all();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
