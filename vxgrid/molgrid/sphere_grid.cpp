#include <vxgrid/molgrid/sphere_grid.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include <vxgrid/host/zemomol.h>
#include <vxgrid/molgrid/molecular_grid.h>
#include <vxgrid/processing/lattice.inl>

namespace VXCore {
namespace {

using Index = std::ptrdiff_t;

enum Layout : int { Atoms = 1, Points = 2, Coordinates = 3, Spheres = 4, Doubles = 5 };

constexpr struct {
  const char* name;
  Layout layout;
} kLayouts[] = {{"atoms", Atoms},
                {"spheres", Spheres},
                {"points", Points},
                {"coordinates", Coordinates},
                {"doubles", Doubles}};

/// Items of one layout, one after another, with the radii that stand beside them or null.
struct Items {
  const void* first;
  Layout layout;
  const float* radii;

  /// x, y, z, and what follows; not for doubles.
  const float* Floats(Index i) const {
    const Index stride = layout == Atoms ? sizeof(PdbStruct) / sizeof(float) : layout == Spheres ? 4 : 3;
    return static_cast<const float*>(first) + stride * i;
  }
  float Coordinate(Index i, int axis) const {
    return layout == Doubles ? static_cast<float>(Double(i, axis)) : Floats(i)[axis];
  }
  /// Coordinate less origin; of doubles the difference in double.
  float Offset(Index i, int axis, float origin) const {
    return layout == Doubles ? static_cast<float>(Double(i, axis) - origin) : Floats(i)[axis] - origin;
  }
  float Radius(Index i) const { return layout == Spheres ? Floats(i)[3] : radii ? radii[i] : 0.0f; }

