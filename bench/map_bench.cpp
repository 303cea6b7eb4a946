// From reflections to a map: the whole road from an MTZ file, expansion, and the change of axis order.

#include <benchmark/benchmark.h>
#include <rfftw.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gemmi/fourier.hpp>
#include <gemmi/mtz.hpp>
#include <random>
#include <vector>

#include <tests/reflection/mtz_bytes.h>
#include <tests/reflection/plain_loops.h>
#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/host/large_array.h>
#include <vxgrid/host/stream.h>
#include <vxgrid/reflection/fft_backend.h>
#include <vxgrid/reflection/map_synthesis.h>
#include <vxgrid/reflection/mtz.h>
#include <vxgrid/reflection/reflection.h>

using namespace VXCore;

namespace {

// A synthetic crystal: all reflections of the asymmetric unit up to the given largest indices.
struct Crystal {
  const char* name;
  unsigned int group;
  const char* group_name;
  float cell[6];
  int h_max, k_max, l_max;
  bool h_above_k;  // the asymmetric unit of 422 rather than of 222
  int nx, ny, nz;  // of the map
};
constexpr Crystal kSmall = {"small", 19,  "P 21 21 21", {60, 74, 89, 90, 90, 90}, 39, 48, 58, false,
                            100,     122, 148};
constexpr Crystal kLarge = {"large", 90,  "P 4 21 2", {195, 195, 158, 90, 90, 90}, 128, 128, 104, true,
                            322,     322, 262};

std::string mtz_file(const Crystal& c) {
  const std::string path = (std::filesystem::temp_directory_path() /
                            ("vxgrid-bench-" + std::to_string(getpid()) + c.name + ".mtz"))
                               .string();
  if (std::filesystem::exists(path)) return path;
  MtzFile file;
  file.group = c.group;
  file.group_name = c.group_name;
  std::copy(c.cell, c.cell + 6, file.cell);
  file.columns = {{"H", 'H'},      {"K", 'H'},       {"L", 'H'},    {"FreeR_flag", 'I'}, {"FP", 'F'},
                  {"SIGFP", 'Q'},  {"FC", 'F'},      {"PHIC", 'P'}, {"FWT", 'F'},        {"PHWT", 'P'},
                  {"DELFWT", 'F'}, {"PHDELWT", 'P'}, {"FOM", 'W'}};
  std::mt19937 random(1);
  std::uniform_real_distribution<float> amplitude(1, 100), phase(0, 360);
  const auto part = [](int i, int max) { return double(i) * i / (double(max) * max); };
  for (int h = 0; h <= c.h_max; ++h)
    for (int k = 0; k <= (c.h_above_k ? h : c.k_max); ++k)
      for (int l = 0; l <= c.l_max; ++l)
        if (part(h, c.h_max) + part(k, c.k_max) + part(l, c.l_max) <= 1.0)
          for (const MtzFile::Column& column : file.columns) {
            const int index[] = {h, k, l};
            const std::size_t i = &column - file.columns.data();
            file.values.push_back(i < 3                ? static_cast<float>(index[i])
                                  : column.type == 'P' ? phase(random)
                                                       : amplitude(random));
          }
  const std::string bytes = file.bytes();
  std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  static struct Remove {
    std::vector<std::string> paths;
    ~Remove() {
      for (const std::string& p : paths) std::remove(p.c_str());
    }
  } at_exit;
  at_exit.paths.push_back(path);
  return path;
}

void read_set(const Crystal& c, VXReflection& set) {
  VXHost::vxifstream in(mtz_file(c));
  VXReadReflectionMTZ(in, set, VXMTZColumnNames());
}

void mtz_to_map_vxgrid(benchmark::State& state, const Crystal& c, VXFFTBackend backend) {
  const std::string path = mtz_file(c);
  VXSetFFTBackend(backend);
  for (auto _ : state) {
    VXSkewGrid grid;
    if (!VXReadMTZ(path, grid, VXMTZMapType::Fwt) || grid.GetXDim() != unsigned(c.nx) + 1 ||
        grid.GetZDim() != unsigned(c.nz) + 1)
      state.SkipWithError("no map of the expected size");
    benchmark::DoNotOptimize(grid.GetValues());
  }
}

// The transform alone, in place, on an array that is filled already.
void mtz_to_map_fftw2(benchmark::State& state, const Crystal& c) {
  const std::size_t n = std::size_t(c.nx) * c.ny * 2 * (c.nz / 2 + 1);
  auto* const data = static_cast<double*>(fftw_malloc(n * sizeof(double)));
  for (auto _ : state) {
    state.PauseTiming();
    for (std::size_t i = 0; i < n; ++i) data[i] = static_cast<double>(i % 100);
    state.ResumeTiming();
    const rfftwnd_plan plan =
        rfftw3d_create_plan(c.nx, c.ny, c.nz, FFTW_COMPLEX_TO_REAL, FFTW_IN_PLACE | FFTW_USE_WISDOM);
    rfftwnd_one_complex_to_real(plan, reinterpret_cast<fftw_complex*>(data), nullptr);
    rfftwnd_destroy_plan(plan);
  }
  fftw_free(data);
}

void mtz_to_map_gemmi(benchmark::State& state, const Crystal& c) {
  const std::string path = mtz_file(c);
  for (auto _ : state) {
    gemmi::Mtz mtz;
    mtz.read_file(path);
    const gemmi::FPhiProxy<gemmi::MtzDataProxy> coefficients(
        gemmi::MtzDataProxy{mtz}, mtz.column_with_label("FWT")->idx, mtz.column_with_label("PHWT")->idx);
    const gemmi::Grid<float> grid =
        gemmi::transform_f_phi_to_map<float>(coefficients, {c.nx, c.ny, c.nz}, 0, true);
    benchmark::DoNotOptimize(grid.data.data());
  }
}

template <class F>
void expand(benchmark::State& state, F&& run) {
  VXReflection source;
  read_set(kSmall, source);
  for (auto _ : state) {
    state.PauseTiming();
    VXReflection set = source;
    state.ResumeTiming();
    run(*set.GetImpl());
    state.PauseTiming();
    set.Clear();
    state.ResumeTiming();
  }
}

// The array of a small map's transform, as if transformed.
struct Transformed {
  std::vector<double> array;
  FFTMap map;
  Transformed()
      : map{kSmall.nx, kSmall.ny, kSmall.nz,
            kSmall.nx, kSmall.ny, kSmall.nz / 2 + 1,
            kSmall.nx, kSmall.ny, 2 * (kSmall.nz / 2 + 1),
            nullptr,   nullptr,   1} {
    array.resize(std::size_t(map.rx) * map.ry * map.rz);
    for (std::size_t i = 0; i < array.size(); ++i) array[i] = static_cast<double>(i % 1000);
    map.real_data = array.data();
  }
};

// Both sides write into fresh memory, as a map does.
void reorder_vxgrid(benchmark::State& state) {
  const Transformed t;
  const std::size_t n = std::size_t(t.map.nx + 1) * (t.map.ny + 1) * (t.map.nz + 1);
  for (auto _ : state) {
    VXHost::VXLargeArray<float> out(n, VXHost::VXLargeArray<float>::Uninitialised);
    ReorderWithZeroPlanes(t.map, out.data());
    benchmark::DoNotOptimize(out.data());
  }
}

// The reals of a transform as floats with x fastest; the caller frees the block.
float* plain_reorder(const FFTMap& map) {
  float* const out = static_cast<float*>(std::malloc(sizeof(float) * map.nx * map.ny * map.nz));
  for (int z = 0; z < map.nz; ++z)
    for (int y = 0; y < map.ny; ++y)
      for (int x = 0; x < map.nx; ++x)
        out[(static_cast<std::size_t>(z) * map.ny + y) * map.nx + x] =
            static_cast<float>(map.real_data[(static_cast<std::size_t>(x) * map.ry + y) * map.rz + z]);
  return out;
}

void reorder_plain(benchmark::State& state) {
  const Transformed t;
  for (auto _ : state) {
    float* const block = plain_reorder(t.map);
    float* const out =
        CopyZeroPlanes(t.map.nx, t.map.ny, t.map.nz, t.map.nx + 1, t.map.ny + 1, t.map.nz + 1, block);
    benchmark::DoNotOptimize(out);
    std::free(block);
    std::free(out);
  }
}

}  // namespace

