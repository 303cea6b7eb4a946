#pragma once

#include <array>
#include <cstddef>
#include <string>

#include <vxgrid/grid/skewgrid.h>

/// Of the finite values of a map, rms about their mean.
struct MapStatistics {
  MapStatistics(const float* values, size_t count);

  double lowest = 0, highest = 0, mean = 0, rms = 0;
  unsigned not_finite = 0;
};

/// A level as the user gives it.
struct LevelOption {
  double number = 0;
  bool in_sigma = false;  // times the rms above the mean; else in the units of the map
};

/// The level in the units of a map. Failure when the map does not reach it.
float level_in_map(const std::string& file, const VXCore::VXSkewGrid& grid, const LevelOption& level);

/// The steps along the edges of its cell on the axes on which a map holds a whole period of the crystal, 0 on
/// others.
std::array<unsigned, 3> whole_periods(const VXCore::VXSkewGrid& grid);

/// Failure when the points of a map have no places, as its cell or its spacing is 0.
void require_lattice(const std::string& file, const VXCore::VXSkewGrid& grid);

/// Gives a map whose values have changed their own statistics, in place of those of the file it was read
/// from. Some formats keep those of the map, some those of the grid within it.
void renew_statistics(VXCore::VXSkewGrid& grid);