 private:
  double Double(Index i, int axis) const { return static_cast<const double*>(first)[3 * i + axis]; }
};

/// A sphere in lattice steps from the first sample, and the indices that it is looked for at.
struct LatticeSphere {
  float at[3], radius;
  Index first[3], last[3];
};

/// mark(element) for the points of the box with radius^2 > d^2. From one point to the next (i + 1 - u)^2 is
/// (i - u)^2 and an odd term that grows by 2: no products, and sums whose rounding is part of the result.
template <class Mark>
void walk(const GridStruct& grid, const LatticeSphere& sphere, Mark mark) {
  const float limit = sphere.radius * sphere.radius;
  float d[3];
  for (int axis = 0; axis < 3; ++axis) d[axis] = static_cast<float>(sphere.first[axis]) - sphere.at[axis];
  float plane_d2 = d[0] * d[0] + d[1] * d[1] + d[2] * d[2], z_term = 2.0f * d[2] + 1.0f;
  for (Index k = sphere.first[2]; k <= sphere.last[2]; ++k, plane_d2 += z_term, z_term += 2.0f) {
    float row_d2 = plane_d2, y_term = 2.0f * d[1] + 1.0f;
    for (Index j = sphere.first[1]; j <= sphere.last[1]; ++j, row_d2 += y_term, y_term += 2.0f) {
      const Index row = (k * grid.ydim + j) * grid.xdim;
      float d2 = row_d2, x_term = 2.0f * d[0] + 1.0f;
      for (Index i = sphere.first[0]; i <= sphere.last[0]; ++i, d2 += x_term, x_term += 2.0f)
        if (limit > d2) mark(row + i);
    }
  }
}

/// Midpoint, dimensions and first sample of a lattice that holds all spheres with a margin.
void size_lattice(const Items& items, int count, float probe, float margin, GridStruct& grid, float* origin) {
  const bool known = items.layout >= Atoms && items.layout <= Doubles;
  float* const mid[3] = {&grid.xmid, &grid.ymid, &grid.zmid};
  int* const dim[3] = {&grid.xdim, &grid.ydim, &grid.zdim};
  for (int axis = 0; axis < 3; ++axis) {
    float upper = -100000.0f, lower = 100000.0f;
    for (Index i = 0; i < count; ++i) {
      const float x = known ? items.Coordinate(i, axis) : 0.0f, r = known ? items.Radius(i) + probe : 0.0f;
      upper = std::max(upper, x + r);
      lower = std::min(lower, x - r);
    }
    const float high = upper + margin, low = lower - margin;
    *mid[axis] = (low + high) * 0.5f;
    *dim[axis] = lattice::odd_dimension((high - *mid[axis]) * grid.inverse_spacing);
    origin[axis] = *mid[axis] - static_cast<float>(Index{*dim[axis]} - 1) * (grid.spacing * 0.5f);
  }
}

}  // namespace

int vi_sph_to_grid(int, void* items, float* radii, int count, float probe, GridStruct* grid, float spacing,
                   float border, int kind) {
  if (!(spacing < 0.0f) && !(spacing > 0.0f)) {
    std::printf("cant have a grid of zero spacing!");
    return 1;
  }
  const Items spheres{items, static_cast<Layout>(kind), radii};
  grid->spacing = spacing;
  grid->inverse_spacing = 1.0f / spacing;
  float origin[3];
  size_lattice(spheres, count, probe, border + probe, *grid, origin);
  vx_deallocate_grid_struct(*grid, true, false);
  vx_allocate_grid_struct(*grid, true, false, -1);
  if (!grid->integers || lattice::element_count(*grid) == 0) return 1;
  vx_zero_grid_struct(*grid, true, false, -1);
  if (kind < Atoms || kind > Doubles) return 1;

  const Index dim[3] = {grid->xdim, grid->ydim, grid->zdim};
  for (Index i = 0; i < count; ++i) {
    // The box was made for the radii of points, coordinates and doubles; they mark by the probe alone.
    const bool own_radius = kind == Atoms || kind == Spheres;
    LatticeSphere sphere;
    sphere.radius = ((own_radius ? spheres.Radius(i) : 0.0f) + probe) * grid->inverse_spacing;
    for (int axis = 0; axis < 3; ++axis) {
      const float u = spheres.Offset(i, axis, origin[axis]) * grid->inverse_spacing;
      sphere.at[axis] = u;
      // Within the lattice already, but for negative margins and radii.
      sphere.first[axis] = std::max(Index{lattice::truncate(u - sphere.radius)} + 1, Index{0});
      sphere.last[axis] = std::min(Index{lattice::truncate(u + sphere.radius)}, dim[axis] - 1);
    }
    walk(*grid, sphere, [&](Index element) { grid->integers[element] = 1; });
  }
  return 1;
}

int vi_map_spheres_to_grid(void* items, const char* type, float* radii, GridStruct grid, float probe,
                           int count, float value) {
  const auto* const found = std::find_if(std::begin(kLayouts), std::end(kLayouts), [type](const auto& known) {
    return std::strcmp(known.name, type) == 0;
  });
  if (found == std::end(kLayouts)) {
    vi_warning("no such sphere type as %s\n", type);
    return 0;
  }
  // "doubles" is a valid name for doing nothing.
  if (found->layout == Doubles || lattice::element_count(grid) == 0) return 1;

  const Items spheres{items, found->layout, radii};
  const float mid[3] = {grid.xmid, grid.ymid, grid.zmid};
  const int dim[3] = {grid.xdim, grid.ydim, grid.zdim};
  for (Index i = 0; i < count; ++i) {
    LatticeSphere sphere;
    sphere.radius = (spheres.Radius(i) + probe) * grid.inverse_spacing;
    bool reaches = true;
    for (int axis = 0; axis < 3; ++axis) {
      const float end = static_cast<float>(dim[axis] - 1), origin = mid[axis] - end * (grid.spacing * 0.5f);
      const float u = spheres.Offset(i, axis, origin) * grid.inverse_spacing;
      const float low = u - sphere.radius, high = u + sphere.radius;
      reaches = reaches && low <= end && high >= 0.0f;
      sphere.at[axis] = u;
      // Index 0 is never reached, also where the sphere covers it.
      sphere.first[axis] = Index{lattice::truncate(std::max(low, 0.0f))} + 1;
      sphere.last[axis] = std::min(lattice::truncate(std::min(high, end)), dim[axis] - 1);
    }
    if (!reaches) continue;
    const int number = static_cast<int>(i) + 1;
    walk(grid, sphere, [&](Index element) {
      if (grid.integers) grid.integers[element] = number;
      if (grid.floats) grid.floats[element] = value;
    });
  }
  return 1;
}

}  // namespace VXCore
