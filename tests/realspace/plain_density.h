#pragma once

#include <algorithm>
#include <cmath>

#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/host/molecule.h>
#include <vxgrid/host/residue.h>
#include <vxgrid/realspace/density.h>
#include <vxgrid/xtal/scatter_table.h>

/// One atom, point by point; returns the number of points touched.
inline unsigned int add_atom_plainly(VXCore::VXSkewGrid& grid, const VXCore::XYZToIJK& map,
                                     const VXCore::VXAtomBase& atom, const float* xyz) {
  const unsigned int row = VXCore::VXGetScatterType(&atom);
  if (row == ~0u) return 0;
  const VXCore::VXScatterData& f = VXCore::scatter_data[row];
  const double b = VXCore::VXAtomGetResidue(&atom).GetBFactor(),
               occ = VXCore::VXAtomGetResidue(&atom).GetOccupancy();
  const VXCore::ScatterPotential terms[5] = {{f.a1, f.b1, b, occ},
                                             {f.a2, f.b2, b, occ},
                                             {f.a3, f.b3, b, occ},
                                             {f.a4, f.b4, b, occ},
                                             {f.c, 0, b, occ}};
  double radius = 0;
  for (const auto& term : terms) radius = term.radius > radius ? term.radius : radius;

  unsigned int dims[3];
  grid.GetDim(dims[0], dims[1], dims[2]);
  float nearest[3], at[3];
  map.ToIndex(xyz, nearest);
  for (float& index : nearest) index = rintf(index);
  map.ToCartesian(nearest, at);
  long low[3], high[3];
  for (int axis = 0; axis < 3; ++axis) {
    if (!std::isfinite(nearest[axis]) || !std::isfinite(radius)) return 0;
    const double delta = at[axis] - xyz[axis], h = map.StepLength(axis), end = dims[axis] - 1.0;
    const double first = nearest[axis] - std::trunc((radius - delta) / h + 0.5);
    const double last = nearest[axis] + std::trunc((radius + delta) / h + 0.5);
    low[axis] = static_cast<long>(std::min(std::max(first, 0.0), end + 1));
    high[axis] = static_cast<long>(std::max(std::min(last, end), -1.0));
  }
  unsigned int touched = 0;
  for (long z = low[2]; z <= high[2]; ++z)
    for (long y = low[1]; y <= high[1]; ++y)
      for (long x = low[0]; x <= high[0]; ++x) {
        const float index[3] = {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)};
        float d[3];
        map.ToCartesian(index, d);
        for (int axis = 0; axis < 3; ++axis) d[axis] -= xyz[axis];
        const double d2 = d[0] * d[0] + d[1] * d[1] + d[2] * d[2];
        if (!(d2 < radius * radius)) continue;
        ++touched;
        float sum = 0;
        for (const auto& term : terms)
          sum += static_cast<float>(term.amplitude * std::exp(-term.exponent * d2));
        grid.GetValues()[(z * dims[1] + y) * dims[0] + x] += sum;
      }
  return touched;
}

/// What VXScatterToGrid has to equal, float for float. Returns the number of points touched.
inline unsigned int plain_density(VXCore::VXSkewGrid& grid, const VXCore::VXMolBase& mol) {
  VXCore::VXGraphMol copy(mol);
  VXCore::VXExpandCrystalSymmetry(grid, copy);
  std::fill_n(grid.GetValues(), grid.GetSize(), 0.0f);
  const VXCore::XYZToIJK map(grid);
  unsigned int touched = 0;
  for (VXCore::VXIter<VXCore::VXAtomBase> atom = copy.GetAtoms(); atom; ++atom) {
    float xyz[3];
    copy.GetCoords(&*atom, xyz);
    touched += add_atom_plainly(grid, map, *atom, xyz);
  }
  return touched;
}
