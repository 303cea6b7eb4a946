#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include <vxgrid/grid/value_grid.h>
#include <vxgrid/host/molecule.h>

namespace VXCore {

/// A walk forward and back over a list of levels of its own, which needs no grid any more. A step beyond
/// either end makes operator bool false; a step the other way is on the list again.
class VXGRID_API VXContourLevelIter : public VXIterBase<const float> {
 public:
  explicit VXContourLevelIter(std::vector<float> levels) : levels_(std::move(levels)) {}

  explicit operator bool() const override { return at_ < levels_.size(); }
  const float& operator*() const override { return levels_[at_]; }
  VXContourLevelIter& operator++() override {
    ++at_;
    return *this;
  }
  VXContourLevelIter& operator--() {
    --at_;
    return *this;
  }

 private:
  std::vector<float> levels_;
  std::size_t at_ = 0;
};

/// Contour levels from the distribution of a grid's own values: values at ranks that follow a cubic law, so
/// that the levels crowd at the low end of the values (at the high end when `descending`) and a few extreme
/// points spoil nothing.
///
/// Let v be the values, sorted, n of them, and runs in it be equal values. All are taken with a stride below
/// 2, otherwise every stride-th along each axis from index 0 on. What is not a number is left out.
///
///   lo   the start of the second run
///   hi   the end of the last run but one. With a limit: the rank before the first value that is not below
///        it (not above it when `descending`), where there is one; 0 for that of the first value
///   r_k  trunc(t * t * span * t + lo + 0.5) in float, with t = k * (1 / (levels - 1)), span = hi - lo and
///        0 < k < levels - 1. An r_k that equals `levels`, the count itself, is one less.
///
/// Gives v[lo], the v[r_k] when levels >= 3 and lo < hi, and v[hi]: `levels` values, otherwise two. Of a grid
/// whose values are all the same both are that value; of one without a number there are none. Which zero
/// stands for 0 and -0, which are equal, is open.
///
/// The caller deletes the result, or hands it to a VXIter.
VXGRID_API VXContourLevelIter* VXGetGridContourLevels(const VXFixedGrid<float>& grid, unsigned int levels,
                                                      bool descending, unsigned int stride);
VXGRID_API VXContourLevelIter* VXGetGridContourLevels(const VXFixedGrid<float>& grid, unsigned int levels,
                                                      bool descending, float limit, unsigned int stride);

}  // namespace VXCore
