// Grids from molecules. The first 68 atoms of 4HG7, whose box with its margins is 19.7 x 24.5 x 19.0 Å: about
// 100^3 points of 0.21 Å and 200^3 of 0.105 Å, from the molecule to a grid of its own; and a grid of 0.5 Å
// that is there, as RDKit takes it, 31 x 41 x 30.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <fstream>
#include <string>

#include <vxgrid/gaussian/gaussian_width.h>
#include <vxgrid/host/mol_geometry.h>
#include <vxgrid/host/radii.h>
#include <vxgrid/molgrid/molecular_grid.h>

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

/// Adds prefactor * exp(-width * r^2) to the points within `radius` of the centre, with one exp for each.
void add_gaussian_with_exp(const GridStruct& grid, const float* centre, float width, float prefactor,
                           float radius) {
  const float h = grid.spacing;
  const int dim[3] = {grid.xdim, grid.ydim, grid.zdim};
  float low[3], high[3];
  vi_get_grid_limits(grid, &low[0], &low[1], &low[2], &high[0], &high[1], &high[2]);
  int first[3], last[3];
  for (int a = 0; a < 3; ++a) {
    first[a] = std::max(static_cast<int>(std::ceil((centre[a] - radius - low[a]) / h)), 0);
    last[a] = std::min(static_cast<int>(std::floor((centre[a] + radius - low[a]) / h)), dim[a] - 1);
  }
  for (int k = first[2]; k <= last[2]; ++k)
    for (int j = first[1]; j <= last[1]; ++j) {
      const float dz = low[2] + static_cast<float>(k) * h - centre[2],
                  dy = low[1] + static_cast<float>(j) * h - centre[1];
      const float row_d2 = dz * dz + dy * dy;
      float* const row = grid.floats + (static_cast<std::ptrdiff_t>(k) * dim[1] + j) * dim[0];
      for (int i = first[0]; i <= last[0]; ++i) {
        const float dx = low[0] + static_cast<float>(i) * h - centre[0], d2 = dx * dx + row_d2;
        if (d2 <= radius * radius) row[i] += prefactor * std::exp(-width * d2);
      }
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
