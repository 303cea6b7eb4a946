// Grids from molecules. The first 68 atoms of 4HG7, whose box with its margins is 19.7 x 24.5 x 19.0 Å: about
// 100^3 points of 0.21 Å and 200^3 of 0.105 Å, from the molecule to a grid of its own; and a grid of 0.5 Å
// that is there, as RDKit takes it, 31 x 41 x 30.

#include <benchmark/benchmark.h>

#include <fstream>
#include <string>

#include <vxgrid/gaussian/gaussian_width.h>
#include <vxgrid/host/mol_geometry.h>
#include <vxgrid/host/radii.h>
#include <vxgrid/molgrid/molecular_grid.h>

#include "tests/molgrid/plain_gaussians.h"

using namespace VXCore;

namespace {

VXGraphMol first_atoms(unsigned int n) {
  VXGraphMol mol;
  std::ifstream file(VXGRID_SOURCE_DIR "/examples/data/4hg7.pdb");
  for (std::string line; mol.NumAtoms() < n && std::getline(file, line);) {
    if (line.compare(0, 6, "ATOM  ") != 0) continue;
    float xyz[3];
    for (int axis = 0; axis < 3; ++axis) xyz[axis] = std::stof(line.substr(30 + 8 * axis, 8));
    mol.SetCoords(mol.AddAtom(VXGetAtomicNum(line.substr(77, 1))), xyz);
  }
  AssignZemoMolRadii(mol);
  return mol;
}

const VXGraphMol& molecule() {
  static const VXGraphMol mol = first_atoms(68);
  return mol;
}

void ours(benchmark::State& state, float spacing) {
  for (auto _ : state) {
    VXScalarGrid grid;
    VXMakeMolecularGaussianGrid(grid, molecule(), spacing);
    benchmark::DoNotOptimize(grid.GetValues());
  }
}

void with_exp(benchmark::State& state, float spacing) {
  VXScalarGrid lattice;
  VXMakeMolecularGaussianGrid(lattice, molecule(), spacing);
  for (auto _ : state) {
    VXScalarGrid grid;
    VXGridCopyGeometry(grid, lattice);
    GridStruct record{};
    record.floats = grid.GetValues();
    record.xdim = static_cast<int>(grid.GetXDim());
    record.ydim = static_cast<int>(grid.GetYDim());
    record.zdim = static_cast<int>(grid.GetZDim());
    grid.GetMid(record.xmid, record.ymid, record.zmid);
    record.spacing = grid.GetSpacing();
    for (const VXAtomBase& atom : VXIter<VXAtomBase>(molecule().GetAtoms())) {
      const float prefactor = 2.7f, radius = static_cast<float>(atom.GetRadius());
      float xyz[3], width;
      molecule().GetCoords(&atom, xyz);
      vi_assign_gwid_from_rad_pre(&prefactor, &radius, &width, 1);
      add_gaussian_with_exp(record, xyz, width, prefactor, vi_gauss_rad(prefactor, width, 0.001f));
    }
    benchmark::DoNotOptimize(grid.GetValues());
  }
}

void onto_rdkit_grid(benchmark::State& state) {
  float centre[3], extents[3];
  VXGetCenterAndExtents(molecule(), centre, extents);
  VXZemoGrid grid(VXScalarGrid(31, 41, 30, centre[0], centre[1], centre[2], 0.5f, "", nullptr));
  for (auto _ : state) VXMakeMolecularGaussianGrid(grid, molecule());
  state.SetBytesProcessed(state.iterations() * grid.GetSize() * sizeof(float));
}

BENCHMARK_CAPTURE(ours, 100, 0.21f)->Name("molecular_grid/cube_100/vxgrid")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(with_exp, 100, 0.21f)->Name("molecular_grid/cube_100/plain")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(ours, 200, 0.105f)->Name("molecular_grid/cube_200/vxgrid")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(with_exp, 200, 0.105f)
    ->Name("molecular_grid/cube_200/plain")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(onto_rdkit_grid)->Name("molecular_grid/rdkit_size/vxgrid")->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
