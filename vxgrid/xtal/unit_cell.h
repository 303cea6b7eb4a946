#pragma once

#include <cmath>

#include <vxgrid/host/export.h>

namespace VXCore {
namespace VXXtal {

/// Degrees to radians in double code: these fifteen digits, in all of the crystal code.
constexpr double kDegreesToRadians = 0.0174532925199433;

/// The image of a position under a matrix: 16 floats in the layout of SGRecord, the position a row
/// multiplied from the left. In place; the sums run from left to right, in float.
inline void vecmul(float* xyz, const float* m) {
  const float x = xyz[0], y = xyz[1], z = xyz[2];
  xyz[0] = m[0] * x + m[4] * y + m[8] * z + m[12];
  xyz[1] = m[1] * x + m[5] * y + m[9] * z + m[13];
  xyz[2] = m[2] * x + m[6] * y + m[10] * z + m[14];
}

/// The same map with the matrix first.
inline void transform_coord(const float* m, float* xyz) { vecmul(xyz, m); }

/// out = B * A on 4x4 matrices, each element the float sum over k of B[r][k] * A[k][c]. As positions are
/// rows, the product applies B first and A second. `out` may be `a` or `b`.
VXGRID_API void matmul(float* out, const float* a, const float* b);

/// A fraction brought into [0, 1). A negative one goes up by 1 + trunc(-v), so that -1 gives 0 and -0.25
/// gives 0.75. Not-a-number and infinities give not-a-number.
inline float wrap_fraction(float v) {
  if (v < 0) v = std::trunc(-v) + (v + 1);
  return v >= 1 ? v - std::trunc(v) : v;
}

/// floor below 2^23 in size; a larger value is whole and is returned as it is.
inline float floor_fraction(float v) { return std::fabs(v) < 8388608.0f ? std::floor(v) : v; }

/// Six lattice parameters and the matrices between fractions of the cell edges and Cartesian Angstrom.
/// a lies along Cartesian x, b in the xy plane, c completes the right-handed set.
///
/// Not-a-number parameters count as valid and give not-a-number matrices.
struct VXGRID_API VXUnitCell {
  float a = 0, b = 0, c = 0;             ///< edges in Angstrom
  float alpha = 0, beta = 0, gamma = 0;  ///< angles in degrees
  float cart2frac[16] = {};              ///< layout of SGRecord; all zero while the cell is invalid
  float frac2cart[16] = {};              ///< the same

  /// Six zeros: an invalid cell.
  VXUnitCell() = default;
  VXUnitCell(float a, float b, float c, float alpha, float beta, float gamma);
  /// From a, b, c, alpha, beta, gamma.
  explicit VXUnitCell(const float* six);

  const float* Frac2Cart() const { return frac2cart; }
  const float* Cart2Frac() const { return cart2frac; }

  /// Cubic Angstrom; some number, not-a-number included, for an invalid cell.
  float GetVolume() const;
  /// False when an edge or an angle is at most 0, or an angle at least 180.
  bool isValid() const;
  /// True when all six parameters differ by at most `tolerance` (Angstrom and degrees alike). An invalid cell
  /// equals every invalid one and no valid one.
  bool equalsCell(VXUnitCell other, float tolerance) const;

  /// Makes the matrices from the parameters: to be called after a change of one of them.
  void build_matrices();
};

}  // namespace VXXtal
}  // namespace VXCore
