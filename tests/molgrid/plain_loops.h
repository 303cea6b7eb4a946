#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/host/mol_geometry.h>
#include <vxgrid/host/molecule.h>
#include <vxgrid/host/radii.h>
#include <vxgrid/molgrid/soft_sphere.h>
#include <vxgrid/processing/grid_struct.h>

// What the fast loops of this folder have to equal, bit for bit.

/// Points of three floats with radii, and a cell's integers.
struct PlainSpheres {
  std::vector<float> xyz, radii;  // the probe included
};

/// Calls visit(cell, point) for every cell of every sphere: d2 by running increments, on z, then y, then x.
template <class Visit>
void plain_sphere_walk(const VXCore::GridStruct& g, const PlainSpheres& points, Visit visit) {
  const float inverse = 1.0f / g.spacing;
  const int dim[3] = {g.xdim, g.ydim, g.zdim};
  float low[3], high[3];
  VXCore::vi_get_grid_limits(g, &low[0], &low[1], &low[2], &high[0], &high[1], &high[2]);
  for (std::size_t p = 0; p < points.radii.size(); ++p) {
    const float radius = points.radii[p] * inverse;
    if (radius <= 0.0f) continue;
    float f[3];
    int lo[3], hi[3];
    for (int a = 0; a < 3; ++a) {
      f[a] = (points.xyz[3 * p + a] - low[a]) * inverse;
      lo[a] = std::max(static_cast<int>(f[a] - radius) + 1, 0);
      hi[a] = std::min(static_cast<int>(f[a] + radius), dim[a] - 1);
    }
    const float dx = static_cast<float>(lo[0]) - f[0], dy = static_cast<float>(lo[1]) - f[1],
                dz = static_cast<float>(lo[2]) - f[2], radius2 = radius * radius;
    float z2 = dz * dz, z_step = 2.0f * dz + 1.0f;
    for (int z = lo[2]; z <= hi[2]; ++z, z2 += z_step, z_step += 2.0f) {
      float y2 = z2 + dy * dy, y_step = 2.0f * dy + 1.0f;
      for (int y = lo[1]; y <= hi[1]; ++y, y2 += y_step, y_step += 2.0f) {
        float d2 = y2 + dx * dx, x_step = 2.0f * dx + 1.0f;
        for (int x = lo[0]; x <= hi[0]; ++x, d2 += x_step, x_step += 2.0f)
          if (d2 < radius2) visit(x + dim[0] * (y + dim[1] * z), static_cast<int>(p));
      }
    }
  }
}

/// Cells and list on the lattice of `g`; empty lists where no cell is near a point.
inline void plain_proximity(const VXCore::GridStruct& g, const PlainSpheres& points, const PlainSpheres* mask,
                            std::vector<int>& cells, std::vector<int>& list) {
  std::vector<char> takes_part(std::size_t{1} * g.xdim * g.ydim * g.zdim, 1);
  if (mask) plain_sphere_walk(g, *mask, [&](int cell, int) { takes_part[cell] = 0; });
  cells.assign(takes_part.size(), 0);
  list.clear();
  plain_sphere_walk(g, points, [&](int cell, int) { cells[cell] += takes_part[cell]; });
  int next = 1;
  for (int& n : cells)
    if (n) {
      next += n + 1;
      n = next - 2;
    }
  if (next == 1) return;
  list.assign(next, 0);
  plain_sphere_walk(g, points, [&](int cell, int point) {
    if (takes_part[cell]) list[cells[cell]--] = point + 1;
  });
  for (int& n : cells) n += n != 0;
}

/// Functors that the fast mapping does not know, so that they take the general template.
struct PlainAdd {
  void operator()(float& point, double value) const { point = static_cast<float>(point + value); }
};
struct PlainSubtract {
  void operator()(float& point, double value) const { point = static_cast<float>(point - value); }
};

/// An atom's soft sphere in its place.
struct PlacedSphere {
  VXCore::GaussPot pot;
  double x, y, z;
};

/// The atoms of a molecule. The first one of each element sets the potential of all.
inline std::vector<PlacedSphere> placed_spheres(const VXCore::VXMolBase& mol,
                                                std::vector<VXCore::GaussPot>& by_element) {
  std::vector<PlacedSphere> spheres;
  for (const VXCore::VXAtomBase& atom : VXCore::VXIter<VXCore::VXAtomBase>(mol.GetAtoms())) {
    VXCore::GaussPot& pot = by_element[atom.GetAtomicNum()];
    if (pot.width == 0.0f) pot.Set(static_cast<float>(atom.GetRadius()));
    float at[3];
    mol.GetCoords(&atom, at);
    spheres.push_back({pot, at[0], at[1], at[2]});
  }
  return spheres;
}

template <class Functor>
unsigned int plain_map(VXCore::VXScalarGrid& grid, const PlacedSphere& s, Functor functor) {
  return VXCore::MapRadialPotentialToGrid<float>(grid, s.pot, functor, s.x, s.y, s.z, s.pot.range);
}

inline unsigned int plain_touch(VXCore::VXScalarGrid& contact, const VXCore::VXScalarGrid& target,
                                const PlacedSphere& s) {
  unsigned int visited = 0;
  const auto touch = [&](std::size_t i, double d2) {
    const float t = target.GetValues()[i];
    if (!(t > 0.0001f)) return;
    ++visited;
    const double g = s.pot.amplitude * std::exp(-s.pot.width * d2);
    const double value = (t + t) * std::min(g / (g + t), t / (g + t));
    float& point = contact.GetValues()[i];
    point = std::max(point, static_cast<float>(value));
  };
  VXCore::radial_detail::ForEachPointWithin(target, s.x, s.y, s.z, s.pot.range, touch);
  return visited;
}

/// The contact of a protein with a ligand, method 1: box, target, contact.
inline VXCore::VXScalarGrid plain_contact(const VXCore::VXMolBase& mol1, const VXCore::VXMolBase& mol2,
                                          float spacing) {
  VXCore::VXGraphMol copy(mol1);
  VXCore::VXAssignBondiVdWRadii(copy);
  float center[3], extents[3], box[6];
  VXCore::VXGetCenterAndExtents(mol1, center, extents);
  for (int i = 0; i < 6; ++i) box[i] = center[i % 3] + (i < 3 ? -0.5f : 0.5f) * (extents[i % 3] + 1.0f);
  VXCore::VXScalarGrid target(box, spacing, nullptr), contact(target);
  std::vector<VXCore::GaussPot> pots(255);
  for (const PlacedSphere& s : placed_spheres(copy, pots)) plain_map(target, s, PlainAdd());
  for (const PlacedSphere& s : placed_spheres(mol2, pots)) plain_touch(contact, target, s);
  return contact;
}
