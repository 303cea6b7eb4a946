// The density of a model on a crystal's lattice: 4HG7, isotropic, on 120 x 120 x 216 points. Items are the
// points that atoms touch: ours up to the largest radius of their terms, gemmi up to its own cut-off.

#include <benchmark/benchmark.h>

#include <gemmi/dencalc.hpp>
#include <gemmi/it92.hpp>
#include <gemmi/pdb.hpp>

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/host/mol_geometry.h>
#include <vxgrid/host/pdb_data.h>

#include "tests/realspace/plain_density.h"

using namespace VXCore;

namespace {

constexpr unsigned int kDims[3] = {120, 120, 216};

const gemmi::Structure& structure() {
  static const gemmi::Structure st = [] {
    gemmi::Structure read = gemmi::read_pdb_file(VXGRID_SOURCE_DIR "/examples/data/4hg7.pdb");
    for (gemmi::CRA cra : read.models[0].all()) cra.atom->aniso = {0, 0, 0, 0, 0, 0};
    return read;
  }();
  return st;
}

VXGraphMol model(bool crystal) {
  VXGraphMol mol;
  for (gemmi::const_CRA cra : structure().models[0].all()) {
    VXAtomBase* atom = mol.AddAtom(cra.atom->element.atomic_number());
    const float xyz[3] = {static_cast<float>(cra.atom->pos.x), static_cast<float>(cra.atom->pos.y),
                          static_cast<float>(cra.atom->pos.z)};
    mol.SetCoords(atom, xyz);
    VXResidue residue;
    residue.SetBFactor(cra.atom->b_iso);
    residue.SetOccupancy(cra.atom->occ);
    VXAtomSetResidue(atom, residue);
  }
  if (crystal)
    VXSetPDBData(mol, "CRYST1", "   71.450   71.450  104.204  90.00  90.00 120.00 P 65 2 2     12");
  return mol;
}

// The lattice of the crystal: one cell from its corner, or a box of half its dimensions around the model.
VXSkewGrid lattice(bool crystal) {
  const gemmi::Mat33& orth = structure().cell.orth.mat;
  const double spacing = structure().cell.a / kDims[0];
  int dims[3];
  float orientation[9], mid[3] = {}, extents[3];
  if (!crystal) VXGetCenterAndExtents(model(false), mid, extents);
  for (int axis = 0; axis < 3; ++axis) {
    dims[axis] = static_cast<int>(kDims[axis]) / (crystal ? 1 : 2);
    for (int row = 0; row < 3; ++row) {
      orientation[3 * row + axis] = static_cast<float>(orth[row][axis] / kDims[axis] / spacing);
      if (crystal) mid[row] += static_cast<float>(orth[row][axis] * (kDims[axis] - 1) / kDims[axis] / 2);
    }
  }
  VXSkewGrid grid(VXScalarGrid(dims[0], dims[1], dims[2], mid[0], mid[1], mid[2], static_cast<float>(spacing),
                               "", nullptr));
  grid.GetImpl().SetOrientation(orientation);
  return grid;
}

void ours(benchmark::State& state, bool crystal) {
  const VXGraphMol mol = model(crystal);
  VXSkewGrid grid = lattice(crystal);
  const unsigned int touched = plain_density(grid, mol);
  for (auto _ : state) VXScatterToGrid(grid, mol);
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * touched);
}

void plain(benchmark::State& state, bool crystal) {
  const VXGraphMol mol = model(crystal);
  VXSkewGrid grid = lattice(crystal);
  unsigned int touched = 0;
  for (auto _ : state) touched = plain_density(grid, mol);
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * touched);
}

void with_gemmi(benchmark::State& state) {
  gemmi::DensityCalculator<gemmi::IT92<double>, float> calculator;
  calculator.grid.unit_cell = structure().cell;
  calculator.grid.set_size(kDims[0], kDims[1], kDims[2]);
  std::int64_t touched = 0;
  for (gemmi::const_CRA cra : structure().models[0].all()) {
    const gemmi::Atom& atom = *cra.atom;
    const auto terms = gemmi::IT92<double>::get(atom.element).precalculate_density_iso(atom.b_iso, 0);
    calculator.grid.use_points_around<true>(
        structure().cell.fractionalize(atom.pos), calculator.estimate_radius(terms, atom.b_iso),
        [&](float&, double) { ++touched; }, false);
  }
  for (auto _ : state) calculator.add_model_density_to_grid(structure().models[0]);
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * touched);
}

}  // namespace

BENCHMARK_CAPTURE(ours, , false)->Name("density/model/vxgrid")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(plain, , false)->Name("density/model/plain")->Unit(benchmark::kMillisecond);
BENCHMARK(with_gemmi)->Name("density/model/gemmi")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ours, , true)->Name("density/crystal/vxgrid")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(plain, , true)->Name("density/crystal/plain")->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
