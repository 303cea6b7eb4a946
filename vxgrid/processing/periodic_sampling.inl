#pragma once

// Samples of a lattice that repeats itself.

#include <emmintrin.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include <vxgrid/processing/sampling.inl>

namespace VXCore::lattice {

// Takes `period` off c while c >= stop. False when that no longer changes c.
//
// Within one binade of c every step rounds to the same grid and so takes off the same amount: such steps are
// taken together, with the bits of the single steps. Where a step falls half-way between two neighbours, this
// holds from the first even one on, as the even neighbour is taken each time.
inline bool step_below(float& c, float period, float stop) {
  while (c >= stop) {
    const float next = c - period;
    if (next == c) return false;
    if (next < stop) {
      c = next;
      return true;
    }
    const double amount = static_cast<double>(c) - next;
    const bool is_tie = std::fabs(amount - period) * 2 == std::ldexp(1.0, std::ilogb(c) - FLT_MANT_DIG + 1);
    const double floor = std::max<double>(std::ldexp(1.0, std::ilogb(c)), stop);
    const bool is_even = std::fmod(std::ldexp(c, FLT_MANT_DIG - 1 - std::ilogb(c)), 2.0f) == 0;
    c = next;
    if (next > floor && (is_even || !is_tie))
      c = static_cast<float>(next - (std::ceil((next - floor) / amount) - 1) * amount);
  }
  return true;
}

// Brings a coordinate into [0, period) by repeated subtraction or addition, with the rounding of each step.
// False when the coordinate is too large for a step to change it, or no number.
inline bool reduce(float& c, float period) {
  if (!std::isfinite(c) || !step_below(c, period, period)) return false;
  if (c < 0) {
    float below = -c;
    if (!step_below(below, period, FLT_TRUE_MIN)) return false;
    c = 0.0f - below;
  }
  return true;
}

// The lattice that repeats with a period of dim - 1 cells.
class PeriodicLattice {
 public:
  explicit PeriodicLattice(const GridStruct& grid)
      : values_(grid.floats), index_(grid.xdim, grid.ydim), row_(grid.xdim), plane_(row_ * grid.ydim) {
    const float mid[3] = {grid.xmid, grid.ymid, grid.zmid};
    const int dim[3] = {grid.xdim, grid.ydim, grid.zdim};
    const float h = 0.5f * grid.spacing;
    for (int a = 0; a < 3; ++a) {
      const float half = static_cast<float>(dim[a] - 1) * h;
      low_[a] = mid[a] - half;
      period_[a] = (half + mid[a]) - low_[a];
      cells_[a] = dim[a] - 1;
      steps_[a] = period_[a] / grid.spacing;
    }
    scale_ = 1.0f / grid.spacing;
  }

  // False when there is no period along an axis; the lattice must not be sampled then.
  bool has_extent() const {
    for (int a = 0; a < 3; ++a)
      if (period_[a] <= 0 || steps_[a] == 0) return false;
    return true;
  }

  std::ptrdiff_t row() const { return row_; }
  std::ptrdiff_t plane() const { return plane_; }
  std::ptrdiff_t index(__m128i cell) const { return index_(cell); }

  // The cell of a point, and t within it. False when a coordinate cannot be brought into the lattice.
  bool locate(__m128 point, __m128i& cell, __m128& t) const {
    __m128 f;
    return to_cells(point, f) && find_cell(f, cell, t);
  }

  // The values along a row of n points that begins at `first` and advances by `step`, in cells. False when a
  // coordinate cannot be brought into the lattice.
  bool sample_row(__m128 first, __m128 step, int n, float* out) const {
    __m128 f;
    if (!to_cells(first, f)) return false;
    for (int i = 0; i < n; ++i, f = _mm_add_ps(f, step)) {
      __m128i cell;
      __m128 t;
      if (!find_cell(f, cell, t)) return false;
      out[i] = trilinear(values_ + index_(cell), row_, plane_, t);
    }
    return true;
  }

 private:
  static __m128i load(const int* v) { return _mm_load_si128(reinterpret_cast<const __m128i*>(v)); }

  // A position in cells from the first sample, brought into the lattice.
  bool to_cells(__m128 point, __m128& f) const {
    const __m128 c = _mm_sub_ps(point, _mm_load_ps(low_));
    const __m128 inside =
        _mm_and_ps(_mm_cmpge_ps(c, _mm_setzero_ps()), _mm_cmplt_ps(c, _mm_load_ps(period_)));
    if ((_mm_movemask_ps(inside) & 7) == 7) {  // nothing to reduce
      f = _mm_mul_ps(c, _mm_set1_ps(scale_));
      return true;
    }
    alignas(16) float lanes[4];
    _mm_store_ps(lanes, c);
    for (int a = 0; a < 3; ++a) {
      if (!reduce(lanes[a], period_[a])) return false;
      lanes[a] *= scale_;
    }
    f = _mm_load_ps(lanes);
    return true;
  }

  // `f`, of which a wrap leaves the part within the lattice, as a cell and the place in it.
  bool find_cell(__m128& f, __m128i& cell, __m128& t) const {
    const __m128i last = _mm_sub_epi32(load(cells_), _mm_set1_epi32(1)), zero = _mm_setzero_si128();
    cell = _mm_cvttps_epi32(f);
    t = _mm_sub_ps(f, _mm_cvtepi32_ps(cell));  // before any wrap
    const __m128i outside = _mm_or_si128(_mm_cmpgt_epi32(cell, last), _mm_cmplt_epi32(cell, zero));
    return !(_mm_movemask_epi8(outside) & 0xfff) || wrap(cell, f, t);
  }

  // Brings cells, and the positions that they came from, back into the lattice.
  bool wrap(__m128i& cell_lanes, __m128& f_lanes, __m128& t_lanes) const {
    alignas(16) int cell[4];
    alignas(16) float f[4], t[4];
    _mm_store_si128(reinterpret_cast<__m128i*>(cell), cell_lanes);
    _mm_store_ps(f, f_lanes);
    _mm_store_ps(t, t_lanes);
    for (int a = 0; a < 3; ++a)
      if ((cell[a] < 0 || cell[a] >= cells_[a]) && !wrap(a, cell[a], f[a], t[a])) return false;
    cell_lanes = load(cell);
    f_lanes = _mm_load_ps(f);
    t_lanes = _mm_load_ps(t);
    return true;
  }

  // One period is the rule; a step longer than the lattice takes several.
  bool wrap(int a, int& cell, float& f, float& t) const {
    if (!(std::fabs(f) < 1e9f)) {  // soon beyond what an int counts, and a whole number anyway
      f = std::fmod(f, steps_[a]);
      if (!(std::fabs(f) < 0x1p31f)) return false;
      cell = static_cast<int>(f);
      t = 0;
    }
    const std::int64_t cells = cells_[a];
    const std::int64_t periods = cell >= 0 ? cell / cells : -((cells - 1 - cell) / cells);
    cell -= static_cast<int>(periods * cells);
    f -= static_cast<float>(periods) * steps_[a];
    return true;
  }

  const float* values_;
  CellIndex index_;
  std::ptrdiff_t row_, plane_;
  alignas(16) float low_[4] = {}, period_[4] = {};
  float steps_[3];
  alignas(16) int cells_[4] = {};
  float scale_;
};

}  // namespace VXCore::lattice
