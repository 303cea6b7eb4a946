#include <vxgrid/molgrid/sphere_grid.h>

#include <cmath>
#include <random>

#include <vxgrid/molgrid/molecular_grid.h>

#include "processing/lattices.h"
#include "support/support.h"

using namespace VXCore;
using testing::Each;

namespace {

constexpr int kSpheres = 9;

/// The same spheres in every layout, by kind from 1 on; what else an atom holds is 7.
struct Spheres {
  Spheres() {
    std::mt19937 random(4);
    std::uniform_real_distribution<float> place(-5, 5), radius(0.3f, 2.5f);
    for (int i = 0; i < kSpheres; ++i) {
      const float x = place(random), y = place(random), z = place(random), r = radius(random);
      atoms.insert(atoms.end(), {x, y, z, 7, 7, 7, 7, 7, 7});
      points.insert(points.end(), {x, y, z});
      xyzr.insert(xyzr.end(), {x, y, z, r});
      radii.push_back(r);
    }
    doubles.assign(points.begin(), points.end());
  }
  void* of_kind(int kind) {
    void* const items[] = {atoms.data(), points.data(), points.data(), xyzr.data(), doubles.data()};
    return items[kind - 1];
  }

  std::vector<float> atoms, points, xyzr, radii;
  std::vector<double> doubles;
};

/// The number of the last sphere around the n-th point, by its distance in double: 0 for none, -1 where the
/// rounding of the walk may decide.
int number_at(const GridStruct& g, int n, const Spheres& all, float probe, bool own_radii) {
  const int at[3] = {n % g.xdim, n / g.xdim % g.ydim, n / g.xdim / g.ydim}, dim[3] = {g.xdim, g.ydim, g.zdim};
  const float mid[3] = {g.xmid, g.ymid, g.zmid};
  int number = 0;
  for (int s = 0; s < kSpheres; ++s) {
    double d2 = 0, r = (own_radii ? all.radii[s] : 0) + probe;
    for (int a = 0; a < 3; ++a)
      d2 += std::pow(mid[a] + (at[a] - (dim[a] - 1) / 2.0) * g.spacing - all.points[3 * s + a], 2);
    if (std::fabs(d2 / (r * r) - 1) < 1e-4) return -1;
    if (d2 < r * r) number = s + 1;
  }
  return number;
}

/// How many integers are `value`.
auto count(const GridStruct& g, int value) {
  return std::count(g.integers, g.integers + g.xdim * g.ydim * g.zdim, value);
}

}  // namespace

TEST(Spheres, MarkedInEveryLayout) {
  Spheres all;
  const char* const types[] = {"atoms", "points", "coordinates", "spheres", "doubles"};
  for (int kind = 1; kind <= 5; ++kind) {
    void* const items = all.of_kind(kind);
    GridStruct g{};
    EXPECT_EQ(vi_sph_to_grid(0, items, all.radii.data(), kSpheres, 0.7f, &g, 0.4f, 1, kind), 1);
    EXPECT_GT(count(g, 1), 100);
    int wrong = 0;
    for (int n = 0; n < g.xdim * g.ydim * g.zdim; ++n) {
      const int number = number_at(g, n, all, 0.7f, kind == 1 || kind == 4);  // the others by the probe alone
      wrong += number >= 0 && g.integers[n] != (number > 0);
    }
    vx_deallocate_grid_struct(g, true, false);

    Lattice l(23, 31, 17, 0.4f, 0.5f, 0, -1);
    vi_map_spheres_to_grid(items, types[kind - 1], all.radii.data(), l.grid, 0.3f, kSpheres, 2.5f);
    for (int n = 0; n < 23 * 31 * 17; ++n) {
      const int number = number_at(l.grid, n, all, 0.3f, true);
      const bool never = n % 23 == 0 || n / 23 % 31 == 0 || n < 23 * 31 || kind == 5;
      wrong += number >= 0 && l.integers[n] != (never ? 0 : number);
      wrong += l.floats[n] != (l.integers[n] ? 2.5f : 0);
    }
    EXPECT_EQ(wrong, 0) << types[kind - 1];
  }
}

TEST(SphToGrid, LatticeAndMarks) {
  float unit[] = {0, 0, 0, 1}, sphere[] = {1, 2, 3, 0.8f};
  PdbStruct atom{1, 1, 1, {}};
  const float inf = INFINITY;
  // Items, number, probe, spacing, border, kind; the dimension of all axes, and points marked or -1: no
  // array.
  const std::tuple<void*, int, float, float, float, int, int, int> rows[] = {
      {unit, 1, 0, 1, 0, 4, 5, 1},               // 1 > 1 fails for the neighbours
      {sphere, 1, 0.5f, 0.5f, 0.3f, 4, 11, 81},  // 0.8 + 0.5, and the probe again in the margin 0.3 + 0.5
      {sphere, 1, 0.5f, 0.5f, 0, 9, 5, 0},       // no such kind: a point at the origin
      {&atom, 1, 0.6f, 0.5f, 0, 1, 7, 7},        // radii that atoms lack are 0
      {unit, 1, 3, 1, -7, 4, 3, 27},             // a margin below 0 leaves the sphere's rim outside
      {unit, 1, inf, 1, 0, 4, 3, 0},
      {unit, 0, 0, 1, 0, 4, -199997, -1},
      {unit, 0, 0, -1, 0, 4, 200003, -1},
      {unit, 0, 0, 1e-30f, 0, 4, std::numeric_limits<int>::min(), -1}};
  GridStruct g{};
  for (const auto& [items, n, probe, spacing, border, kind, dim, marked] : rows) {
    EXPECT_EQ(vi_sph_to_grid(0, items, nullptr, n, probe, &g, spacing, border, kind), 1);
    EXPECT_THAT((std::vector<int>{g.xdim, g.ydim, g.zdim}), Each(dim));
    EXPECT_EQ(g.integers ? count(g, 1) : -1, marked) << dim;
  }
  testing::internal::CaptureStdout();
  EXPECT_EQ(vi_sph_to_grid(0, unit, nullptr, 1, 0, &g, 0, 0, 4), 1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "cant have a grid of zero spacing!");
  EXPECT_EQ(g.spacing, 1e-30f) << "as it was";
}

TEST(MapSpheresToGrid, Edges) {
  float items[] = {NAN, 0, 0, 1, 0, 0, 0, INFINITY, 9e9f, 0, 0, 1};
  Lattice l(4, 4, 4, 1);
  GridStruct floats = l.grid, integers = l.grid;
  floats.integers = nullptr;
  integers.floats = nullptr;
  CapturedLog log;
  for (const char* type : {"doubles", "points", "spheres"})  // an empty operation, radii of 0, no spheres
    EXPECT_EQ(vi_map_spheres_to_grid(items + 4, type, nullptr, l.grid, 0, *type != 's', 5), 1);
  EXPECT_EQ(vi_map_spheres_to_grid(items, "Atoms", nullptr, l.grid, 0, 1, 5), 0);
  EXPECT_EQ(log.text(), "Warning: no such sphere type as Atoms\n");
  EXPECT_EQ(count(l.grid, 0), 64);
  vi_map_spheres_to_grid(items, "spheres", nullptr, integers, 0, 3, 5);
  EXPECT_EQ(count(l.grid, 2), 27) << "of the infinite one alone, without the first planes";
  EXPECT_THAT(l.floats, Each(0));
  vi_map_spheres_to_grid(items, "spheres", nullptr, floats, 0, 3, 5);
  EXPECT_EQ(std::count(l.floats.begin(), l.floats.end(), 5.0f), 27);
}
