#include "map_values.h"

#include <algorithm>
#include <cmath>

#include <vxgrid/processing/grid_values.h>

#include "report.h"

using namespace VXCore;

MapStatistics::MapStatistics(const float* values, size_t count) {
  double sum = 0, squares = 0;
  size_t n = 0;
  for (size_t i = 0; i < count; ++i) {
    if (!std::isfinite(values[i])) {
      ++not_finite;
      continue;
    }
    const double value = values[i];
    lowest = n ? std::min(lowest, value) : value;
    highest = n ? std::max(highest, value) : value;
    sum += value;
    ++n;
  }
  if (n) mean = sum / static_cast<double>(n);
  for (size_t i = 0; i < count; ++i)
    if (std::isfinite(values[i])) squares += (values[i] - mean) * (values[i] - mean);
  if (n) rms = std::sqrt(squares / static_cast<double>(n));
}

float level_in_map(const std::string& file, const VXSkewGrid& grid, const LevelOption& level) {
  const MapStatistics map(grid.GetValues(), grid.GetSize());
  if (map.not_finite == grid.GetSize()) throw Failure(file, "holds no value that is a finite number");
  const auto in_map = static_cast<float>(level.in_sigma ? map.mean + level.number * map.rms : level.number);
  if (!(in_map <= map.highest))
    throw Failure(
        file,
        text("no value reaches the level %.5g%s; the highest is %.5g", in_map,
             level.in_sigma ? text(" (%g sigma)", level.number).c_str() : "", map.highest) +
            (map.rms > 0 ? text(", %.3g sigma above the mean", (map.highest - map.mean) / map.rms) : ""));
  return in_map;
}

std::array<unsigned, 3> whole_periods(const VXSkewGrid& grid) {
  std::array<unsigned, 3> steps{};
  if (grid.HasSpaceGroup()) grid.GetImpl().GetUnitSpacing(steps[0], steps[1], steps[2]);
  const unsigned dims[] = {grid.GetXDim(), grid.GetYDim(), grid.GetZDim()};
  for (size_t axis = 0; axis < 3; ++axis)
    if (dims[axis] < steps[axis]) steps[axis] = 0;
  return steps;
}

void require_lattice(const std::string& file, const VXSkewGrid& grid) {
  float axes[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  grid.GetImpl().GetImpl().GetOrientation(axes);
  if (!(grid.GetSpacing() > 0) || !std::all_of(axes, axes + 9, [](float v) { return std::isfinite(v); }))
    throw Failure(file, "its cell or its spacing is 0, so its points have no places");
}

void renew_statistics(VXSkewGrid& grid) {
  const MapStatistics statistics(grid.GetValues(), grid.GetSize());
  const std::pair<const char*, double> numbers[] = {{AMIN, statistics.lowest},
                                                    {AMAX, statistics.highest},
                                                    {AMEAN, statistics.mean},
                                                    {ARMS, statistics.rms}};
  for (VXBase* const each : {static_cast<VXBase*>(&grid), static_cast<VXBase*>(&grid.GetImpl().GetImpl())})
    for (const auto& [name, number] : numbers) each->SetData<float>(name, static_cast<float>(number));
}
