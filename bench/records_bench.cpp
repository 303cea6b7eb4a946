// Native records of 64 MiB of samples, plain and crystallographic grids, against fwrite and fread of the bare
// bytes, and 10^5 Gaussians.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include <vxgrid/exchange/grid_records.h>
#include <vxgrid/gaussian/gaussian_container.h>

namespace {

using namespace VXCore;

constexpr int kDim = 256;
constexpr std::size_t kBytes = std::size_t{kDim} * kDim * kDim * 4;

std::string scratch() {
  return (std::filesystem::temp_directory_path() / (std::to_string(getpid()) + ".vxb")).string();
}

const VXBinaryIOHandler& handler() {
  static const VXBinaryIOHandler& known = *[] {
    auto* const made = new VXBinaryIOHandler;
    VXInitGridHandlers(*made);
    return made;
  }();
  return known;
}

VXScalarGrid sample() {
  VXScalarGrid grid(kDim, kDim, kDim, 0, 0, 0, 0.5f, "records", nullptr);
  for (unsigned int i = 0; i < grid.GetSize(); ++i) grid[i] = static_cast<float>(i % 1000) * 0.01f - 3.0f;
  return grid;
}

template <class T>
void write_once(const T& object) {
  VXHost::vxofstream out(scratch());
  if (!VXBinaryWrite<T>(out, object, handler()) || !out.close()) std::abort();
}

template <class T>
void write_ours(benchmark::State& state) {
  const T grid(sample());
  for (auto _ : state) write_once(grid);
  std::filesystem::remove(scratch());
}

template <class T>
void read_ours(benchmark::State& state) {
  write_once(T(sample()));
  for (auto _ : state) {
    T grid;
    VXHost::vxifstream in(scratch());
    if (VXBinaryRead<T>(in, grid, handler()) != VXBDone) std::abort();
    benchmark::DoNotOptimize(&grid);
  }
  std::filesystem::remove(scratch());
}

void write_bare(benchmark::State& state) {
  const VXScalarGrid grid = sample();
  for (auto _ : state) {
    FILE* const file = std::fopen(scratch().c_str(), "wb");
    if (std::fwrite(grid.GetValues(), 1, kBytes, file) != kBytes || std::fclose(file) != 0) std::abort();
  }
  std::filesystem::remove(scratch());
}

// Into new memory, as a grid is, or into memory whose pages are there already.
void read_bare(benchmark::State& state, bool reuse) {
  write_once(sample());
  std::unique_ptr<char, decltype(&std::free)> bytes(static_cast<char*>(std::calloc(kBytes, 1)), std::free);
  for (auto _ : state) {
    if (!reuse) bytes.reset(static_cast<char*>(std::malloc(kBytes)));
    FILE* const file = std::fopen(scratch().c_str(), "rb");
    if (std::fread(bytes.get(), 1, kBytes, file) != kBytes) std::abort();
    std::fclose(file);
    benchmark::DoNotOptimize(bytes.get());
  }
  std::filesystem::remove(scratch());
}

void gaussians(benchmark::State& state) {
  VXGaussianContainer set;
  for (int i = 0; i < 100000; ++i) set.AddGaussian(VXGaussian(2.7f, 1.0f, static_cast<float>(i), 0, 0, 0));
  for (auto _ : state) {
    write_once<VXGaussianContainerBase>(set);
    VXHost::vxifstream in(scratch());
    VXGaussianContainer read;
    if (VXBinaryRead<VXGaussianContainerBase>(in, read, handler()) != VXBDone) std::abort();
  }
  std::filesystem::remove(scratch());
}

BENCHMARK(write_ours<VXScalarGrid>)->Name("records_write/scalar/vxgrid")->Unit(benchmark::kMillisecond);
BENCHMARK(write_bare)->Name("records_write/scalar/fwrite")->Unit(benchmark::kMillisecond);
BENCHMARK(write_ours<VXSkewGrid>)->Name("records_write/skew/vxgrid")->Unit(benchmark::kMillisecond);
BENCHMARK(write_bare)->Name("records_write/skew/fwrite")->Unit(benchmark::kMillisecond);
BENCHMARK(read_ours<VXScalarGrid>)->Name("records_read/scalar/vxgrid")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(read_bare, , false)->Name("records_read/scalar/fread")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(read_bare, , true)->Name("records_read/scalar/fread_reused")->Unit(benchmark::kMillisecond);
BENCHMARK(read_ours<VXSkewGrid>)->Name("records_read/skew/vxgrid")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(read_bare, , false)->Name("records_read/skew/fread")->Unit(benchmark::kMillisecond);
BENCHMARK(gaussians)->Name("records_gaussians/vxgrid")->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
