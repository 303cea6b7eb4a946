// The errors of structure factors: of the table method against the exact sum, and of the exact sum against
// gemmi's direct sum of the same atoms.
//
//     structure_factor_accuracy MODEL.pdb DATA.mtz [MODEL.pdb DATA.mtz ...]
//
// A table a crystal, in ten shells of as many reflections each, in relative terms of amplitudes: "mean" is
// sum |F - F'| / sum F', "worst" the largest |F - F'| / F' where F' is at least a tenth of the mean amplitude
// of the shell; "phase" is the mean difference of phases in degrees. All atoms of the file count, alternate
// conformations too, but for hydrogens: the table method takes them for carbon.

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdio>
#include <ctime>
#include <vector>

#include <gemmi/modify.hpp>

#include <vxgrid/host/molecule.h>
#include <vxgrid/host/stream.h>
#include <vxgrid/reflection/mtz.h>
#include <vxgrid/reflection/reflection_impl.h>
#include <vxgrid/reflection/structure_factors.h>

#include "tests/reflection/gemmi_model.h"

using namespace VXCore;

namespace {

using Complex = std::complex<double>;

struct Row {
  double d;  // Å
  Complex table, exact, gemmi;
};

/// Seconds of processor time that `work` takes.
template <class Work>
double time_of(Work work) {
  const std::clock_t start = std::clock();
  work();
  return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

Complex calculated(const VXReflectionImpl& set, std::size_t i) {
  return std::polar<double>(set.fcalc[i], set.phase_calc[i] * M_PI / 180);
}

struct Error {
  double mean = 0, worst = 0, phase = 0;
};

Error error_of(const Row* first, const Row* last, Complex Row::*value, Complex Row::*reference) {
  Error error;
  double sum = 0, phases = 0;
  const double n = static_cast<double>(last - first);
  for (const Row* row = first; row != last; ++row) {
    sum += std::abs(row->*reference);
    error.mean += std::fabs(std::abs(row->*value) - std::abs(row->*reference));
    phases += std::fabs(std::arg(row->*value * std::conj(row->*reference)));
  }
  for (const Row* row = first; row != last; ++row) {
    const double f = std::abs(row->*reference);
    if (f >= 0.1 * sum / n) error.worst = std::max(error.worst, std::fabs(std::abs(row->*value) / f - 1));
  }
  error.mean /= sum;
  error.phase = phases / n * 180 / M_PI;
  return error;
}

void print_row(const Row* first, const Row* last) {
  const Error table = error_of(first, last, &Row::table, &Row::exact);
  const Error exact = error_of(first, last, &Row::exact, &Row::gemmi);
  std::printf("| %.2f - %.2f | %ld | %.2f %% | %.1f %% | %.2f | %.1e | %.1e | %.1e |\n", first->d, last[-1].d,
              static_cast<long>(last - first), 100 * table.mean, 100 * table.worst, table.phase, exact.mean,
              exact.worst, exact.phase);
}

int report(const char* model, const char* data) {
  gemmi::Structure structure = read_isotropic(model);
  gemmi::remove_hydrogens(structure);
  const VXGraphMol mol = molecule_of(structure);
  VXReflection set;
  VXHost::vxifstream in(data);
  unsigned int skipped = 0;
  if (!VXReadReflectionMTZ(in, set, VXMTZColumnNames()) || !set.CalcResolution()) return 1;

  const VXReflectionImpl& r = *set.GetImpl();
  std::vector<Row> rows(r.nref);
  const double table_time = time_of([&] { set.SFCalc(mol); });
  for (std::size_t i = 0; i < rows.size(); ++i) rows[i].table = calculated(r, i);
  const double exact_time = time_of([&] { VXStructureFactors(set, mol, skipped); });
  for (std::size_t i = 0; i < rows.size(); ++i) {
    rows[i].exact = calculated(r, i);
    rows[i].d = 0.5 / std::sqrt(double{r.stolsq[i]});
  }
  const gemmi::UnitCell cell = cell_of(set);
  gemmi::StructureFactorCalculator<gemmi::IT92<double>> calculator(cell);
  const double gemmi_time = time_of([&] {
    for (std::size_t i = 0; i < rows.size(); ++i)
      rows[i].gemmi = calculator.calculate_sf_from_model(structure.models[0], {r.h[i], r.k[i], r.l[i]});
  });

  std::printf("%s: %u atoms (%u skipped), %u operators, %zu reflections\n", model, mol.NumAtoms(), skipped,
              set.GetSymmetry().GetOpCount(), rows.size());
  std::printf("seconds: table %.2f, exact %.2f, gemmi %.2f\n\n", table_time, exact_time, gemmi_time);
  std::printf("| d (Å) | reflections | table: mean | worst | phase | exact: mean | worst | phase |\n");
  std::printf("|---|---|---|---|---|---|---|---|\n");
  std::sort(rows.begin(), rows.end(), [](const Row& a, const Row& b) { return a.d > b.d; });
  constexpr std::size_t kShells = 10;
  for (std::size_t shell = 0; shell < kShells; ++shell)
    print_row(&rows[rows.size() * shell / kShells], rows.data() + rows.size() * (shell + 1) / kShells);
  print_row(rows.data(), rows.data() + rows.size());
  std::printf("\n");
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3 || argc % 2 == 0) {
    std::fprintf(stderr, "usage: structure_factor_accuracy MODEL.pdb DATA.mtz [MODEL.pdb DATA.mtz ...]\n");
    return 2;
  }
  int failed = 0;
  for (int i = 1; i < argc; i += 2) failed |= report(argv[i], argv[i + 1]);
  return failed;
}