int main(int argc, char** argv) {
  for (const Crystal* c : {&kSmall, &kLarge}) {
    const auto add = [c](const std::string& path, const char* side, auto run) {
      benchmark::RegisterBenchmark((path + "/" + c->name + "/" + side).c_str(), run)
          ->Unit(benchmark::kMillisecond);
    };
    add("mtz_to_map_fftw2", "vxgrid",
        [c](benchmark::State& state) { mtz_to_map_vxgrid(state, *c, VXFFTBackend::FFTW2); });
    add("mtz_to_map_fftw2", "fftw2", [c](benchmark::State& state) { mtz_to_map_fftw2(state, *c); });
    add("mtz_to_map_pocketfft", "vxgrid",
        [c](benchmark::State& state) { mtz_to_map_vxgrid(state, *c, VXFFTBackend::PocketFFT); });
    add("mtz_to_map_pocketfft", "gemmi", [c](benchmark::State& state) { mtz_to_map_gemmi(state, *c); });
  }
  benchmark::RegisterBenchmark("expand/vxgrid", [](benchmark::State& state) {
    expand(state, [](VXReflectionImpl& set) { set.Expand(); });
  })->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("expand/plain", [](benchmark::State& state) {
    expand(state, plain_expand);
  })->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("reorder/vxgrid", reorder_vxgrid)->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("reorder/plain", reorder_plain)->Unit(benchmark::kMillisecond);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
