#pragma once

#include <random>
#include <vector>

#include <vxgrid/processing/grid_struct.h>

#include "grid/grid_support.h"

inline constexpr float kIdentity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
inline constexpr float kQuarterTurn[9] = {0, -1, 0, 1, 0, 0, 0, 0, 1};
inline constexpr float kSkew[9] = {1.2f, -0.3f, 0.2f, 0, 1.1f, 0.4f, 0, 0, 0.9f};
inline constexpr float kSingular[9] = {1, 2, 3, 2, 4, 6, 0, 0, 1};

/// A record with values of its own.
struct Lattice {
  Lattice(int x, int y, int z, float spacing, float xmid = 0, float ymid = 0, float zmid = 0)
      : floats(static_cast<std::size_t>(x) * y * z),
        integers(floats.size()),
        grid{floats.data(), integers.data(), xmid, ymid, zmid, x, y, z, spacing, 1 / spacing, nullptr} {}
  Lattice(const Lattice&) = delete;

  static float at(float mid, int dim, float spacing, int i) {
    return mid + (static_cast<float>(i) - static_cast<float>(dim - 1) / 2) * spacing;
  }
  float x(int i) const { return at(grid.xmid, grid.xdim, grid.spacing, i); }
  float y(int i) const { return at(grid.ymid, grid.ydim, grid.spacing, i); }
  float z(int i) const { return at(grid.zmid, grid.zdim, grid.spacing, i); }

  /// 0, 1, 2, ...; the integers the same, negative.
  Lattice& number() {
    for (std::size_t i = 0; i < floats.size(); ++i)
      integers[i] = -static_cast<int>(floats[i] = static_cast<float>(i));
    return *this;
  }
  Lattice& randomize(unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> value(-1, 1);
    for (float& v : floats) v = value(random);
    return *this;
  }

  std::vector<float> floats;
  std::vector<int> integers;
  VXCore::GridStruct grid;
};

/// The trilinear value in cell c at t, the plain way.
inline float plain_trilinear(const VXCore::GridStruct& g, const int* c, const float* t) {
  const auto mix = [](float a, float b, float at) { return a + (b - a) * at; };
  const auto edge = [&](int y, int z) {
    const float* const v = g.floats + c[0] + g.xdim * (c[1] + y + g.ydim * (c[2] + z));
    return mix(v[0], v[1], t[0]);
  };
  return mix(mix(edge(0, 0), edge(1, 0), t[1]), mix(edge(0, 1), edge(1, 1), t[1]), t[2]);
}
