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
  double low[2] = {1e30, 1e30}, high[2] = {-1e30, -1e30};
  for (const Ball& b : balls) {
    low[0] = std::min(low[0], b.y - b.r), high[0] = std::max(high[0], b.y + b.r);
    low[1] = std::min(low[1], b.z - b.r), high[1] = std::max(high[1], b.z + b.r);
  }
  double length = 0;
  std::vector<std::pair<double, double>> row;
  for (double z = low[1] + step / 2; z < high[1]; z += step)
    for (double y = low[0] + step / 2; y < high[0]; y += step) {
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
