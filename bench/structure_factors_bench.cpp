// Structure factors by direct summation: 2,500 atoms of a protein's elements at random places, 8 operators
// (P 43 21 2) and 20,000 reflections up to 1.5 Å. Items are reflections x atoms x operators; gemmi sums 50 of
// the reflections.

#include <benchmark/benchmark.h>

#include <random>

#include <vxgrid/reflection/structure_factors.h>

#include "tests/reflection/gemmi_model.h"
#include "tests/reflection/support.h"

using namespace VXCore;

namespace {

constexpr int kAtoms = 2500, kReflections = 20000, kReflectionsForGemmi = 50, kOperators = 8;
constexpr unsigned int kGroup = 96;
constexpr float kEdge = 80, kHeight = 38;  // Å

gemmi::Structure structure() {
  std::mt19937 random(1);
  std::uniform_real_distribution<double> share(0, 1);
  gemmi::Residue residue;
  for (int i = 0; i < kAtoms; ++i) {
    gemmi::Atom atom;
    const double element = share(random);
    atom.element = element < 0.62 ? gemmi::El::C : element < 0.79 ? gemmi::El::N : gemmi::El::O;
    atom.pos = {kEdge * share(random), kEdge * share(random), kHeight * share(random)};
    atom.b_iso = static_cast<float>(10 + 30 * share(random));
    residue.atoms.push_back(atom);
  }
  gemmi::Structure made;
  made.models.emplace_back("1");
  made.models[0].chains.emplace_back("A");
  made.models[0].chains[0].residues.push_back(residue);
  return made;
}

VXReflection reflections() {
  std::vector<Coefficient> list;
  for (int h = 0; list.size() < kReflections; ++h)
    for (int k = 0; k <= h; ++k)
      for (int l = 0; l <= 25 && list.size() < kReflections; ++l) list.push_back({h, k, l});
  return make_set(list, kGroup, {kEdge, kEdge, kHeight, 90, 90, 90});
}

void set_terms(benchmark::State& state, int count) {
  state.SetItemsProcessed(state.iterations() * std::int64_t{count} * kAtoms * kOperators);
}

void ours(benchmark::State& state) {
  const VXGraphMol mol = molecule_of(structure());
  VXReflection set = reflections();
  unsigned int skipped = 0;
  for (auto _ : state) benchmark::DoNotOptimize(VXStructureFactors(set, mol, skipped));
  set_terms(state, kReflections);
}

void with_gemmi(benchmark::State& state) {
  const gemmi::Structure model = structure();
  const VXReflection set = reflections();
  const gemmi::UnitCell cell = cell_of(set);
  gemmi::StructureFactorCalculator<gemmi::IT92<double>> calculator(cell);
  const VXReflectionImpl& r = *set.GetImpl();
  constexpr int kStep = kReflections / kReflectionsForGemmi;
  for (auto _ : state)
    for (int i = 0; i < kReflections; i += kStep)
      benchmark::DoNotOptimize(calculator.calculate_sf_from_model(model.models[0], {r.h[i], r.k[i], r.l[i]}));
  set_terms(state, kReflectionsForGemmi);
}

}  // namespace

BENCHMARK(ours)->Name("structure_factors/vxgrid")->Unit(benchmark::kMillisecond);
BENCHMARK(with_gemmi)->Name("structure_factors/gemmi")->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
