// Structure factors by the table method: 2,500 atoms of a chain, eight operators, 20,000 reflections. Items
// are terms, one a reflection, atom and operator; the other program's exact sum takes fewer reflections.

#include <benchmark/benchmark.h>

#include <cmath>

#include <gemmi/it92.hpp>
#include <gemmi/sfcalc.hpp>
#include <gemmi/symmetry.hpp>

#include <vxgrid/reflection/reflection.h>

#include "tests/realspace/model.h"
#include "tests/reflection/plain_sfcalc.h"

using namespace VXCore;

namespace {

constexpr unsigned int kGroup = 94;  // P 42 21 2
constexpr unsigned int kOperators = 8;
constexpr double kCell[6] = {78.0, 78.0, 96.0, 90.0, 90.0, 90.0};
constexpr int kAtoms = 2500;
constexpr unsigned int kReflections = 20000, kTheirReflections = 200;

/// Without the chain's hydrogens, and with B factors from 12 to 60 Å².
const VXGraphMol& model() {
  static const VXGraphMol mol = [] {
    VXGraphMol chain = helix(kAtoms);
    VXSuppressHydrogens(chain);
    int i = 0;
    for (VXAtomBase& atom : VXIter<VXAtomBase>(chain.GetAtoms())) {
      VXResidue residue = VXAtomGetResidue(&atom);
      residue.SetBFactor(12.0f + 0.37f * static_cast<float>(i++ * 29 % 131));
      VXAtomSetResidue(&atom, residue);
    }
    return chain;
  }();
  return mol;
}

/// The reflections of lowest resolution in the half with l > 0, with their resolution.
VXReflection reflections(unsigned int count) {
  VXReflection set;
  std::vector<int> h, k, l;
  for (int r = 0; h.size() < count; ++r)  // shell by shell
    for (int i = -r; i <= r; ++i)
      for (int j = -r; j <= r; ++j)
        for (int m = 1; m <= r; ++m) {
          const int square = i * i + j * j + m * m;
          if (square < r * r || square >= (r + 1) * (r + 1) || h.size() == count) continue;
          h.push_back(i), k.push_back(j), l.push_back(m);
        }
  set.SetCount(count);
  set.SetHKL(h.data(), k.data(), l.data(), count);
  float cell[6];
  std::copy(kCell, kCell + 6, cell);
  set.SetSymmetry(VXXtal::VXSymmetry(kGroup, VXXtal::VXUnitCell(cell)));
  set.CalcResolution();
  return set;
}

void report(benchmark::State& state, std::int64_t count) {
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * count * kAtoms * kOperators);
}

void ours(benchmark::State& state) {
  VXReflection set = reflections(kReflections);
  for (auto _ : state)
    if (!set.SFCalc(model())) state.SkipWithError("SFCalc");
  report(state, kReflections);
}

void plain(benchmark::State& state) {
  const VXReflection set = reflections(kReflections);
  std::vector<float> amplitudes, phases;
  for (auto _ : state) PlainSFCalc(*set.GetImpl(), model()).Run(amplitudes, phases);
  report(state, kReflections);
}

void with_gemmi(benchmark::State& state) {
  const VXReflection set = reflections(kReflections);
  gemmi::UnitCell cell(kCell[0], kCell[1], kCell[2], kCell[3], kCell[4], kCell[5]);
  cell.set_cell_images_from_spacegroup(gemmi::find_spacegroup_by_number(kGroup));
  gemmi::Model theirs("1");
  theirs.chains.emplace_back("A");
  theirs.chains[0].residues.emplace_back();
  for (const VXAtomBase& atom : VXIter<VXAtomBase>(model().GetAtoms())) {
    float xyz[3];
    model().GetCoords(&atom, xyz);
    gemmi::Atom site;
    site.element = gemmi::Element(static_cast<int>(atom.GetAtomicNum()));
    site.pos = gemmi::Position(xyz[0], xyz[1], xyz[2]);
    site.b_iso = VXAtomGetResidue(&atom).GetBFactor();
    theirs.chains[0].residues[0].atoms.push_back(site);
  }
  gemmi::StructureFactorCalculator<gemmi::IT92<double>> calculator(cell);
  const VXReflectionImpl& r = *set.GetImpl();
  constexpr unsigned int kStride = kReflections / kTheirReflections;
  for (auto _ : state)
    for (unsigned int i = 0; i < kReflections; i += kStride)
      benchmark::DoNotOptimize(calculator.calculate_sf_from_model(theirs, {{r.h[i], r.k[i], r.l[i]}}));
  report(state, kTheirReflections);
}

}  // namespace

BENCHMARK(ours)->Name("sfcalc/vxgrid")->Unit(benchmark::kMillisecond);
BENCHMARK(plain)->Name("sfcalc/plain")->Unit(benchmark::kMillisecond);
BENCHMARK(with_gemmi)->Name("sfcalc/gemmi")->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
