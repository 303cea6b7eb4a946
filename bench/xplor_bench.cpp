// A text map of 10^6 samples in memory: the reader against std::from_chars on its fields, cut at 12
// characters.

#include <benchmark/benchmark.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <vxgrid/formats/xplor.h>

namespace {

constexpr int kSide = 100;
constexpr std::size_t kSamples = std::size_t{kSide} * kSide * kSide;

std::string text_map(const char* mode) {
  std::string text = "\n       1 !NTITLE\n REMARKS\n";
  char field[100];
  for (int axis = 0; axis < 3; ++axis)
    text.append(field, std::snprintf(field, sizeof field, "%8d%8d%8d", kSide + 9, 0, kSide - 1));
  text += "\n 8.00000E+01 8.00000E+01 8.00000E+01 9.00000E+01 9.00000E+01 9.00000E+01\n";
  text += mode;
  text += '\n';
  for (int section = 0; section < kSide; ++section) {
    text.append(field, std::snprintf(field, sizeof field, "%8d\n", section));
    for (int i = 1; i <= kSide * kSide; ++i) {
      const double value = ((section * 7919 + i * 104729) % 100003 - 50000) * 1.7e-4;
      text.append(field, std::snprintf(field, sizeof field, "%12.5E", value));
      if (i % 6 == 0 || i == kSide * kSide) text += '\n';
    }
  }
  return text;
}

void read_ours(benchmark::State& state, const char* mode) {
  std::string text = text_map(mode);
  for (auto _ : state) {
    VXHost::vxisstream in;
    in.set(text.data(), text.size(), false);
    VXCore::VXZemoGrid grid;
    if (!VXCore::VXReadXPLORMap(in, grid)) std::abort();
    benchmark::DoNotOptimize(grid.GetValues());
  }
}

void convert_fields(benchmark::State& state) {
  std::string fields = text_map("ZYX");
  fields = fields.substr(fields.find("ZYX\n") + 4);
  for (auto _ : state) {
    std::vector<float> values(kSamples);
    const char* at = fields.data();
    std::size_t done = 0;
    for (int section = 0; section < kSide; ++section) {
      at += 9;
      for (int i = 1; i <= kSide * kSide; ++i, at += 12) {
        std::from_chars(at + (*at == ' '), at + 12, values[done++]);
        at += i % 6 == 0 || i == kSide * kSide;
      }
    }
    if (at[-2] == ' ' || done != kSamples) std::abort();
    benchmark::DoNotOptimize(values.data());
  }
}

void read_zyx(benchmark::State& state) { read_ours(state, "ZYX"); }
void read_xyz(benchmark::State& state) { read_ours(state, "XYZ"); }

}  // namespace

BENCHMARK(read_zyx)->Name("xplor_read/zyx/vxgrid")->Unit(benchmark::kMillisecond);
BENCHMARK(convert_fields)->Name("xplor_read/zyx/from_chars")->Unit(benchmark::kMillisecond);
BENCHMARK(read_xyz)->Name("xplor_read/xyz/vxgrid")->Unit(benchmark::kMillisecond);
BENCHMARK(convert_fields)->Name("xplor_read/xyz/from_chars")->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
