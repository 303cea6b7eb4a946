#pragma once

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

/// A hard sphere, in Å.
struct Ball {
  double x, y, z, r;
};

/// The volume of the union of balls in Å³: rows along x at every `step` Å in y and z, each with the exact
/// length of the union of its intervals.
inline double union_volume(const std::vector<Ball>& balls, double step) {
  double y0 = 1e30, y1 = -1e30, z0 = 1e30, z1 = -1e30;
  for (const Ball& b : balls) {
    y0 = std::min(y0, b.y - b.r), y1 = std::max(y1, b.y + b.r);
    z0 = std::min(z0, b.z - b.r), z1 = std::max(z1, b.z + b.r);
  }
  double length = 0;
  std::vector<std::pair<double, double>> row;
  for (double z = z0 + step / 2; z < z1; z += step)
    for (double y = y0 + step / 2; y < y1; y += step) {
      row.clear();
      for (const Ball& b : balls) {
        const double half2 = b.r * b.r - (y - b.y) * (y - b.y) - (z - b.z) * (z - b.z);
        if (half2 > 0) row.emplace_back(b.x - std::sqrt(half2), b.x + std::sqrt(half2));
      }
      std::sort(row.begin(), row.end());
      double covered = -1e30;
      for (const auto& [from, to] : row) {
        length += std::max(0.0, to - std::max(from, covered));
        covered = std::max(covered, to);
      }
    }
  return length * step * step;
}
