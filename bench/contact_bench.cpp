// Who is near whom: proximity grids of 50,000 points, and the contact grid of a protein of 2,370 atoms (4HG7
// three times, side by side) with a ligand of 40, at 0.5 Å.

#include <benchmark/benchmark.h>

#include <fstream>
#include <random>
#include <string>

#include <vxgrid/molgrid/contact_grid.h>
#include <vxgrid/molgrid/proximity_grid.h>

#include "tests/molgrid/plain_loops.h"

using namespace VXCore;

namespace {

constexpr int kPoints = 50000;
constexpr float kProbe = 1.4f, kSpacing = 1.0f;

/// As dense as a protein with hydrogens: one in 10 Å^3. The radii include no probe.
const PlainSpheres& points() {
  static const PlainSpheres made = [] {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> place(0, 79.37f), radius(1.2f, 1.8f);
    PlainSpheres out;
    for (int i = 0; i < kPoints; ++i) {
      for (int axis = 0; axis < 3; ++axis) out.xyz.push_back(place(random));
      out.radii.push_back(radius(random));
    }
    return out;
  }();
  return made;
}

void proximity(benchmark::State& state) {
  PlainSpheres spheres = points();
  GridStruct grid{};
  std::vector<int> list;
  for (auto _ : state) {
    vx_make_proximity_grid(0, spheres.xyz.data(), spheres.radii.data(), kPoints, kProbe, &grid, kSpacing, 0,
                           2, list);
    benchmark::DoNotOptimize(list.data());
  }
  vx_deallocate_grid_struct(grid, true, false);
}

void proximity_plain(benchmark::State& state) {
  PlainSpheres spheres = points();
  GridStruct grid{};
  std::vector<int> cells, list;
  vx_make_proximity_grid(0, spheres.xyz.data(), spheres.radii.data(), kPoints, kProbe, &grid, kSpacing, 0, 2,
                         list);
  for (float& radius : spheres.radii) radius += kProbe;
  for (auto _ : state) {
    plain_proximity(grid, spheres, nullptr, cells, list);
    benchmark::DoNotOptimize(list.data());
  }
  vx_deallocate_grid_struct(grid, true, false);
}

/// Adds the first n atoms of 4HG7, shifted along y, in Å.
void add_atoms(VXGraphMol& mol, unsigned int n, float shift) {
  std::ifstream file(VXGRID_SOURCE_DIR "/examples/data/4hg7.pdb");
  const unsigned int whole = mol.NumAtoms() + n;
  for (std::string line; mol.NumAtoms() < whole && std::getline(file, line);) {
    if (line.compare(0, 6, "ATOM  ") != 0) continue;
    float xyz[3];
    for (int axis = 0; axis < 3; ++axis) xyz[axis] = std::stof(line.substr(30 + 8 * axis, 8));
    xyz[1] += shift;
    mol.SetCoords(mol.AddAtom(VXGetAtomicNum(line.substr(77, 1))), xyz);
  }
}

VXGraphMol protein() {
  VXGraphMol mol;
  for (const float shift : {0.0f, 30.0f, 60.0f}) add_atoms(mol, 790, shift);
  return mol;
}

VXGraphMol ligand() {
  VXGraphMol mol;
  add_atoms(mol, 40, 15.0f);
  return mol;
}

void contact(benchmark::State& state) {
  const VXGraphMol mol1 = protein(), mol2 = ligand();
  for (auto _ : state) {
    VXScalarGrid grid;
    VXMakeContactGrid(grid, mol1, mol2, false, 0.5f, 1);
    benchmark::DoNotOptimize(grid.GetValues());
  }
}

void contact_plain(benchmark::State& state) {
  const VXGraphMol mol1 = protein(), mol2 = ligand();
  for (auto _ : state) benchmark::DoNotOptimize(plain_contact(mol1, mol2, 0.5f).GetValues());
}

}  // namespace

BENCHMARK(proximity)->Name("proximity/vxgrid")->Unit(benchmark::kMillisecond);
BENCHMARK(proximity_plain)->Name("proximity/plain")->Unit(benchmark::kMillisecond);
BENCHMARK(contact)->Name("contact/vxgrid")->Unit(benchmark::kMillisecond);
BENCHMARK(contact_plain)->Name("contact/plain")->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
