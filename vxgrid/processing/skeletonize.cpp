#include <vxgrid/processing/skeletonize.h>

#include <emmintrin.h>

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/host/bit_vector.h>
#include <vxgrid/host/error_handler.h>
#include <vxgrid/processing/grid_values.h>
#include <vxgrid/processing/make_grid.h>
#include <vxgrid/processing/thinning.h>

namespace VXCore {
namespace {

/// The values on a lattice of another spacing.
void resample(VXScalarGrid& grid, float spacing) {
  float center[3] = {}, extents[3] = {};
  VXGetCenterAndExtents(static_cast<const VXGridBase&>(grid), center, extents);
  VXScalarGrid resampled;
  VXMakeGridFromCenterAndExtents(resampled, center, extents, spacing);
  VXInterpolateBetweenGrids(resampled, grid);
  grid = std::move(resampled);
}

/// The points that may join a region: whose value is not below the level, which not-a-number is not. None for
/// a level below 0.
VXBitVector open_points(const VXScalarGrid& grid, float level) {
  const float* const values = grid.GetValues();
  const unsigned int n = grid.GetSize();
  VXBitVector points(n);
  if (!(level >= 0)) return points;
  const __m128 levels = _mm_set1_ps(level);
  unsigned int i = 0;
  for (; n - i >= 64; i += 64) {
    std::uint64_t word = 0;
    for (unsigned int k = 0; k < 64; k += 4) {
      const int four = _mm_movemask_ps(_mm_cmpnlt_ps(_mm_loadu_ps(values + i + k), levels));
      word |= static_cast<std::uint64_t>(four) << k;
    }
    points.SetWord(i / 64, word);
  }
  for (; i < n; ++i)
    if (!(values[i] < level)) points.SetBitOn(i);
  return points;
}

/// Grows a region over whole runs of points with consecutive indices. The neighbours of all points of a run
/// are eight runs, two points longer each, and what joins in one of them joins with all of its own run: words
/// of bits are looked at in place of points.
class Blob {
 public:
  Blob(const VXScalarGrid& grid, float level) : open_(open_points(grid, level)), points_(grid.GetSize()) {
    const unsigned int row = grid.GetXDim(), plane = row * grid.GetYDim();
    const unsigned int centres[] = {row, plane - row, plane, plane + row};
    for (int i = 0; i < 4; ++i) {
      starts_[i] = centres[i] - 1;
      starts_[i + 4] = 0u - centres[i] - 1;
    }
  }

  void Grow(unsigned int seed) {
    open_.SetBitOn(seed);
    Take(seed);
    while (!runs_.empty()) {
      const Run run = runs_.back();
      runs_.pop_back();
      for (const unsigned int start : starts_) Search(run.begin + start, run.end - run.begin + 2);
    }
  }

  const VXBitVector& Points() const { return points_; }

 private:
  struct Run {
    unsigned int begin, end;
  };

  /// Moves the run around an open point over into the region; where it ends.
  unsigned int Take(unsigned int point) {
    const Run run{open_.RunBegin(point), open_.RunEnd(point)};
    open_.SetBits(run.begin, run.end, false);
    points_.SetBits(run.begin, run.end, true);
    runs_.push_back(run);
    return run.end;
  }

  void TakeAll(unsigned int begin, unsigned int end) {
    while ((begin = open_.NextBit(begin, end)) < end) begin = Take(begin);
  }

  /// Takes what is open among `count` indices from `start` on. Indices go on at 0 behind the largest of 32
  /// bits; those that are no elements are left out.
  void Search(unsigned int start, unsigned int count) {
    const std::uint64_t n = open_.GetSize(), whole = std::uint64_t{1} << 32,
                        end = std::uint64_t{start} + count;
    TakeAll(start, static_cast<unsigned int>(std::min(end, n)));
    if (end > whole) TakeAll(0, static_cast<unsigned int>(std::min(end - whole, n)));
  }

  VXBitVector open_, points_;
  unsigned int starts_[8];
  std::vector<Run> runs_;  // whose neighbours are still to be looked at
};

/// Sets all values but those of some points to 0; the number of values set.
unsigned int clear_others(float* values, const VXBitVector& points, unsigned int n) {
  unsigned int cleared = 0;
  for (unsigned int i = 0; i < n;) {
    const unsigned int kept = points.NextBit(i, n);
    std::fill(values + i, values + kept, 0.0f);
    cleared += kept - i;
    i = kept < n ? points.RunEnd(kept) : n;
  }
  return cleared;
}

}  // namespace

int VXSkeletonizeGrid(VXScalarGrid& grid, float threshold, float spacing) {
  if (spacing != VXNoResampling) resample(grid, spacing);
  float* const values = grid.GetValues();
  const unsigned int n = grid.GetSize();
  for (unsigned int i = 0; i < n; ++i) values[i] = values[i] < threshold ? 0.0f : values[i];
  return VXThinGrid(grid);
}

bool VXExtractBlob(VXScalarGrid& grid, unsigned int seed, float level) {
  const unsigned int n = grid.GetSize();
  if (seed >= n) {
    VXThrow.Error("Index out of range of grid");
    return false;
  }
  VXThrow.Info("gsize %u", n);
  float* const values = grid.GetValues();
  if (level == VXLevelOfSeed) level = values[seed];
  VXThrow.Info("The contour level is %f", static_cast<double>(level));

  Blob blob(grid, level);
  blob.Grow(seed);
  VXThrow.Info("Keeping %u", clear_others(values, blob.Points(), n));
  return true;
}

}  // namespace VXCore
