#pragma once

// Turning coordinates by a 3 x 3 matrix about a centre, x, y, z in SSE2 lanes.

#include <emmintrin.h>

#include <cmath>

namespace VXCore::lattice {

constexpr float kIdentity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};

// The inverse of a row-major matrix, in double until the end. False, nothing written, for a determinant of 0.
inline bool invert(const float* m, float* inverse) {
  const auto minor = [m](int a, int b, int c, int d) {
    return static_cast<double>(m[a]) * m[d] - static_cast<double>(m[b]) * m[c];
  };
  const double adjugate[9] = {minor(4, 5, 7, 8), minor(2, 1, 8, 7), minor(1, 2, 4, 5),
                              minor(5, 3, 8, 6), minor(0, 2, 6, 8), minor(2, 0, 5, 3),
                              minor(3, 4, 6, 7), minor(1, 0, 7, 6), minor(0, 1, 3, 4)};
  const double determinant = m[0] * adjugate[0] + m[1] * adjugate[3] + m[2] * adjugate[6];
  if (determinant == 0) return false;
  for (int i = 0; i < 9; ++i) inverse[i] = static_cast<float>(adjugate[i] / determinant);
  return true;
}

// p' = M (p - c) + c, per coordinate ((m0 d0 + m1 d1) + m2 d2) + c.
class Turn {
 public:
  Turn(const float* m, const float* center)
      : column_{_mm_setr_ps(m[0], m[3], m[6], 0), _mm_setr_ps(m[1], m[4], m[7], 0),
                _mm_setr_ps(m[2], m[5], m[8], 0)},
        center_(_mm_setr_ps(center[0], center[1], center[2], 0)) {}

  // The terms that a whole row of points with the same y and z shares.
  struct Row {
    __m128 y_term, z_term;
  };
  Row row(float y, float z) const {
    return {_mm_mul_ps(column_[1], _mm_set1_ps(y - center_y())),
            _mm_mul_ps(column_[2], _mm_set1_ps(z - center_z()))};
  }
  __m128 operator()(float x, const Row& row) const {
    const __m128 x_term = _mm_mul_ps(column_[0], _mm_set1_ps(x - _mm_cvtss_f32(center_)));
    return _mm_add_ps(_mm_add_ps(_mm_add_ps(x_term, row.y_term), row.z_term), center_);
  }
  __m128 operator()(float x, float y, float z) const { return (*this)(x, row(y, z)); }

 private:
  float center_y() const { return _mm_cvtss_f32(_mm_shuffle_ps(center_, center_, 1)); }
  float center_z() const { return _mm_cvtss_f32(_mm_shuffle_ps(center_, center_, 2)); }

  __m128 column_[3];
  __m128 center_;
};

inline void store_point(__m128 point, float* xyz) {
  alignas(16) float lanes[4];
  _mm_store_ps(lanes, point);
  for (int a = 0; a < 3; ++a) xyz[a] = lanes[a];
}

}  // namespace VXCore::lattice
