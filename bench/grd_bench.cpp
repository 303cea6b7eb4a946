// GRD files of 256 x 256 x 256 floats, 64 MiB: reading against fread of the same bytes into new memory,
// writing against fwrite. A plain grid also stores an integer for each sample, all 0.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include <vxgrid/formats/gridio.h>
#include <vxgrid/host/binary_records.h>

namespace {

using namespace VXCore;

class ScratchFile {
 public:
  explicit ScratchFile(const char* name)
      : path_(std::filesystem::temp_directory_path() / (std::to_string(getpid()) + name)) {}
  ~ScratchFile() { std::filesystem::remove(path_); }
  std::string path() const { return path_.string(); }
  std::size_t size() const { return std::filesystem::file_size(path_); }

 private:
  std::filesystem::path path_;
};

VXScalarGrid plain_grid() {
  VXScalarGrid grid(256, 256, 256, 0.0f, 0.0f, 0.0f, 0.5f, "bench", nullptr);
  for (unsigned int i = 0; i < grid.GetSize(); ++i)
    grid.GetValues()[i] = static_cast<float>(i % 1000) * 0.01f - 3.0f;
  return grid;
}

// A file of this grid; with `swap` of a machine of the other byte order: the number behind each state word,
// and every word behind the last of them, is reversed.
void make_file(const ScratchFile& file, const VXZemoGrid& grid, bool swap) {
  VXHost::vxosstream out;
  VXWriteGrid(out, grid, 2);
  std::string bytes = out.str();
  const std::size_t values = std::size_t{grid.GetSize()} * 4;
  const auto reverse = [&](std::size_t at, std::size_t n) {
    ArraySwapBytes(reinterpret_cast<unsigned char*>(&bytes[at]), n / 4, 4);
  };
  if (swap) {
    std::size_t at = 84;  // behind the title
    const auto item = [&](std::size_t n) {
      bytes[at] = static_cast<char>(bytes[at] * 2);
      reverse(at + 4, n);
      at += 4 + n;
    };
    for (int i = 0; i < 7; ++i) item(4);
    item(values);
    item(0);  // no integers
    item(36);
    item(4), item(4);
    reverse(at, bytes.size() - at);
  }
  VXHost::vxofstream to(file.path());
  if (!to.write(bytes.data(), bytes.size()).close()) std::abort();
}

template <class Grid>
void read_ours(benchmark::State& state, const ScratchFile& file) {
  for (auto _ : state) {
    Grid grid;
    if (!VXReadGrid(file.path(), grid)) std::abort();
    benchmark::DoNotOptimize(grid.GetValues());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * file.size()));
}

void read_bare(benchmark::State& state, const ScratchFile& from) {
  const std::size_t size = from.size();
  for (auto _ : state) {
    const std::unique_ptr<char, decltype(&std::free)> bytes(static_cast<char*>(std::malloc(size)), std::free);
    FILE* const file = std::fopen(from.path().c_str(), "rb");
    if (std::fread(bytes.get(), 1, size, file) != size) std::abort();
    std::fclose(file);
    benchmark::DoNotOptimize(bytes.get());
  }
}

template <class Grid>
void write_ours(benchmark::State& state, const Grid& grid) {
  const ScratchFile to("written.grd");
  for (auto _ : state)
    if (!VXWriteGrid(to.path(), grid)) std::abort();
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * to.size()));
}

void write_bare(benchmark::State& state, std::size_t size) {
  const std::unique_ptr<char, decltype(&std::free)> bytes(static_cast<char*>(std::malloc(size)), std::free);
  std::fill_n(bytes.get(), size, 'x');
  const ScratchFile to("written.bin");
  for (auto _ : state) {
    FILE* const file = std::fopen(to.path().c_str(), "wb");
    if (std::fwrite(bytes.get(), 1, size, file) != size || std::fclose(file) != 0) std::abort();
  }
}

void register_all(const VXZemoGrid& floats, const VXScalarGrid& plain, const ScratchFile& own,
                  const ScratchFile& other, const ScratchFile& both) {
  const auto add = [](const char* name, auto run) {
    benchmark::RegisterBenchmark(name, run)->Unit(benchmark::kMillisecond);
  };
  add("grd_read/floats/vxgrid", [&](auto& state) { read_ours<VXZemoGrid>(state, own); });
  add("grd_read/floats/fread", [&](auto& state) { read_bare(state, own); });
  add("grd_read/floats_swapped/vxgrid", [&](auto& state) { read_ours<VXZemoGrid>(state, other); });
  add("grd_read/floats_swapped/fread", [&](auto& state) { read_bare(state, other); });
  add("grd_read/plain/vxgrid", [&](auto& state) { read_ours<VXScalarGrid>(state, both); });
  add("grd_read/plain/fread", [&](auto& state) { read_bare(state, both); });
  add("grd_write/floats/vxgrid", [&](auto& state) { write_ours(state, floats); });
  add("grd_write/floats/fwrite", [&](auto& state) { write_bare(state, own.size()); });
  add("grd_write/plain/vxgrid", [&](auto& state) { write_ours(state, plain); });
  add("grd_write/plain/fwrite", [&](auto& state) { write_bare(state, both.size()); });
}

}  // namespace

int main(int argc, char** argv) {
  const VXScalarGrid plain = plain_grid();
  VXZemoGrid floats;
  floats = plain;  // without integers
  const ScratchFile own("own.grd"), other("other.grd"), both("both.grd");
  make_file(own, floats, false);
  make_file(other, floats, true);
  make_file(both, VXZemoGrid(plain), false);
  VXZemoGrid check;
  if (!VXReadGrid(other.path(), check) || check.GetValues()[7] != plain.GetValues()[7]) std::abort();
  register_all(floats, plain, own, other, both);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
