#pragma once

// Samples of a lattice at a point, in SSE2 lanes: x, y, z of a point in lanes 0 to 2, or the four x edges of
// a cell side by side. Lanes do independent work in the order of the plain formulas, so the bits are theirs.

#include <emmintrin.h>

#include <cmath>
#include <cstddef>

#include <vxgrid/processing/lattice.inl>

namespace VXCore::lattice {

template <int lane>
__m128 broadcast(__m128 v) {
  return _mm_shuffle_ps(v, v, _MM_SHUFFLE(lane, lane, lane, lane));
}

// The cell (i, j, k) .. (i + 1, j + 1, k + 1) of a lattice in lanes, reduced to the linear index of its low
// corner.
class CellIndex {
 public:
  CellIndex(int xdim, int ydim) : xdim_(xdim), ydim_(ydim) {}
  std::ptrdiff_t operator()(__m128i cell) const {
    const auto xy = static_cast<unsigned long long>(_mm_cvtsi128_si64(cell));
    const int z = _mm_cvtsi128_si32(_mm_unpackhi_epi64(cell, cell));
    const auto x = static_cast<int>(static_cast<unsigned>(xy)), y = static_cast<int>(xy >> 32);
    return x + xdim_ * (y + ydim_ * z);
  }

 private:
  std::ptrdiff_t xdim_, ydim_;
};

// The value in a cell whose low corner is at `corner`: along x on the four x edges, then along y, then z,
// each a + (b - a) t.
inline float trilinear(const float* corner, std::ptrdiff_t row, std::ptrdiff_t plane, __m128 t) {
  const auto two_edges = [row](const float* p) {
    const __m128 low = _mm_loadl_pi(_mm_setzero_ps(), reinterpret_cast<const __m64*>(p));
    return _mm_loadh_pi(low, reinterpret_cast<const __m64*>(p + row));
  };
  const auto blend = [](__m128 a, __m128 b, __m128 at) {
    return _mm_add_ps(a, _mm_mul_ps(_mm_sub_ps(b, a), at));
  };
  const __m128 z0 = two_edges(corner), z1 = two_edges(corner + plane);
  const __m128 x = blend(_mm_shuffle_ps(z0, z1, _MM_SHUFFLE(2, 0, 2, 0)),
                         _mm_shuffle_ps(z0, z1, _MM_SHUFFLE(3, 1, 3, 1)), broadcast<0>(t));
  const __m128 y = blend(_mm_shuffle_ps(x, x, _MM_SHUFFLE(2, 0, 2, 0)),
                         _mm_shuffle_ps(x, x, _MM_SHUFFLE(3, 1, 3, 1)), broadcast<1>(t));
  const __m128 z1_value = broadcast<1>(y), tz = _mm_unpackhi_ps(t, t);
  return _mm_cvtss_f32(_mm_add_ss(y, _mm_mul_ss(_mm_sub_ss(z1_value, y), tz)));
}

// The derivatives of trilinear() along x, y and z, by t.
inline void trilinear_gradient(const float* corner, std::ptrdiff_t row, std::ptrdiff_t plane, const float* t,
                               float* out) {
  float v[8];
  for (int i = 0; i < 8; ++i) v[i] = corner[(i & 1) + (i & 2 ? row : 0) + (i & 4 ? plane : 0)];
  const auto blend = [](float a, float b, float at) { return a + (b - a) * at; };
  const auto along = [&](int axis, int p, int q) {  // strides of the axis and of the two others in v
    const float d0 = v[axis] - v[0], dp = v[axis + p] - v[p], dq = v[axis + q] - v[q],
                dpq = v[axis + p + q] - v[p + q];
    const auto at = [t](int stride) { return t[stride / 2]; };
    return blend(blend(d0, dp, at(p)), blend(dq, dpq, at(p)), at(q));
  };
  out[0] = along(1, 2, 4);
  out[1] = along(2, 1, 4);
  out[2] = along(4, 1, 2);
}

// Where a point stands in a lattice that ends at its faces.
class ClippedLattice {
 public:
  // Where the usable box ends on the high side: at the face, or half the fraction of the span in steps below
  // it, so that a span that is no whole number of cells stays clear of the last cell.
  enum HighLimit { kAtFace, kClearOfLastCell };

