#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include <vxgrid/grid/value_grid.h>

namespace VXCore {

/// What a mapped value does to a grid point: it becomes the larger of itself and the value.
template <class T>
struct MaxMappingFunctor {
  void operator()(T& point, double value) const { point = std::max(point, static_cast<T>(value)); }
};

namespace radial_detail {

/// The grid points of one axis within `reach` of a position, and their squared distances to it.
class AxisWindow {
 public:
  /// False when the two do not meet, or a number is not one.
  bool Set(unsigned int dim, double mid, double spacing, double position, double reach) {
    const double half = (dim - 1.0) * spacing / 2.0;
    const double low = std::max(position - reach, mid - half);
    const double high = std::min(position + reach, mid + half);
    if (!(low <= high)) return false;
    first_ = low <= mid - half ? 0 : Nearest(low, dim, mid, spacing);
    const unsigned int last = high <= mid - half ? 0 : Nearest(high, dim, mid, spacing);
    count_ = last - first_ + 1;
    squares_ = local_;
    if (count_ > kLocal) {
      heap_.resize(count_);
      squares_ = heap_.data();
    }
    for (unsigned int i = 0; i < count_; ++i) {
      const double d = (first_ + i - (dim - 1.0) * 0.5) * spacing + mid - position;
      squares_[i] = d * d;
    }
    return true;
  }
  unsigned int first() const { return first_; }
  unsigned int count() const { return count_; }
  double square(unsigned int i) const { return squares_[i]; }

 private:
  static unsigned int Nearest(double at, unsigned int dim, double mid, double spacing) {
    const double t = (at - mid) / spacing + dim / 2.0;
    return t < dim ? static_cast<unsigned int>(std::max(t, 0.0)) : dim - 1;
  }

  static constexpr unsigned int kLocal = 64;
  unsigned int first_ = 0, count_ = 0;
  double* squares_ = local_;
  double local_[kLocal];
  std::vector<double> heap_;
};

/// Calls visit(element, d2) for every grid point within `reach` of (x, y, z), in element order, and gives
/// their number.
template <class T, class Visit>
unsigned int ForEachPointWithin(const VXFixedGrid<T>& grid, double x, double y, double z, double reach,
                                Visit visit) {
  if (grid.GetSize() == 0) return 0;
  const double spacing = grid.GetSpacing();
  AxisWindow wx, wy, wz;
  if (!wx.Set(grid.GetXDim(), grid.GetXMid(), spacing, x, reach) ||
      !wy.Set(grid.GetYDim(), grid.GetYMid(), spacing, y, reach) ||
      !wz.Set(grid.GetZDim(), grid.GetZMid(), spacing, z, reach))
    return 0;

  const std::size_t xdim = grid.GetXDim(), ydim = grid.GetYDim();
  const double reach2 = reach * reach;
  unsigned int touched = 0;
  for (unsigned int k = 0; k < wz.count(); ++k) {
    if (wz.square(k) > reach2) continue;
    for (unsigned int j = 0; j < wy.count(); ++j) {
      const double yz = wz.square(k) + wy.square(j);
      if (yz > reach2) continue;
      const std::size_t row = ((wz.first() + k) * ydim + wy.first() + j) * xdim + wx.first();
      for (unsigned int i = 0; i < wx.count(); ++i) {
        const double d2 = yz + wx.square(i);
        if (d2 > reach2) continue;
        visit(row + i, d2);
        ++touched;
      }
    }
  }
  return touched;
}

}  // namespace radial_detail

/// Applies f(point, potential(distance)) to every grid point within `reach` of (x, y, z), in element order,
/// and gives their number. Distances are in double; the potential gets sqrt(d^2), and a point at exactly
/// `reach` counts. Where the grid and the box of the sphere do not meet the result is 0.
template <class T, class Potential, class Functor>
unsigned int MapRadialPotentialToGrid(VXFixedGrid<T>& grid, const Potential& potential, Functor f, double x,
                                      double y, double z, double reach) {
  T* const values = grid.GetValues();
  return radial_detail::ForEachPointWithin(grid, x, y, z, reach, [&](std::size_t element, double d2) {
    f(values[element], potential(std::sqrt(d2)));
  });
}

/// The same with a functor that holds nothing.
template <class T, class Potential, class Functor>
unsigned int MapRadialPotentialToGrid(VXFixedGrid<T>& grid, const Potential& potential, double x, double y,
                                      double z, double reach) {
  return MapRadialPotentialToGrid<T>(grid, potential, Functor(), x, y, z, reach);
}

}  // namespace VXCore
