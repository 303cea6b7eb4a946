#pragma once

#include <random>
#include <vector>

#include <vxgrid/processing/grid_struct.h>

/// A record with values of its own.
struct Lattice {
  Lattice(int x, int y, int z, float spacing, float xmid = 0, float ymid = 0, float zmid = 0)
      : floats(static_cast<std::size_t>(x) * y * z), integers(floats.size()), grid{} {
    grid.floats = floats.data();
    grid.integers = integers.data();
    grid.xmid = xmid;
    grid.ymid = ymid;
    grid.zmid = zmid;
    grid.xdim = x;
    grid.ydim = y;
    grid.zdim = z;
    grid.spacing = spacing;
    grid.inverse_spacing = 1 / spacing;
  }
  Lattice(const Lattice&) = delete;

  float x(int i) const {
    return grid.xmid + (static_cast<float>(i) - static_cast<float>(grid.xdim - 1) / 2) * grid.spacing;
  }
  float y(int i) const {
    return grid.ymid + (static_cast<float>(i) - static_cast<float>(grid.ydim - 1) / 2) * grid.spacing;
  }
  float z(int i) const {
    return grid.zmid + (static_cast<float>(i) - static_cast<float>(grid.zdim - 1) / 2) * grid.spacing;
  }

  template <class Field>
  Lattice& fill(Field field) {
    std::size_t n = 0;
    for (int k = 0; k < grid.zdim; ++k)
      for (int j = 0; j < grid.ydim; ++j)
        for (int i = 0; i < grid.xdim; ++i) floats[n++] = field(x(i), y(j), z(k));
    return *this;
  }
  /// 0, 1, 2, ...; the integers the same, negative.
  Lattice& number() {
    for (std::size_t i = 0; i < floats.size(); ++i) {
      floats[i] = static_cast<float>(i);
      integers[i] = -static_cast<int>(i);
    }
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

/// n random triples in a cube about 0.
inline std::vector<float> random_points(int n, float half_width, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> value(-half_width, half_width);
  std::vector<float> points(3 * static_cast<std::size_t>(n));
  for (float& p : points) p = value(random);
  return points;
}