  // `margin` moves the limits inward on every face.
  ClippedLattice(const GridStruct& grid, float margin, HighLimit high_limit)
      : index_(grid.xdim, grid.ydim), row_(grid.xdim), plane_(row_ * grid.ydim) {
    const float mid[3] = {grid.xmid, grid.ymid, grid.zmid};
    const int dim[3] = {grid.xdim, grid.ydim, grid.zdim};
    const float scale = 1.0f / grid.spacing;
    float low[4] = {}, from[4] = {}, to[4] = {};
    int last[4] = {};
    for (int a = 0; a < 3; ++a) {
      const Span span(mid[a], dim[a], grid.spacing);
      const float steps = (2.0f * span.half) * scale;
      const float fraction = high_limit == kAtFace ? 0.0f : steps - std::trunc(steps);
      low[a] = span.low;
      from[a] = span.low + margin;
      to[a] = (span.high - 0.5f * fraction) - margin;
      last[a] = dim[a] - 2;
    }
    low_ = _mm_loadu_ps(low);
    from_ = _mm_loadu_ps(from);
    to_ = _mm_loadu_ps(to);
    last_ = _mm_loadu_si128(reinterpret_cast<const __m128i*>(last));
    scale_ = _mm_set1_ps(scale);
    usable_ = element_count(grid) > 0;
  }

  std::ptrdiff_t row() const { return row_; }
  std::ptrdiff_t plane() const { return plane_; }

  // Strictly between the limits on every axis.
  bool holds(__m128 point) const {
    const __m128 in = _mm_and_ps(_mm_cmpgt_ps(point, from_), _mm_cmplt_ps(point, to_));
    return (_mm_movemask_ps(in) & 7) == 7 && usable_;
  }

  // A place in steps from the first sample.
  __m128 steps(__m128 point) const { return _mm_mul_ps(_mm_sub_ps(point, low_), scale_); }

  // The cell of a point that the lattice holds, and t within it. The last plane belongs to the cell before
  // it, where t stays what it was; a cell never leaves the lattice, whatever the numbers.
  __m128i cell(__m128 point, __m128& t) const {
    const __m128 f = steps(point);
    const __m128i c = _mm_cvttps_epi32(f);
    t = _mm_sub_ps(f, _mm_cvtepi32_ps(c));
    const __m128i above = _mm_cmpgt_epi32(c, last_), below = _mm_cmplt_epi32(c, _mm_setzero_si128());
    const __m128i kept = _mm_or_si128(_mm_and_si128(above, last_), _mm_andnot_si128(above, c));
    return _mm_andnot_si128(below, kept);
  }

  // False for a point that the lattice does not hold.
  bool locate(__m128 point, __m128i& at, __m128& t) const {
    if (!holds(point)) return false;
    at = cell(point, t);
    return true;
  }

  std::ptrdiff_t index(__m128i cell) const { return index_(cell); }

 private:
  CellIndex index_;
  std::ptrdiff_t row_, plane_;
  __m128 low_, from_, to_, scale_;
  __m128i last_;
  bool usable_;
};

// Weights of the quadratic B-spline on one axis, and their derivatives by t, for the points at -1, 0 and 1
// step from the nearest one; t in (-0.5, 0.5] is counted from that.
struct SplineWeights {
  SplineWeights() = default;
  explicit SplineWeights(float t)
      : w{(t * t - t) * 0.5f + 0.125f, 0.75f - t * t, 0}, d{t - 0.5f, -2.0f * t, t + 0.5f} {
    w[2] = w[0] + t;
  }
  float w[3], d[3];
};

// The three neighbours of a point on one axis: the nearest one and, as index offsets, those beside it.
struct SplineAxis {
  SplineAxis() = default;
  // The nearest point is the next one for t > 0.5. Beyond a face of a lattice that wraps the neighbours go on
  // beside the opposite face, its image; of another, where rounding alone reaches beyond a face, a neighbour
  // of weight 0 is the face itself.
  SplineAxis(int i, float t, int dim, std::ptrdiff_t stride, bool wraps = false)
      : nearest(t > 0.5f ? i + 1 : i), weights(t > 0.5f ? t - 1.0f : t) {
    const std::ptrdiff_t beyond = wraps ? stride * (dim - 2) : 0;
    offset[0] = nearest > 0 ? -stride : beyond;
    offset[2] = nearest + 1 < dim ? stride : -beyond;
  }
  std::ptrdiff_t nearest;
  std::ptrdiff_t offset[3] = {};
  SplineWeights weights;
};

// Sum of 27 products ((wx wy) wz) v, z slowest, one at a time.
inline float spline_sum(const float* nearest, const std::ptrdiff_t* dx, const std::ptrdiff_t* dy,
                        const std::ptrdiff_t* dz, const float* wx, const float* wy, const float* wz) {
  float wxy[9];
  for (int j = 0; j < 3; ++j)
    for (int i = 0; i < 3; ++i) wxy[3 * j + i] = wx[i] * wy[j];
  float sum = 0;
  for (int k = 0; k < 3; ++k)
    for (int j = 0; j < 3; ++j) {
      const float* const v = nearest + dz[k] + dy[j];
      for (int i = 0; i < 3; ++i) sum += wxy[3 * j + i] * wz[k] * v[dx[i]];
    }
  return sum;
}

}  // namespace VXCore::lattice
