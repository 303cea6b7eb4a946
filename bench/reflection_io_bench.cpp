// Reflection files of 100,000 reflections with amplitude, sigma, phase and figure of merit, read from memory
// in each text format, against gemmi on the same numbers as mmCIF in memory: its parser and the columns as
// vectors.

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <gemmi/cif.hpp>
#include <gemmi/refln.hpp>
#include <string>

#include <vxgrid/host/stream.h>
#include <vxgrid/reflection/reflection.h>
#include <vxgrid/reflection/reflection_io.h>

namespace {

using namespace VXCore;

constexpr unsigned int kReflections = 100000;

template <class Line>
std::string made_text(std::string text, Line&& print_line) {
  char line[256];
  for (unsigned int i = 0; i < kReflections; ++i) {
    const int h = static_cast<int>(i / 2500) - 20, k = static_cast<int>(i / 50 % 50),
              l = static_cast<int>(i % 50);
    const double f = 1.0 + i % 9973 * 0.217, sigma = 0.3 + i % 89 * 0.113, phase = i % 3600 * 0.1,
                 fom = i % 1000 * 0.001;
    text.append(line, static_cast<std::size_t>(print_line(line, sizeof line, h, k, l, f, sigma, phase, fom)));
  }
  return text;
}

std::string hkl_text() {
  return made_text(
      "", [](char* to, std::size_t n, int h, int k, int l, double f, double s, double p, double m) {
        return std::snprintf(to, n, "HKL %5d%5d%5d %10.3f %9.3f %9.3f %7.4f\n", h, k, l, f, s, p, m);
      });
}
std::string phs_text() {
  return made_text(
      "", [](char* to, std::size_t n, int h, int k, int l, double f, double, double p, double m) {
        return std::snprintf(to, n, "%5d%5d%5d %10.3f %10.3f %10.3f  %11.5f %11.5f %11.5f %11.5f\n", h, k, l,
                             f, m, p, m, 0.1, 0.2, 0.3);
      });
}
std::string fob_text() {
  return made_text(
      "", [](char* to, std::size_t n, int h, int k, int l, double f, double s, double p, double m) {
        return std::snprintf(to, n, "INDE %5d%5d%5d FOBS= %11.5f %11.5f SIGMa= %8.5f FOM= %8.5f \n", h, k, l,
                             f, p, s, m);
      });
}
std::string cif_text() {
  return made_text(
      "data_x\nloop_\n_refln.crystal_id\n_refln.wavelength_id\n_refln.scale_group_code\n_refln.index_h\n"
      "_refln.index_k\n_refln.index_l\n_refln.status\n_refln.F_meas_sigma_au\n_refln.F_meas_au\n"
      "_refln.phase_calc\n_refln.fom\n",
      [](char* to, std::size_t n, int h, int k, int l, double f, double s, double p, double m) {
        return std::snprintf(to, n, "1 1 1 %4d %4d %4d o %8.3f %9.3f %7.2f %6.4f \n", h, k, l, s, f, p, m);
      });
}

void read_ours(benchmark::State& state, bool (*read)(VXHost::vxistream&, VXReflection&), std::string text) {
  for (auto _ : state) {
    VXHost::vxisstream in;
    in.set(text.data(), text.size(), false);
    VXReflection set;
    if (!read(in, set) || set.GetCount() != kReflections) std::abort();
    benchmark::DoNotOptimize(set.GetImpl());
  }
}

void read_gemmi(benchmark::State& state) {
  const std::string text = cif_text();
  for (auto _ : state) {
    gemmi::ReflnBlock block(std::move(gemmi::cif::read_memory(text.data(), text.size(), "text").blocks[0]));
    const auto indices = block.make_miller_vector();
    if (indices.size() != kReflections) std::abort();
    for (const char* name : {"F_meas_au", "F_meas_sigma_au", "phase_calc", "fom"})
      benchmark::DoNotOptimize(block.make_vector<float>(name, NAN));
  }
}

void read_vxx(benchmark::State& state) {
  VXReflection set;
  VXHost::vxisstream text(cif_text());
  VXHost::vxosstream image;
  if (!VXReadReflectionCIF(text, set) || !VXWriteReflectionVXX(image, set)) std::abort();
  read_ours(
      state, [](VXHost::vxistream& in, VXReflection& to) { return VXReadReflectionVXX(in, to) == 0; },
      image.str());
}

void write_ours(benchmark::State& state, bool (*write)(VXHost::vxostream&, VXReflection&)) {
  VXReflection set;
  VXHost::vxisstream text(fob_text());
  if (!VXReadReflectionXPLOR(text, set)) std::abort();
  for (auto _ : state) {
    VXHost::vxosstream out;
    if (!write(out, set)) std::abort();
  }
}

void register_all() {
  const struct {
    const char* format;
    bool (*read)(VXHost::vxistream&, VXReflection&);
    std::string (*text)();
  } rows[] = {{"hkl", VXReadReflectionHKL, hkl_text},
              {"phs", VXReadReflectionPHS, phs_text},
              {"cif", VXReadReflectionCIF, cif_text},
              {"fob", VXReadReflectionXPLOR, fob_text}};
  for (const auto& row : rows) {
    const std::string path = std::string("reflections_read/") + row.format + "/";
    benchmark::RegisterBenchmark((path + "vxgrid").c_str(), read_ours, row.read, row.text())
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark((path + "gemmi").c_str(), read_gemmi)->Unit(benchmark::kMillisecond);
  }
  benchmark::RegisterBenchmark("reflections_read/vxx/vxgrid", read_vxx)->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("reflections_write/phs/vxgrid", write_ours, VXWriteReflectionPHS)
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("reflections_write/fob/vxgrid", write_ours, VXWriteReflectionXPLOR)
      ->Unit(benchmark::kMillisecond);
}

}  // namespace

int main(int argc, char** argv) {
  register_all();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
